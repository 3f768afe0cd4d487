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

std::filesystem::path pathOf(const JsonReader& location) {
    const std::optional<std::filesystem::path> path = pathFromFileUrl(location.string());
    if (!path) {
        throw location.invalid("the location of a file");
    }
    return *path;
}

std::filesystem::path optionalPathOf(const JsonReader& reader, std::string_view key) {
    const std::optional<JsonReader> location = reader.optional(key);
    return location ? pathOf(*location) : std::filesystem::path();
}

Json toJson(const SpeechEngineChoice& choice) {
    Json json{{"locale", choice.locale}, {"otherLanguages", choice.otherLanguages}};
    // A path may hold any bytes, JSON only UTF-8.
    if (!choice.model.empty()) {
        json["model"] = fileUrl(choice.model);
    }
    if (!choice.voiceModel.empty()) {
        json["voiceModel"] = fileUrl(choice.voiceModel);
    }
    return json;
}

SpeechEngineChoice engineOf(const JsonReader& reader) {
    const JsonReader engine = reader.required("engine");
    return {.locale = engine.required("locale").string(),
            .model = optionalPathOf(engine, "model"),
            .voiceModel = optionalPathOf(engine, "voiceModel"),
            .otherLanguages = engine.required("otherLanguages").strings()};
}

std::int64_t countOf(const JsonReader& reader, std::string_view key) {
    const JsonReader count = reader.required(key);
    if (count.integer() < 0) {
        throw count.invalid("a count");
    }
    return count.integer();
}

} // namespace

Json toJson(const TranscribeFile& message) {
    return {{"request", message.request},
            {"file", fileUrl(message.path)},
            {"engine", toJson(message.engine)},
            {"startTime", message.startTime}};
}

Json toJson(const StartStream& message) {
    return {{"request", message.request},
            {"engine", toJson(message.engine)},
            {"reportsHypotheses", message.reportsHypotheses}};
}

Json toJson(const StreamAudio& message) {
    return {{"request", message.request}, {"start", message.start}};
}

Json toJson(const FinishStream& message) {
    return {{"request", message.request}};
}

Json toJson(const CheckModel& message) {
    return {{"request", message.request}, {"file", fileUrl(message.path)}};
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
    return {{"request", message.request},
            {"withoutVoice", message.caught.withoutVoice},
            {"withoutSpeech", message.caught.withoutSpeech},
            {"unlikely", message.caught.unlikely},
            {"repeated", message.caught.repeated}};
}

template <>
TranscribeFile fromJson<TranscribeFile>(const JsonReader& reader) {
    return {.request = requestOf(reader),
            .path = pathOf(reader.required("file")),
            .engine = engineOf(reader),
            .startTime = secondsOf(reader, "startTime")};
}

template <>
StartStream fromJson<StartStream>(const JsonReader& reader) {
    return {.request = requestOf(reader),
            .engine = engineOf(reader),
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
CheckModel fromJson<CheckModel>(const JsonReader& reader) {
    return {.request = requestOf(reader), .path = pathOf(reader.required("file"))};
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
    return {.request = requestOf(reader),
            .caught = {.withoutVoice = countOf(reader, "withoutVoice"),
                       .withoutSpeech = countOf(reader, "withoutSpeech"),
                       .unlikely = countOf(reader, "unlikely"),
                       .repeated = countOf(reader, "repeated")}};
}

} // namespace talkledger
