#include "TalkledgerApp/LiveTranscriptAdaptor.h"

#include "TalkledgerCore/Model/ModelsJson.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace talkledger {

LiveTranscriptAdaptor::LiveTranscriptAdaptor(const AppModel& model, QObject& application)
    : QDBusAbstractAdaptor(&application), model_(model) {}

QStringList LiveTranscriptAdaptor::ListeningChannels() const {
    QStringList channels;
    for (const AudioChannel channel : {AudioChannel::mic, AudioChannel::speaker}) {
        if (model_.isListening(channel)) {
            const std::string_view name = rawValue(channel);
            channels << QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
        }
    }
    return channels;
}

QString LiveTranscriptAdaptor::Transcript() const {
    const TranscriptDocument transcript = model_.liveTranscriptDocument().value_or(TranscriptDocument());
    return QString::fromStdString(encodeJson(toJson(transcript)));
}

QString LiveTranscriptAdaptor::Summary() const {
    const auto& snapshot = model_.liveSummarySnapshot();
    return QString::fromStdString(encodeJson(toJson(snapshot ? snapshot->summary : SalesSummary())));
}

} // namespace talkledger
