#pragma once

#include "Fakes/CallLog.h"
#include "Fakes/Gate.h"
#include "TalkledgerCore/Transcription/RecordedArtifactTranscriptProvider.h"

#include <map>

namespace talkledger::testing {

class FakeTranscriptProvider final : public TranscriptProvider {
public:
    explicit FakeTranscriptProvider(CallLog& callLog) : log(callLog) {}

    CallLog& log;
    TranscriptDocument document;
    std::optional<std::string> failure;
    Gate answering;

    Task<TranscriptDocument> transcript(RecordingSession /*forSession*/) override {
        log.add("transcribe");
        co_await answering.pass();
        throwIfSet(failure);
        co_return document;
    }
};

/// One track's transcript for each channel.
class FakeTrackTranscriptProvider final : public RecordingTrackTranscriptProviding {
public:
    struct Track {
        std::vector<TranscriptSegment> segments;
        std::optional<std::string> failure;
        Gate answering;
        std::filesystem::path url;
        SpeakerRole role{SpeakerRole::me};
    };

    Track mic;
    Track speaker;

    Task<std::vector<TranscriptSegment>> transcribe(std::filesystem::path url, AudioChannel channel,
                                                    SpeakerRole role) override {
        Track& track = channel == AudioChannel::mic ? mic : speaker;
        track.url = url;
        track.role = role;
        co_await track.answering.pass();
        throwIfSet(track.failure);
        co_return track.segments;
    }
};

} // namespace talkledger::testing
