#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"

#include <QVariantList>

namespace talkledger {

/// The sections of a summary for the screens: maps of the key of its heading, its entries, and whether it is a list.
QVariantList screenSummary(const SalesSummary& summary, const AppCopy& copy);

} // namespace talkledger
