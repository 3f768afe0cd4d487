#include "TalkledgerWorkers/Transcriber/EngineShelf.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace talkledger {

EngineShelf::Loan::Loan(EngineShelf& shelf, std::string locale, std::unique_ptr<SpeechEngine> engine)
    : shelf_(shelf), locale_(std::move(locale)), engine_(std::move(engine)) {}

EngineShelf::Loan::~Loan() {
    if (engine_) {
        shelf_.giveBack(std::move(locale_), std::move(engine_));
    }
}

EngineShelf::EngineShelf(SpeechEngineFactory factory) : factory_(std::move(factory)) {}

EngineShelf::Loan EngineShelf::borrow(const std::string& locale) {
    std::unique_ptr<SpeechEngine> engine;
    {
        const std::lock_guard lock(mutex_);
        const auto warm = std::find_if(idle_.begin(), idle_.end(),
                                       [&](const Engine& candidate) { return candidate.locale == locale; });
        if (warm != idle_.end()) {
            engine = std::move(warm->engine);
            idle_.erase(warm);
        }
    }
    if (!engine) {
        const std::lock_guard lock(loading_);
        engine = factory_(locale);
    }
    return Loan(*this, locale, std::move(engine));
}

void EngineShelf::discardUnusedSince(Clock::time_point time) {
    std::vector<Engine> discarded; // freed after the lock: that takes its time
    const std::lock_guard lock(mutex_);
    const auto unused =
        std::partition(idle_.begin(), idle_.end(), [&](const Engine& engine) { return engine.returned >= time; });
    std::move(unused, idle_.end(), std::back_inserter(discarded));
    idle_.erase(unused, idle_.end());
}

void EngineShelf::giveBack(std::string locale, std::unique_ptr<SpeechEngine> engine) {
    const std::lock_guard lock(mutex_);
    idle_.push_back({std::move(locale), std::move(engine), Clock::now()});
}

} // namespace talkledger
