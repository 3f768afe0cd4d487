#pragma once

#include "TalkledgerCore/Support/Json.h"
#include "TalkledgerWorkers/Protocol/WorkerMessages.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <variant>

/// What the program and the transcriber say to each other. The program numbers its requests; everything that the worker
/// tells of one carries its number, and after `TranscriptionFinished` or `TranscriptionFailed` comes nothing more of
/// it.
namespace talkledger {

/// Recognise a file from its beginning to its end.
struct TranscribeFile {
    static constexpr std::string_view type = "transcribeFile";

    std::int64_t request{0};
    std::filesystem::path path; ///< absolute
    std::string locale;
    double startTime{0}; ///< of the first sample, seconds; the results' times count from there

    bool operator==(const TranscribeFile&) const = default;
};

/// The results of a request are no longer wanted; it still ends with `TranscriptionFinished`.
struct CancelRequest {
    static constexpr std::string_view type = "cancel";

    std::int64_t request{0};

    bool operator==(const CancelRequest&) const = default;
};

/// The file could be opened as audio.
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

    bool operator==(const TranscriptionResult&) const = default;
};

struct TranscriptionProgress {
    static constexpr std::string_view type = "progress";

    std::int64_t request{0};
    double share{0}; ///< 0 to 1

    bool operator==(const TranscriptionProgress&) const = default;
};

struct TranscriptionFinished {
    static constexpr std::string_view type = "finished";

    std::int64_t request{0};

    bool operator==(const TranscriptionFinished&) const = default;
};

struct TranscriptionFailed {
    static constexpr std::string_view type = "failed";

    std::int64_t request{0};
    std::string description; ///< for the user

    bool operator==(const TranscriptionFailed&) const = default;
};

using MessageToTranscriber = std::variant<Ping, TranscribeFile, CancelRequest>;
using MessageFromTranscriber = std::variant<Hello, Pong, TranscriptionStarted, TranscriptionResult,
                                            TranscriptionProgress, TranscriptionFinished, TranscriptionFailed>;

Json toJson(const TranscribeFile& message);
Json toJson(const CancelRequest& message);
Json toJson(const TranscriptionStarted& message);
Json toJson(const TranscriptionResult& message);
Json toJson(const TranscriptionProgress& message);
Json toJson(const TranscriptionFinished& message);
Json toJson(const TranscriptionFailed& message);

template <>
TranscribeFile fromJson<TranscribeFile>(const JsonReader& reader);
template <>
CancelRequest fromJson<CancelRequest>(const JsonReader& reader);
template <>
TranscriptionStarted fromJson<TranscriptionStarted>(const JsonReader& reader);
template <>
TranscriptionResult fromJson<TranscriptionResult>(const JsonReader& reader);
template <>
TranscriptionProgress fromJson<TranscriptionProgress>(const JsonReader& reader);
template <>
TranscriptionFinished fromJson<TranscriptionFinished>(const JsonReader& reader);
template <>
TranscriptionFailed fromJson<TranscriptionFailed>(const JsonReader& reader);

} // namespace talkledger
