#include "TalkledgerCore/Model/ModelsJson.h"

#include "TalkledgerCore/Support/Dates.h"
#include "TalkledgerCore/Support/FileUrl.h"
#include "TalkledgerCore/Support/Uuid.h"

#include <nlohmann/json.hpp>

namespace talkledger {

namespace {

template <typename Enumeration>
Enumeration enumerationFromJson(const JsonReader& reader) {
    const std::optional<Enumeration> value = fromRawValue<Enumeration>(reader.string());
    if (!value) {
        throw reader.invalid("one of the known words");
    }
    return *value;
}

Date dateFromJson(const JsonReader& reader) {
    const std::optional<Date> date = parseIso8601(reader.string());
    if (!date) {
        throw reader.invalid("a date and time like 2026-11-15T09:30:00Z");
    }
    return *date;
}

std::filesystem::path pathFromJson(const JsonReader& reader) {
    std::optional<std::filesystem::path> path = pathFromFileUrl(reader.string());
    if (!path) {
        throw reader.invalid("a file URL like file:///home/user/mic.wav");
    }
    return *std::move(path);
}

boost::uuids::uuid uuidFromJson(const JsonReader& reader) {
    const std::optional<boost::uuids::uuid> uuid = parseUuid(reader.string());
    if (!uuid) {
        throw reader.invalid("a UUID of 36 characters");
    }
    return *uuid;
}

std::vector<std::string> stringsOrNone(const std::optional<JsonReader>& reader) {
    return reader ? reader->strings() : std::vector<std::string>();
}

} // namespace

Json toJson(const TranscriptSegment& segment) {
    return {
        {"channel", rawValue(segment.channel)}, {"role", rawValue(segment.role)}, {"startTime", segment.startTime},
        {"duration", segment.duration},         {"text", segment.text},           {"status", rawValue(segment.status)}};
}

Json toJson(const TranscriptDocument& document) {
    Json segments = Json::array();
    for (const TranscriptSegment& segment : document.segments) {
        segments.push_back(toJson(segment));
    }
    return {{"segments", std::move(segments)}};
}

Json toJson(const SalesSummary& summary) {
    return {{"overview", summary.overview},
            {"decisions", summary.decisions},
            {"customerPains", summary.customerPains},
            {"decisionCriteria", summary.decisionCriteria},
            {"budgetSignals", summary.budgetSignals},
            {"objections", summary.objections},
            {"nextActions", summary.nextActions},
            {"unresolvedQuestions", summary.unresolvedQuestions},
            {"followUpEmailDraft", summary.followUpEmailDraft}};
}

Json toJson(const RecordingArtifacts& artifacts) {
    return {{"micAudio", fileUrl(artifacts.micAudio)},
            {"speakerAudio", fileUrl(artifacts.speakerAudio)},
            {"transcript", fileUrl(artifacts.transcript)},
            {"summary", fileUrl(artifacts.summary)},
            {"diagnostics", fileUrl(artifacts.diagnostics)}};
}

Json toJson(const RecordingSession& session) {
    Json object = {{"id", uuidText(session.id)},
                   {"title", session.title},
                   {"startedAt", formatIso8601(session.startedAt)},
                   {"directory", directoryUrl(session.directory)},
                   {"artifacts", toJson(session.artifacts)}};
    if (session.endedAt) {
        object["endedAt"] = formatIso8601(*session.endedAt);
    }
    return object;
}

template <>
AudioChannel fromJson(const JsonReader& reader) {
    return enumerationFromJson<AudioChannel>(reader);
}

template <>
SpeakerRole fromJson(const JsonReader& reader) {
    return enumerationFromJson<SpeakerRole>(reader);
}

template <>
TranscriptSegmentStatus fromJson(const JsonReader& reader) {
    return enumerationFromJson<TranscriptSegmentStatus>(reader);
}

template <>
TranscriptSegment fromJson(const JsonReader& reader) {
    const auto channel = fromJson<AudioChannel>(reader.required("channel"));
    const auto role = reader.optional("role");
    const auto status = reader.optional("status");
    return {channel,
            role ? fromJson<SpeakerRole>(*role) : structuralSpeakerRole(channel),
            reader.required("startTime").number(),
            reader.required("duration").number(),
            reader.required("text").string(),
            status ? fromJson<TranscriptSegmentStatus>(*status) : TranscriptSegmentStatus::final};
}

template <>
TranscriptDocument fromJson(const JsonReader& reader) {
    return {.segments = listFromJson<TranscriptSegment>(reader.required("segments"))};
}

template <>
SalesSummary fromJson(const JsonReader& reader) {
    return {.overview = reader.required("overview").string(),
            .decisions = stringsOrNone(reader.optional("decisions")),
            .customerPains = reader.required("customerPains").strings(),
            .decisionCriteria = reader.required("decisionCriteria").strings(),
            .budgetSignals = reader.required("budgetSignals").strings(),
            .objections = reader.required("objections").strings(),
            .nextActions = reader.required("nextActions").strings(),
            .unresolvedQuestions = stringsOrNone(reader.optional("unresolvedQuestions")),
            .followUpEmailDraft = reader.required("followUpEmailDraft").string()};
}

template <>
RecordingArtifacts fromJson(const JsonReader& reader) {
    return {.micAudio = pathFromJson(reader.required("micAudio")),
            .speakerAudio = pathFromJson(reader.required("speakerAudio")),
            .transcript = pathFromJson(reader.required("transcript")),
            .summary = pathFromJson(reader.required("summary")),
            .diagnostics = pathFromJson(reader.required("diagnostics"))};
}

template <>
RecordingSession fromJson(const JsonReader& reader) {
    const auto endedAt = reader.optional("endedAt");
    return {.id = uuidFromJson(reader.required("id")),
            .title = reader.required("title").string(),
            .startedAt = dateFromJson(reader.required("startedAt")),
            .endedAt = endedAt ? std::optional(dateFromJson(*endedAt)) : std::nullopt,
            .directory = pathFromJson(reader.required("directory")),
            .artifacts = fromJson<RecordingArtifacts>(reader.required("artifacts"))};
}

} // namespace talkledger
