#pragma once

#include "TalkledgerCore/Model/Models.h"
#include "TalkledgerCore/Support/Json.h"

/// The JSON form of the value types: keys are the field names. Reading throws `JsonError` and yields whole values only.
namespace talkledger {

Json toJson(const TranscriptSegment& segment);
Json toJson(const TranscriptDocument& document);
Json toJson(const SalesSummary& summary);
Json toJson(const RecordingArtifacts& artifacts);
Json toJson(const RecordingSession& session);

template <>
AudioChannel fromJson(const JsonReader& reader);
template <>
SpeakerRole fromJson(const JsonReader& reader);
template <>
TranscriptSegmentStatus fromJson(const JsonReader& reader);
template <>
TranscriptSegment fromJson(const JsonReader& reader);
template <>
TranscriptDocument fromJson(const JsonReader& reader);
template <>
SalesSummary fromJson(const JsonReader& reader);
template <>
RecordingArtifacts fromJson(const JsonReader& reader);
template <>
RecordingSession fromJson(const JsonReader& reader);

} // namespace talkledger
