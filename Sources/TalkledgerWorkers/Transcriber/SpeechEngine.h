#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace talkledger {

/// Why an engine cannot work. `what()` is the user-visible text.
class SpeechEngineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A passage of speech; times are seconds of the stream.
struct SpeechSegment {
    std::string text;
    double start{0};
    double duration{0};
    bool isFinal{true}; ///< otherwise a hypothesis, which the next segment replaces

    bool operator==(const SpeechSegment&) const = default;
};

using SpeechSegmentHandler = std::function<void(const SpeechSegment&)>;

/// What is to be told of a stream.
enum class SpeechReporting {
    finalSegments,
    alsoHypotheses, ///< and, while someone speaks, what it seems to be so far
};

/// A recogniser with its model loaded, which hears one stream of 16 kHz mono samples after the other. Used by one
/// thread at a time.
class SpeechEngine {
public:
    static constexpr int sampleRate = 16000;

    SpeechEngine() = default;
    SpeechEngine(const SpeechEngine&) = delete;
    SpeechEngine& operator=(const SpeechEngine&) = delete;
    virtual ~SpeechEngine() = default;

    /// A new stream; what is left of the one before is given up. `handler` is called out of `append` and `finish`, with
    /// final segments in the order of their times.
    virtual void begin(SpeechReporting reporting, SpeechSegmentHandler handler) = 0;

    virtual void append(std::span<const std::int16_t> samples) = 0;

    /// The stream has ended; hands out what is still unsaid.
    virtual void finish() = 0;
};

/// Makes the engine for a locale. Throws `SpeechEngineError` when there is none.
using SpeechEngineFactory = std::function<std::unique_ptr<SpeechEngine>(const std::string& locale)>;

} // namespace talkledger
