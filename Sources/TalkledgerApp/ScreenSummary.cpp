#include "TalkledgerApp/ScreenSummary.h"

#include "TalkledgerCore/Presentation/SalesSummarySections.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <algorithm>
#include <iterator>

namespace talkledger {

QVariantList screenSummary(const SalesSummary& summary, const AppCopy& copy) {
    QVariantList sections;
    for (const SalesSummarySection& section : salesSummarySections(summary, copy)) {
        QStringList entries;
        std::ranges::transform(section.entries, std::back_inserter(entries), &QString::fromStdString);
        const auto headingLength = static_cast<qsizetype>(section.heading.size());
        sections.push_back(
            QVariantMap{{QStringLiteral("heading"), QString::fromLatin1(section.heading.data(), headingLength)},
                        {QStringLiteral("entries"), entries},
                        {QStringLiteral("isList"), section.isList}});
    }
    return sections;
}

} // namespace talkledger
