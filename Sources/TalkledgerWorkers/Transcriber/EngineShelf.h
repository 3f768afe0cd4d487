#pragma once

#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

namespace talkledger {

/// Keeps engines warm between requests, since loading a model takes long, and lets them go when nobody has wanted them
/// for a while, since a model takes much memory. Called on any thread; an engine is with one borrower at a time.
class EngineShelf {
public:
    using Clock = std::chrono::steady_clock;

    /// An engine for the time of one request; goes back to the shelf, which has to outlive it.
    class Loan {
    public:
        Loan(EngineShelf& shelf, SpeechEngineChoice choice, std::unique_ptr<SpeechEngine> engine);
        Loan(Loan&& other) noexcept = default;
        Loan& operator=(Loan&&) = delete;
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;
        ~Loan();

        SpeechEngine* operator->() const { return engine_.get(); }

    private:
        EngineShelf& shelf_;
        SpeechEngineChoice choice_;
        std::unique_ptr<SpeechEngine> engine_;
    };

    explicit EngineShelf(SpeechEngineFactory factory);

    /// Loads the model on the calling thread when no warm engine is there. Throws what the factory throws.
    Loan borrow(const SpeechEngineChoice& choice);

    /// Lets the engines go that came back before `time`.
    void discardUnusedSince(Clock::time_point time);

private:
    struct Engine {
        SpeechEngineChoice choice;
        std::unique_ptr<SpeechEngine> engine;
        Clock::time_point returned;
    };

    void giveBack(SpeechEngineChoice choice, std::unique_ptr<SpeechEngine> engine);

    std::mutex loading_; ///< one at a time: libraries keep process-wide state while they load a model
    SpeechEngineFactory factory_;
    std::mutex mutex_; ///< of `idle_`
    std::vector<Engine> idle_;
};

} // namespace talkledger
