#pragma once

#include <boost/uuid/uuid.hpp>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The value types of a recording, its transcript and its summary. Plain copyable values with member-wise equality;
/// their JSON form is in ModelsJson.h.
namespace talkledger {

/// Wall-clock time. Files keep whole seconds.
using Date = std::chrono::system_clock::time_point;

enum class SpeakerRole { me, customer };

/// Which capture track a piece of audio or text came from: the local microphone (the user's own voice), or the
/// computer's sound output (the other party).
enum class AudioChannel { mic, speaker };

/// `partial` is a hypothesis that may still change.
enum class TranscriptSegmentStatus { partial, final };

/// The files of a recording that the user interface reports on; deliberately none for the diagnostics.
enum class RecordingArtifactKind { micAudio, speakerAudio, transcript, summary };

/// Raw texts, as they stand in JSON. Only exactly these texts are recognised.
std::string_view rawValue(SpeakerRole role);
std::string_view rawValue(AudioChannel channel);
std::string_view rawValue(TranscriptSegmentStatus status);
std::string_view rawValue(RecordingArtifactKind kind);
template <typename Enumeration>
std::optional<Enumeration> fromRawValue(std::string_view text);
template <>
std::optional<SpeakerRole> fromRawValue(std::string_view text);
template <>
std::optional<AudioChannel> fromRawValue(std::string_view text);
template <>
std::optional<TranscriptSegmentStatus> fromRawValue(std::string_view text);
template <>
std::optional<RecordingArtifactKind> fromRawValue(std::string_view text);

/// mic speaks as me, speaker as the customer.
SpeakerRole structuralSpeakerRole(AudioChannel channel);

/// One piece of recognised speech. `role` always is the channel's structural role, whatever is passed in.
struct TranscriptSegment {
    AudioChannel channel{AudioChannel::mic};
    SpeakerRole role{SpeakerRole::me};
    double startTime{0}; ///< seconds from the start of the recording
    double duration{0};  ///< seconds
    std::string text;
    TranscriptSegmentStatus status{TranscriptSegmentStatus::final};

    TranscriptSegment() = default;
    TranscriptSegment(AudioChannel segmentChannel, SpeakerRole segmentRole, double start, double length,
                      std::string segmentText, TranscriptSegmentStatus segmentStatus);

    bool operator==(const TranscriptSegment&) const = default;
};

struct TranscriptDocument {
    std::vector<TranscriptSegment> segments;

    bool operator==(const TranscriptDocument&) const = default;
};

/// The structured summary of a sales conversation.
struct SalesSummary {
    /// What a conversation without anything to tell is summed up as; the display has them in its own language.
    static constexpr std::string_view fallbackOverview = "Customer discussion captured for review.";
    static constexpr std::string_view fallbackFollowUpEmailDraft = "Thanks for the call.";

    std::string overview;
    std::vector<std::string> decisions;
    std::vector<std::string> customerPains;
    std::vector<std::string> decisionCriteria;
    std::vector<std::string> budgetSignals;
    std::vector<std::string> objections;
    std::vector<std::string> nextActions;
    std::vector<std::string> unresolvedQuestions;
    std::string followUpEmailDraft;

    bool operator==(const SalesSummary&) const = default;
};

/// The file locations of one recording. A holder never assumes that the files exist.
struct RecordingArtifacts {
    std::filesystem::path micAudio;
    std::filesystem::path speakerAudio;
    std::filesystem::path transcript;
    std::filesystem::path summary;
    std::filesystem::path diagnostics;

    bool operator==(const RecordingArtifacts&) const = default;
};

/// One recording. `endedAt` is absent while it runs, or if the program ended before it was stopped.
struct RecordingSession {
    boost::uuids::uuid id{};
    std::string title;
    Date startedAt;
    std::optional<Date> endedAt;
    std::filesystem::path directory; ///< without a trailing slash
    RecordingArtifacts artifacts;

    bool operator==(const RecordingSession&) const = default;
};

} // namespace talkledger
