#pragma once

#include "TalkledgerWorkers/Transcriber/SpeechEngine.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace talkledger::testing {

/// What the engines of a test have in common. The functions may be empty; they are called on the engines' threads with
/// their locale, and may block or throw.
struct FakeSpeechScript {
    std::function<void(const std::string& locale)> loading;
    std::function<void(const std::string& locale)> hearing; ///< each piece of audio

    void note(std::size_t samples) {
        const std::lock_guard guard(lock_);
        heard_.push_back(samples);
    }

    /// The lengths of the pieces, in samples.
    std::vector<std::size_t> heard() const {
        const std::lock_guard guard(lock_);
        return heard_;
    }

private:
    mutable std::mutex lock_;
    std::vector<std::size_t> heard_;
};

/// Says, of every piece of sound (not of silence), "sound" with the piece's own times, first as a hypothesis; and "end"
/// at the end.
class FakeSpeechEngine final : public SpeechEngine {
public:
    FakeSpeechEngine(FakeSpeechScript& script, std::string locale) : script_(script), locale_(std::move(locale)) {}

    static SpeechEngineFactory factory(FakeSpeechScript& script) {
        return [&script](const SpeechEngineChoice& choice) {
            if (script.loading) {
                script.loading(choice.locale);
            }
            return std::make_unique<FakeSpeechEngine>(script, choice.locale);
        };
    }

    void begin(SpeechReporting reporting, SpeechSegmentHandler handler, std::stop_token /*stop*/) override {
        reporting_ = reporting;
        handler_ = std::move(handler);
        seconds_ = 0;
    }

    void append(std::span<const std::int16_t> samples) override {
        if (script_.hearing) {
            script_.hearing(locale_);
        }
        script_.note(samples.size());
        const double duration = static_cast<double>(samples.size()) / sampleRate;
        if (!samples.empty() && samples.front() != 0) {
            if (reporting_ == SpeechReporting::alsoHypotheses) {
                handler_({.text = "soun", .start = seconds_, .duration = duration, .isFinal = false});
            }
            handler_({.text = "sound", .start = seconds_, .duration = duration});
        }
        seconds_ += duration;
    }

    void finish() override { handler_({.text = "end", .start = seconds_, .duration = 0}); }

private:
    FakeSpeechScript& script_;
    std::string locale_;
    SpeechReporting reporting_{SpeechReporting::finalSegments};
    SpeechSegmentHandler handler_;
    double seconds_{0};
};

} // namespace talkledger::testing
