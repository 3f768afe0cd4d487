#include "TalkledgerCore/Model/Models.h"

#include <array>
#include <utility>

namespace talkledger {

namespace {

template <typename Enumeration>
using RawValues = std::pair<Enumeration, std::string_view>;

constexpr std::array<RawValues<SpeakerRole>, 2> speakerRoles{
    {{SpeakerRole::me, "me"}, {SpeakerRole::customer, "customer"}}};

constexpr std::array<RawValues<AudioChannel>, 2> audioChannels{
    {{AudioChannel::mic, "mic"}, {AudioChannel::speaker, "speaker"}}};

constexpr std::array<RawValues<TranscriptSegmentStatus>, 2> segmentStatuses{
    {{TranscriptSegmentStatus::partial, "partial"}, {TranscriptSegmentStatus::final, "final"}}};

constexpr std::array<RawValues<RecordingArtifactKind>, 4> artifactKinds{
    {{RecordingArtifactKind::micAudio, "micAudio"},
     {RecordingArtifactKind::speakerAudio, "speakerAudio"},
     {RecordingArtifactKind::transcript, "transcript"},
     {RecordingArtifactKind::summary, "summary"}}};

template <typename Table, typename Enumeration>
std::string_view textOf(const Table& table, Enumeration value) {
    for (const auto& [candidate, text] : table) {
        if (candidate == value) {
            return text;
        }
    }
    return {};
}

template <typename Table>
auto valueOf(const Table& table, std::string_view text) {
    std::optional<typename Table::value_type::first_type> found;
    for (const auto& [value, candidate] : table) {
        if (candidate == text) {
            found = value;
        }
    }
    return found;
}

} // namespace

std::string_view rawValue(SpeakerRole role) {
    return textOf(speakerRoles, role);
}

std::string_view rawValue(AudioChannel channel) {
    return textOf(audioChannels, channel);
}

std::string_view rawValue(TranscriptSegmentStatus status) {
    return textOf(segmentStatuses, status);
}

std::string_view rawValue(RecordingArtifactKind kind) {
    return textOf(artifactKinds, kind);
}

template <>
std::optional<SpeakerRole> fromRawValue(std::string_view text) {
    return valueOf(speakerRoles, text);
}

template <>
std::optional<AudioChannel> fromRawValue(std::string_view text) {
    return valueOf(audioChannels, text);
}

template <>
std::optional<TranscriptSegmentStatus> fromRawValue(std::string_view text) {
    return valueOf(segmentStatuses, text);
}

template <>
std::optional<RecordingArtifactKind> fromRawValue(std::string_view text) {
    return valueOf(artifactKinds, text);
}

SpeakerRole structuralSpeakerRole(AudioChannel channel) {
    return channel == AudioChannel::mic ? SpeakerRole::me : SpeakerRole::customer;
}

TranscriptSegment::TranscriptSegment(AudioChannel segmentChannel, SpeakerRole /*segmentRole*/, double start,
                                     double length, std::string segmentText, TranscriptSegmentStatus segmentStatus)
    : channel(segmentChannel),
      role(structuralSpeakerRole(segmentChannel)),
      startTime(start),
      duration(length),
      text(std::move(segmentText)),
      status(segmentStatus) {}

} // namespace talkledger
