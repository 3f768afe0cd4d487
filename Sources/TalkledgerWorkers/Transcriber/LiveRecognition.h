#pragma once

#include "TalkledgerWorkers/Transcriber/HypothesisAgreement.h"
#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"
#include "TalkledgerWorkers/Transcriber/Utterance.h"
#include "TalkledgerWorkers/Transcriber/UtteranceRecogniser.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

namespace talkledger {

/// Recognises a stream's utterances on a thread of its own, so that whoever brings them never waits: each one in full
/// when it has ended, and meanwhile, as far as there is time, what it seems to be so far. What cannot be worked through
/// yet waits; `append` blocks only when minutes of speech do.
class LiveRecognition {
public:
    /// The recogniser has to outlive this. `handler` is called on the thread.
    LiveRecognition(UtteranceRecogniser& recogniser, SpeechSegmentHandler handler, std::stop_token stop);

    /// Gives up what is left.
    ~LiveRecognition();
    LiveRecognition(const LiveRecognition&) = delete;
    LiveRecognition& operator=(const LiveRecognition&) = delete;

    /// An utterance has ended. Throws what the recogniser has thrown, `finish` likewise.
    void append(Utterance utterance);

    /// How far the utterance under way has come; empty while nobody speaks.
    void follow(const Utterance& open);

    /// Returns when all has been told.
    void finish();

private:
    void run();
    bool isHypothesisDue() const;
    void recogniseNext(std::unique_lock<std::mutex>& lock);
    void guessOpen(std::unique_lock<std::mutex>& lock);
    void tell(const SpeechSegment& segment) const;
    void throwFailure() const;

    UtteranceRecogniser& recogniser_;
    const SpeechSegmentHandler handler_;
    std::stop_source stop_; ///< of the thread's work; the stream's own stop goes on to it
    std::stop_callback<std::function<void()>> stopping_;

    std::mutex mutex_; ///< of what follows
    std::condition_variable_any changed_;
    std::deque<Utterance> ended_;
    std::size_t waitingSamples_{0}; ///< of those that have ended
    Utterance open_;
    std::size_t nextGuess_{0}; ///< samples that the utterance under way has by then
    bool isFinished_{false};
    bool isBusy_{false};
    std::atomic<bool> isGuessStale_{false}; ///< the utterance that is guessed at has ended
    std::exception_ptr failure_;

    HypothesisAgreement agreement_; ///< of the thread
    std::jthread thread_;           ///< last: it uses the rest
};

} // namespace talkledger
