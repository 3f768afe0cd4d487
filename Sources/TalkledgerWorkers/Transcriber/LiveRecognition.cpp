#include "TalkledgerWorkers/Transcriber/LiveRecognition.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>

namespace talkledger {

namespace {

constexpr std::size_t sampleRate = SpeechEngine::sampleRate;

/// Of speech that may wait.
constexpr std::size_t mostWaiting = 600 * sampleRate;

/// An utterance has to be this long for its first hypothesis, and grow by so much for the next one at least.
constexpr std::size_t firstGuess = sampleRate;
constexpr std::size_t guessStep = sampleRate / 2;

} // namespace

LiveRecognition::LiveRecognition(UtteranceRecogniser& recogniser, SpeechSegmentHandler handler, std::stop_token stop)
    : recogniser_(recogniser),
      handler_(std::move(handler)),
      stopping_(std::move(stop), [this] { stop_.request_stop(); }),
      thread_([this] { run(); }) {}

LiveRecognition::~LiveRecognition() {
    stop_.request_stop();
}

void LiveRecognition::append(Utterance utterance) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, stop_.get_token(), [this] { return waitingSamples_ < mostWaiting || failure_; });
    throwFailure();
    waitingSamples_ += utterance.samples.size();
    ended_.push_back(std::move(utterance));
    isGuessStale_ = true;
    open_ = {};
    changed_.notify_all();
}

void LiveRecognition::follow(const Utterance& open) {
    const std::lock_guard lock(mutex_);
    if (open.samples.empty() || open_.samples.empty() || open.start != open_.start) {
        nextGuess_ = firstGuess;
        open_ = open;
    } else {
        const auto known = static_cast<std::ptrdiff_t>(open_.samples.size());
        open_.samples.insert(open_.samples.end(), open.samples.begin() + known, open.samples.end());
    }
    if (isHypothesisDue()) {
        changed_.notify_all();
    }
}

void LiveRecognition::finish() {
    std::unique_lock lock(mutex_);
    isFinished_ = true;
    changed_.notify_all();
    changed_.wait(lock, stop_.get_token(), [this] { return (ended_.empty() && !isBusy_) || failure_; });
    throwFailure();
}

void LiveRecognition::run() {
    std::unique_lock lock(mutex_);
    try {
        while (changed_.wait(lock, stop_.get_token(), [this] { return !ended_.empty() || isHypothesisDue(); })) {
            isBusy_ = true;
            ended_.empty() ? guessOpen(lock) : recogniseNext(lock);
            isBusy_ = false;
            changed_.notify_all();
        }
    } catch (...) {
        if (!lock.owns_lock()) {
            lock.lock();
        }
        failure_ = std::current_exception();
        changed_.notify_all();
    }
}

bool LiveRecognition::isHypothesisDue() const {
    return !isFinished_ && open_.samples.size() >= nextGuess_ && !open_.samples.empty();
}

void LiveRecognition::recogniseNext(std::unique_lock<std::mutex>& lock) {
    const Utterance utterance = std::move(ended_.front());
    ended_.pop_front();
    lock.unlock();
    SpeechWindow window;
    window.append(utterance);
    for (const SpeechSegment& segment : recogniser_.recognise(window, ComputeUrgency::liveFinal, stop_.get_token())) {
        tell(segment);
    }
    agreement_.reset();
    lock.lock();
    waitingSamples_ -= utterance.samples.size();
}

/// The next one comes when the utterance has grown by as much as this one took: hypotheses may have half of the time.
void LiveRecognition::guessOpen(std::unique_lock<std::mutex>& lock) {
    const Utterance utterance = open_;
    isGuessStale_ = false;
    lock.unlock();
    const auto isStale = [this] { return stop_.stop_requested() || isGuessStale_; };
    const auto began = std::chrono::steady_clock::now();
    if (const auto hypothesis = recogniser_.hypothesis(utterance.samples, isStale)) {
        if (const std::string& shown = agreement_.agree(*hypothesis); !shown.empty()) {
            tell({.text = shown,
                  .start = static_cast<double>(utterance.start) / sampleRate,
                  .duration = static_cast<double>(utterance.samples.size()) / sampleRate,
                  .isFinal = false});
        }
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - began;
    lock.lock();
    const auto growth = static_cast<std::size_t>(2 * taken.count() * sampleRate);
    nextGuess_ = utterance.samples.size() + std::max(guessStep, growth);
}

void LiveRecognition::tell(const SpeechSegment& segment) const {
    if (!stop_.stop_requested()) {
        handler_(segment);
    }
}

void LiveRecognition::throwFailure() const {
    if (failure_) {
        std::rethrow_exception(failure_);
    }
}

} // namespace talkledger
