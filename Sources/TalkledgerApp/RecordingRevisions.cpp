#include "TalkledgerApp/RecordingRevisions.h"

#include "TalkledgerCore/Summary/FoundationModelsSalesSummaryGenerator.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

#include <algorithm>
#include <exception>
#include <utility>

namespace talkledger {

RecordingRevisions::RecordingRevisions(AppModel& model, Executor main) : model_(model), main_(std::move(main)) {
    if (model_.rootDirectory()) {
        const AppPorts& ports = model_.ports();
        store_.emplace(*model_.rootDirectory(), ports.fileSystem);
        auto transcripts = model_.makeTranscriptProvider([this](AudioChannel channel, double share) {
            transcribedShares_[channel] = share;
            Q_EMIT transcribedShareChanged();
        });
        revision_.emplace(*store_, ports.fileSystem, ports.audioFiles, std::move(transcripts),
                          std::make_unique<FoundationModelsSalesSummaryGenerator>(ports.languageModel));
    }
}

double RecordingRevisions::transcribedShare() const {
    const auto behind =
        std::ranges::min_element(transcribedShares_, {}, &std::pair<const AudioChannel, double>::second);
    return behind == transcribedShares_.end() ? 0 : std::clamp(behind->second, 0.0, 1.0);
}

bool RecordingRevisions::isInterrupted(const QString& recordingID) const {
    const RecordingSession* const session = model_.session(recordingID);
    return session != nullptr && !session->endedAt && recordingID != model_.currentRecordingID();
}

void RecordingRevisions::finish(const QString& recordingID) {
    if (isInterrupted(recordingID)) {
        begin(recordingID, Work::finishing, [this](RecordingSession session) -> Task<void> {
            co_await revision_->finishInterrupted(std::move(session));
        });
    }
}

void RecordingRevisions::transcribeAgain(const QString& recordingID) {
    begin(recordingID, Work::transcribing,
          [this](RecordingSession session) { return revision_->transcribeAgain(std::move(session)); });
}

void RecordingRevisions::summarizeAgain(const QString& recordingID) {
    begin(recordingID, Work::summarizing,
          [this](RecordingSession session) { return revision_->summarizeAgain(std::move(session)); });
}

void RecordingRevisions::useLiveTranscript(const QString& recordingID) {
    begin(recordingID, Work::transcribing, [this](RecordingSession session) -> Task<void> {
        revision_->useLiveTranscript(session);
        co_return;
    });
}

void RecordingRevisions::draftFromKeyPhrases(const QString& recordingID) {
    begin(recordingID, Work::summarizing, [this](RecordingSession session) -> Task<void> {
        revision_->draftFromKeyPhrases(session);
        co_return;
    });
}

void RecordingRevisions::begin(const QString& recordingID, Work work, const Revise& revise) {
    const RecordingSession* const session = model_.session(recordingID);
    if (isWorking() || session == nullptr || recordingID == model_.currentRecordingID()) {
        return;
    }
    model_.dismissLastError();
    transcribedShares_.clear();
    setWork(recordingID, work);
    boost::asio::co_spawn(main_, perform(*session, revise), boost::asio::detached);
}

Task<void> RecordingRevisions::perform(RecordingSession session, Revise revise) {
    std::optional<std::string> failure;
    try {
        co_await revise(session);
    } catch (const std::exception& error) {
        failure = error.what();
    }
    setWork({}, Work::none);
    model_.refreshSession(session);
    if (failure) {
        model_.showError(std::move(*failure));
    }
    Q_EMIT ended();
}

void RecordingRevisions::setWork(const QString& recordingID, Work work) {
    recordingID_ = recordingID;
    work_ = work;
    Q_EMIT changed();
}

} // namespace talkledger
