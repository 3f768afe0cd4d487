#include "TalkledgerApp/RecordingDetail.h"

#include "TalkledgerApp/ScreenSummary.h"
#include "TalkledgerCore/Export/RecordingArtifactStatusBuilder.h"

#include <QVariantMap>
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace talkledger {
namespace {

/// What a finished start or stop left in the recording's diagnostics.
std::vector<std::string> problemsIn(const RecordingDiagnostics& diagnostics, const AppCopy& copy) {
    std::vector<std::string> problems;
    for (const std::string& message : diagnostics.messages) {
        if (AppCopy::tellsOfLoss(message)) {
            problems.push_back(copy.diagnosticMessage(message));
        }
    }
    // The messages of the stop, which bring the measured files, say nothing of a track that was not started.
    for (const RecordingArtifactDiagnostic& file : diagnostics.artifacts) {
        const bool isMicrophone = file.channel == AudioChannel::mic;
        const bool isStarted = isMicrophone ? diagnostics.microphoneStarted : diagnostics.systemAudioStarted;
        if (!isStarted) {
            problems.push_back(isMicrophone ? copy.microphoneNotStarted() : copy.systemAudioNotStarted());
        } else if (file.isEmpty) {
            problems.push_back((isMicrophone ? copy.microphone() : copy.systemAudio()) + ": " +
                               copy.artifactStatusLabel(file.exists, file.isEmpty));
        }
    }
    return problems;
}

QString durationText(double seconds) {
    const auto whole = static_cast<qint64>(seconds);
    const QLatin1Char zero('0');
    return QStringLiteral("%1:%2").arg(whole / 60, 2, 10, zero).arg(whole % 60, 2, 10, zero);
}

QString sizeText(std::int64_t bytes) {
    constexpr double megabyte = 1e6;
    constexpr double gigabyte = 1e9;
    const auto size = static_cast<double>(bytes);
    return size < gigabyte ? QString::number(size / megabyte, 'f', 1) + QStringLiteral(" MB")
                           : QString::number(size / gigabyte, 'f', 1) + QStringLiteral(" GB");
}

QVariantMap screenFile(const RecordingArtifactDiagnostic& file, const AppCopy& copy) {
    const std::string_view channel = rawValue(file.channel);
    return {{QStringLiteral("channel"), QString::fromLatin1(channel.data(), static_cast<qsizetype>(channel.size()))},
            {QStringLiteral("name"), QString::fromStdString(file.fileName)},
            {QStringLiteral("state"), QString::fromStdString(copy.artifactStatusLabel(file.exists, file.isEmpty))},
            {QStringLiteral("isEmpty"), file.isEmpty},
            {QStringLiteral("duration"), file.durationSeconds ? durationText(*file.durationSeconds) : QString()},
            {QStringLiteral("size"), file.isEmpty ? QString() : sizeText(file.byteCount)}};
}

/// As they were measured at the stop; of a recording that had none, as they lie there now.
std::vector<RecordingArtifactDiagnostic>
audioFiles(const RecordingSession& session, const RecordingDiagnostics& diagnostics, const FileSystem& fileSystem) {
    if (!diagnostics.artifacts.empty()) {
        return diagnostics.artifacts;
    }
    std::vector<RecordingArtifactDiagnostic> files;
    for (const RecordingArtifactStatus& track :
         RecordingArtifactStatusBuilder(fileSystem).buildCaptureTrackStatuses(session)) {
        const std::int64_t size = fileSystem.fileSize(track.url).value_or(0);
        const bool isMicrophone = track.kind == RecordingArtifactKind::micAudio;
        files.push_back({.channel = isMicrophone ? AudioChannel::mic : AudioChannel::speaker,
                         .fileName = track.url.filename().string(),
                         .exists = track.exists,
                         .byteCount = size,
                         .durationSeconds = std::nullopt,
                         .isEmpty = size == 0});
    }
    return files;
}

} // namespace

RecordingDetail::RecordingDetail(const AppModel& model, const RecordingListModel& recordings)
    : model_(model), recordings_(recordings), transcript_(model), lines_(model, transcript_) {
    connect(&recordings, &QAbstractItemModel::dataChanged, this, &RecordingDetail::changed);
    connect(&recordings, &RecordingListModel::countChanged, this, &RecordingDetail::changed);
    connect(&model, &AppModel::sessionsChanged, this, &RecordingDetail::readDocuments);
    connect(&model, &AppModel::displayLanguageChanged, this, &RecordingDetail::readDocuments);
    connect(&transcript_, &StoredTranscript::changed, this, &RecordingDetail::documentsChanged);
    connect(&model.tracks(), &RecordingTracks::statesChanged, this, &RecordingDetail::findProblems);
    connect(&model, &AppModel::isSpeechOfferedChanged, this, &RecordingDetail::findProblems);
}

void RecordingDetail::setRecordingID(const QString& recordingID) {
    if (std::exchange(recordingID_, recordingID) != recordingID) {
        transcript_.setRecordingID(recordingID);
        lines_.setRecordingID(recordingID);
        readDocuments();
        Q_EMIT recordingChosen();
        Q_EMIT changed();
    }
}

QString RecordingDetail::field(RecordingListModel::Role role) const {
    return recordings_.data(recordings_.index(recordings_.rowOf(recordingID_)), role).toString();
}

void RecordingDetail::readDocuments() {
    summarySections_.clear();
    emailDraft_.clear();
    files_.clear();
    messages_.clear();
    diagnostics_ = {};
    hasLiveTranscript_ = false;
    bool needsAttention = false;
    if (const RecordingSession* const session = model_.session(recordingID_)) {
        const AppCopy copy = model_.copy();
        hasLiveTranscript_ = recordingID_ != model_.currentRecordingID() &&
                             model_.ports().fileSystem.fileExists(RecordingStore::liveTranscriptFile(*session));
        const SalesSummary summary = model_.listSummary(*session).value_or(SalesSummary());
        summarySections_ = screenSummary(summary, copy);
        emailDraft_ = QString::fromStdString(copy.followUpEmailDraft(summary.followUpEmailDraft)).trimmed();
        diagnostics_ = model_.diagnostics(*session).value_or(RecordingDiagnostics());
        for (const RecordingArtifactDiagnostic& file : audioFiles(*session, diagnostics_, model_.ports().fileSystem)) {
            files_.push_back(screenFile(file, copy));
            needsAttention |= file.isEmpty;
        }
        for (const std::string& message : diagnostics_.messages) {
            messages_.push_back(
                QVariantMap{{QStringLiteral("text"), QString::fromStdString(copy.diagnosticMessage(message))},
                            {QStringLiteral("isFailure"), AppCopy::tellsOfFailure(message)}});
            needsAttention |= AppCopy::tellsOfLoss(message);
        }
    }
    Q_EMIT documentsChanged();
    if (std::exchange(needsAttention_, needsAttention) != needsAttention) {
        Q_EMIT needsAttentionChanged();
    }
    findProblems();
}

void RecordingDetail::findProblems() {
    const bool isCurrent = !recordingID_.isEmpty() && recordingID_ == model_.currentRecordingID();
    const std::vector<std::string> problems = isCurrent ? problemsOfCurrent() : problemsIn(diagnostics_, model_.copy());
    QStringList texts;
    std::ranges::transform(problems, std::back_inserter(texts), &QString::fromStdString);
    if (std::exchange(problems_, texts) != texts) {
        Q_EMIT problemsChanged();
    }
}

/// What its tracks lack at the moment is said above. A recogniser may have come since it began.
std::vector<std::string> RecordingDetail::problemsOfCurrent() const {
    const AppCopy copy = model_.copy();
    const std::string noRecogniser = AppCopy{DisplayLanguage::english}.noSpeechRecogniser();
    std::vector<std::string> problems;
    if (!model_.isSpeechOffered() &&
        std::ranges::find(diagnostics_.messages, noRecogniser) != diagnostics_.messages.end()) {
        problems.push_back(copy.noSpeechRecogniser());
    }
    for (const std::string& message : model_.tracks().messages()) {
        problems.push_back(copy.diagnosticMessage(message));
    }
    return problems;
}

} // namespace talkledger
