#include "TalkledgerWorkers/Transcriber/EngineShelf.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace talkledger {

EngineShelf::Loan::Loan(EngineShelf& shelf, SpeechEngineChoice choice, std::unique_ptr<SpeechEngine> engine)
    : shelf_(shelf), choice_(std::move(choice)), engine_(std::move(engine)) {}

EngineShelf::Loan::~Loan() {
    if (engine_) {
        engine_->end();
        shelf_.giveBack(std::move(choice_), std::move(engine_));
    }
}

EngineShelf::EngineShelf(SpeechEngineFactory factory) : factory_(std::move(factory)) {}

EngineShelf::Loan EngineShelf::borrow(const SpeechEngineChoice& choice) {
    std::unique_ptr<SpeechEngine> engine;
    {
        const std::lock_guard lock(mutex_);
        const auto warm = std::find_if(idle_.begin(), idle_.end(),
                                       [&](const Engine& candidate) { return candidate.choice == choice; });
        if (warm != idle_.end()) {
            engine = std::move(warm->engine);
            idle_.erase(warm);
        }
    }
    if (!engine) {
        const std::lock_guard lock(loading_);
        engine = factory_(choice);
    }
    return Loan(*this, choice, std::move(engine));
}

void EngineShelf::discardUnusedSince(Clock::time_point time) {
    std::vector<Engine> discarded; // freed after the lock: that takes its time
    const std::lock_guard lock(mutex_);
    const auto unused =
        std::partition(idle_.begin(), idle_.end(), [&](const Engine& engine) { return engine.returned >= time; });
    std::move(unused, idle_.end(), std::back_inserter(discarded));
    idle_.erase(unused, idle_.end());
}

void EngineShelf::giveBack(SpeechEngineChoice choice, std::unique_ptr<SpeechEngine> engine) {
    const std::lock_guard lock(mutex_);
    idle_.push_back({std::move(choice), std::move(engine), Clock::now()});
}

} // namespace talkledger
