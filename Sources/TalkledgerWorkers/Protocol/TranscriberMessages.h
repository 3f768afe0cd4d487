#pragma once

#include "TalkledgerCore/Support/Json.h"
#include "TalkledgerWorkers/Protocol/WorkerMessages.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// What the program and the transcriber say to each other. The program numbers its requests; everything that the worker
/// tells of one carries its number, and after `TranscriptionFinished` or `RequestFailed` comes nothing more of
/// it.
namespace talkledger {

/// Which engine is to recognise, and what it has to know of those who speak.
struct SpeechEngineChoice {
    std::string locale;                        ///< of the language asked for, like "ja_JP"
    std::filesystem::path model{};             ///< of whisper.cpp, absolute; without one, PocketSphinx recognises
    std::filesystem::path voiceModel{};        ///< which tells voices from other sounds; absolute, or empty
    std::vector<std::string> otherLanguages{}; ///< that may be spoken as well, like "en"

    bool operator==(const SpeechEngineChoice&) const = default;
};

/// Recognise a file from its beginning to its end.
struct TranscribeFile {
    static constexpr std::string_view type = "transcribeFile";

    std::int64_t request{0};
    std::filesystem::path path; ///< absolute
    SpeechEngineChoice engine;
    double startTime{0}; ///< of the first sample, seconds; the results' times count from there

    bool operator==(const TranscribeFile&) const = default;
};

/// Recognise live audio, which comes in `StreamAudio` until `FinishStream`; what comes before `TranscriptionStarted`
/// waits.
struct StartStream {
    static constexpr std::string_view type = "startStream";

    std::int64_t request{0};
    SpeechEngineChoice engine;
    bool reportsHypotheses{false}; ///< results that are not final are told, too

    bool operator==(const StartStream&) const = default;
};

/// A piece of a stream: 16 kHz, one channel, 16 bits in the machine's own order. The program waits with more than
/// `mostUnconsumed` samples of a stream until it has heard that some are worked through, so that a recogniser which
/// falls behind holds up nothing but its own stream.
struct StreamAudio {
    static constexpr std::string_view type = "streamAudio";
    static constexpr int sampleRate = 16000;
    static constexpr std::size_t mostUnconsumed = std::size_t{2} * sampleRate;

    std::int64_t request{0};
    double start{0}; ///< of the first sample, seconds on the time line of the results
    std::vector<std::byte> payload;

    std::size_t sampleCount() const { return payload.size() / sizeof(std::int16_t); }

    bool operator==(const StreamAudio&) const = default;
};

/// No more audio comes; what is still unsaid is told, then `TranscriptionFinished`.
struct FinishStream {
    static constexpr std::string_view type = "finishStream";

    std::int64_t request{0};

    bool operator==(const FinishStream&) const = default;
};

/// Load a model's file and let it hear one utterance. Ends like a transcription, without results.
struct CheckModel {
    static constexpr std::string_view type = "checkModel";

    std::int64_t request{0};
    std::filesystem::path path; ///< absolute

    bool operator==(const CheckModel&) const = default;
};

/// The file could be opened as audio, or the stream is listened to.
struct TranscriptionStarted {
    static constexpr std::string_view type = "started";

    std::int64_t request{0};

    bool operator==(const TranscriptionStarted&) const = default;
};

struct TranscriptionResult {
    static constexpr std::string_view type = "result";

    std::int64_t request{0};
    std::string text;
    double start{0};    ///< seconds
    double duration{0}; ///< seconds
    bool isFinal{true}; ///< otherwise the request's next result replaces it

    bool operator==(const TranscriptionResult&) const = default;
};

/// So many samples of a stream have been worked through since the last time.
struct StreamConsumed {
    static constexpr std::string_view type = "consumed";

    std::int64_t request{0};
    std::int64_t samples{0};

    bool operator==(const StreamConsumed&) const = default;
};

struct TranscriptionProgress {
    static constexpr std::string_view type = "progress";

    std::int64_t request{0};
    double share{0}; ///< 0 to 1

    bool operator==(const TranscriptionProgress&) const = default;
};

/// What an engine said without anybody having spoken, by the evidence that gave it away.
struct CaughtInventions {
    std::int64_t withoutVoice{0};  ///< sounds that were no voice, and were not given to the engine
    std::int64_t withoutSpeech{0}; ///< the engine itself took them for something else than speech
    std::int64_t unlikely{0};      ///< the engine hardly believed its own words
    std::int64_t repeated{0};      ///< the same words again and again

    bool operator==(const CaughtInventions&) const = default;
};

struct TranscriptionFinished {
    static constexpr std::string_view type = "finished";

    std::int64_t request{0};
    CaughtInventions caught{};

    bool operator==(const TranscriptionFinished&) const = default;
};

using MessageToTranscriber =
    std::variant<Ping, TranscribeFile, StartStream, StreamAudio, FinishStream, CancelRequest, CheckModel>;
using MessageFromTranscriber = std::variant<Hello, Pong, TranscriptionStarted, TranscriptionResult, StreamConsumed,
                                            TranscriptionProgress, TranscriptionFinished, RequestFailed>;

Json toJson(const TranscribeFile& message);
Json toJson(const StartStream& message);
Json toJson(const StreamAudio& message);
Json toJson(const FinishStream& message);
Json toJson(const CheckModel& message);
Json toJson(const TranscriptionStarted& message);
Json toJson(const TranscriptionResult& message);
Json toJson(const StreamConsumed& message);
Json toJson(const TranscriptionProgress& message);
Json toJson(const TranscriptionFinished& message);

template <>
TranscribeFile fromJson<TranscribeFile>(const JsonReader& reader);
template <>
StartStream fromJson<StartStream>(const JsonReader& reader);
template <>
StreamAudio fromJson<StreamAudio>(const JsonReader& reader);
template <>
FinishStream fromJson<FinishStream>(const JsonReader& reader);
template <>
CheckModel fromJson<CheckModel>(const JsonReader& reader);
template <>
TranscriptionStarted fromJson<TranscriptionStarted>(const JsonReader& reader);
template <>
TranscriptionResult fromJson<TranscriptionResult>(const JsonReader& reader);
template <>
StreamConsumed fromJson<StreamConsumed>(const JsonReader& reader);
template <>
TranscriptionProgress fromJson<TranscriptionProgress>(const JsonReader& reader);
template <>
TranscriptionFinished fromJson<TranscriptionFinished>(const JsonReader& reader);

} // namespace talkledger
