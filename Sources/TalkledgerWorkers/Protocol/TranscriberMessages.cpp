#include "TalkledgerWorkers/Protocol/TranscriberMessages.h"

#include "TalkledgerCore/Support/FileUrl.h"

#include <nlohmann/json.hpp>

#include <optional>

namespace talkledger {

namespace {

/// A bound beyond any recording, so that times can be reckoned with.
double secondsOf(const JsonReader& reader, std::string_view key) {
    constexpr double latest = 1e9;
    const JsonReader seconds = reader.required(key);
    if (seconds.number() < -latest || seconds.number() > latest) {
        throw seconds.invalid("seconds within a recording");
    }
    return seconds.number();
}

} // namespace

Json toJson(const TranscribeFile& message) {
    // A path may hold any bytes, JSON only UTF-8.
    return {{"request", message.request},
            {"file", fileUrl(message.path)},
            {"locale", message.locale},
            {"startTime", message.startTime}};
}

Json toJson(const StartStream& message) {
    return {{"request", message.request}, {"locale", message.locale}, {"reportsHypotheses", message.reportsHypotheses}};
}

Json toJson(const StreamAudio& message) {
    return {{"request", message.request}, {"start", message.start}};
}

Json toJson(const FinishStream& message) {
    return {{"request", message.request}};
}

Json toJson(const TranscriptionStarted& message) {
    return {{"request", message.request}};
}

Json toJson(const TranscriptionResult& message) {
    return {{"request", message.request},
            {"text", message.text},
            {"start", message.start},
            {"duration", message.duration},
            {"isFinal", message.isFinal}};
}

Json toJson(const StreamConsumed& message) {
    return {{"request", message.request}, {"samples", message.samples}};
}

Json toJson(const TranscriptionProgress& message) {
    return {{"request", message.request}, {"share", message.share}};
}

Json toJson(const TranscriptionFinished& message) {
    return {{"request", message.request}};
}

template <>
TranscribeFile fromJson<TranscribeFile>(const JsonReader& reader) {
    const JsonReader file = reader.required("file");
    const std::optional<std::filesystem::path> path = pathFromFileUrl(file.string());
    if (!path) {
        throw file.invalid("the location of a file");
    }
    return {.request = requestOf(reader),
            .path = *path,
            .locale = reader.required("locale").string(),
            .startTime = secondsOf(reader, "startTime")};
}

template <>
StartStream fromJson<StartStream>(const JsonReader& reader) {
    return {.request = requestOf(reader),
            .locale = reader.required("locale").string(),
            .reportsHypotheses = reader.required("reportsHypotheses").boolean()};
}

template <>
StreamAudio fromJson<StreamAudio>(const JsonReader& reader) {
    return {.request = requestOf(reader), .start = secondsOf(reader, "start"), .payload = {}};
}

template <>
FinishStream fromJson<FinishStream>(const JsonReader& reader) {
    return {.request = requestOf(reader)};
}

template <>
TranscriptionStarted fromJson<TranscriptionStarted>(const JsonReader& reader) {
    return {.request = requestOf(reader)};
}

template <>
TranscriptionResult fromJson<TranscriptionResult>(const JsonReader& reader) {
    return {.request = requestOf(reader),
            .text = reader.required("text").string(),
            .start = secondsOf(reader, "start"),
            .duration = secondsOf(reader, "duration"),
            .isFinal = reader.required("isFinal").boolean()};
}

template <>
StreamConsumed fromJson<StreamConsumed>(const JsonReader& reader) {
    const JsonReader samples = reader.required("samples");
    if (samples.integer() < 0 || samples.integer() > std::int64_t{StreamAudio::mostUnconsumed}) {
        throw samples.invalid("a number of samples that were sent");
    }
    return {.request = requestOf(reader), .samples = samples.integer()};
}

template <>
TranscriptionProgress fromJson<TranscriptionProgress>(const JsonReader& reader) {
    const JsonReader share = reader.required("share");
    if (share.number() < 0 || share.number() > 1) {
        throw share.invalid("between 0 and 1");
    }
    return {.request = requestOf(reader), .share = share.number()};
}

template <>
TranscriptionFinished fromJson<TranscriptionFinished>(const JsonReader& reader) {
    return {.request = requestOf(reader)};
}

} // namespace talkledger
