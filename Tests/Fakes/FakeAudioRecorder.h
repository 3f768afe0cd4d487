#pragma once

#include "Fakes/CallLog.h"
#include "Fakes/Gate.h"
#include "TalkledgerCore/Capture/AudioRecorder.h"

namespace talkledger::testing {

/// A track that starts and stops as the test wants.
class FakeAudioRecorder final : public AudioRecorder {
public:
    FakeAudioRecorder(std::string trackName, CallLog& callLog) : name(std::move(trackName)), log(callLog) {}

    std::string name;
    CallLog& log;
    std::optional<std::string> startFailure;
    std::optional<std::string> stopFailure;
    Gate starting;
    Gate stopping;
    std::filesystem::path file;

    Task<void> startRecording(std::filesystem::path to) override {
        log.add("start " + name);
        file = to;
        co_await starting.pass();
        throwIfSet(startFailure);
    }

    Task<void> stopRecording() override {
        log.add("stop " + name);
        co_await stopping.pass();
        throwIfSet(stopFailure);
    }
};

} // namespace talkledger::testing
