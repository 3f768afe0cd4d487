#include "TalkledgerApp/RecordingDetail.h"

#include <algorithm>
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

} // namespace

RecordingDetail::RecordingDetail(const AppModel& model, const RecordingListModel& recordings)
    : model_(model), recordings_(recordings), lines_(model) {
    connect(&recordings, &QAbstractItemModel::dataChanged, this, &RecordingDetail::changed);
    connect(&recordings, &RecordingListModel::countChanged, this, &RecordingDetail::changed);
    connect(&model, &AppModel::sessionsChanged, this, &RecordingDetail::findProblems);
    connect(&model, &AppModel::displayLanguageChanged, this, &RecordingDetail::findProblems);
    connect(&model.tracks(), &RecordingTracks::statesChanged, this, &RecordingDetail::findProblems);
}

void RecordingDetail::setRecordingID(const QString& recordingID) {
    if (std::exchange(recordingID_, recordingID) != recordingID) {
        lines_.setRecordingID(recordingID);
        Q_EMIT recordingChosen();
        Q_EMIT changed();
        findProblems();
    }
}

QString RecordingDetail::field(RecordingListModel::Role role) const {
    return recordings_.data(recordings_.index(recordings_.rowOf(recordingID_)), role).toString();
}

void RecordingDetail::findProblems() {
    std::vector<std::string> problems;
    if (const RecordingSession* const session = model_.session(recordingID_)) {
        problems = problemsIn(model_.diagnostics(*session).value_or(RecordingDiagnostics()), model_.copy());
    }
    if (!recordingID_.isEmpty() && recordingID_ == model_.currentRecordingID()) {
        std::ranges::copy(model_.tracks().problems(model_.copy()), std::back_inserter(problems));
    }
    QStringList texts;
    std::ranges::transform(problems, std::back_inserter(texts), &QString::fromStdString);
    if (std::exchange(problems_, texts) != texts) {
        Q_EMIT problemsChanged();
    }
}

} // namespace talkledger
