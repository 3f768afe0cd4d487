#pragma once

#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stop_token>
#include <string>

namespace talkledger {

/// Why an engine cannot work. `what()` is the user-visible text.
class SpeechEngineError : public EngineError {
public:
    using EngineError::EngineError;
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

/// Finds out how much speech a stream holds, without recognising it. Used by one thread.
class SpeechMeter {
public:
    SpeechMeter() = default;
    SpeechMeter(const SpeechMeter&) = delete;
    SpeechMeter& operator=(const SpeechMeter&) = delete;
    virtual ~SpeechMeter() = default;

    virtual void append(std::span<const std::int16_t> samples) = 0;

    /// The stream has ended: its seconds of speech.
    virtual double finish() = 0;
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

    /// A new stream; what is left of the one before is given up. `handler` is called with final segments in the order
    /// of their times: out of `append` and `finish`, or meanwhile on a thread of the engine's, never on two at once.
    /// After a stop request the engine comes to an end within a fifth of a second, and tells nothing more.
    virtual void begin(SpeechReporting reporting, SpeechSegmentHandler handler, std::stop_token stop) = 0;

    /// Throws `SpeechEngineError` when the engine has failed, `finish` likewise.
    virtual void append(std::span<const std::int16_t> samples) = 0;

    /// The stream has ended; hands out what is still unsaid.
    virtual void finish() = 0;

    /// Nothing more of the stream is wanted; the handler is not called any more.
    virtual void end() {}

    /// Null for an engine that does not tell speech from the rest before it recognises it.
    virtual std::unique_ptr<SpeechMeter> makeMeter() const { return nullptr; }

    /// Of the stream, the seconds of speech that have been worked through. For engines with a meter.
    virtual double heardSpeech() const { return 0; }

    /// Of the stream, what was taken for speech first and then not told. To be asked after `finish`.
    virtual CaughtInventions caught() const { return {}; }
};

/// Makes an engine. Throws `SpeechEngineError` when there is none.
using SpeechEngineFactory = std::function<std::unique_ptr<SpeechEngine>(const SpeechEngineChoice& choice)>;

} // namespace talkledger
