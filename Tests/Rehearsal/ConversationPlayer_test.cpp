#include "Rehearsal/AudioReading.h"
#include "Rehearsal/Comparison.h"
#include "Rehearsal/ConversationPlayer.h"
#include "Rehearsal/SpeechSynthesis.h"
#include "Rehearsal/Waiting.h"
#include "Support/SoundSession.h"

#include <gtest/gtest.h>

#include <csignal>

namespace talkledger::rehearsal {
namespace {

using talkledger::testing::SoundSession;

TEST(ConversationPlayerTest, BothTracksArriveSampleForSample) {
    const SoundSession session;
    session.enter();
    const Samples speech = synthesize("slt", "This is heard in the room.", session.runtimeFolder());
    const Performance performance =
        perform({{.isCustomer = false, .samples = speech}, {.isCustomer = true, .samples = speech}});

    const auto record = [&](const std::string& file, const std::vector<std::string>& source) {
        std::vector<std::string> arguments{"pw-record", "--format", "f32"};
        arguments.insert(arguments.end(), source.begin(), source.end());
        arguments.push_back(session.runtimeFolder() / file);
        return session.start(arguments);
    };
    const auto microphone = record("mic.wav", {"--channels", "1", "--target", SoundSession::kMicrophone});
    const auto output = record("output.wav", {"--channels", "2", "-P", "{ stream.capture.sink=true }"});
    for (const char* file : {"mic.wav", "output.wav"}) {
        waitUntil("pw-record writes", [&] {
            std::error_code missing;
            return std::filesystem::file_size(session.runtimeFolder() / file, missing) > 4096 && !missing;
        });
    }

    {
        ConversationPlayer player(performance, SoundSession::kOutput, SoundSession::kMicrophone);
        player.play();
        player.waitUntilPlayed(std::chrono::seconds(30));
    }
    for (auto* recorder : {microphone.get(), output.get()}) {
        recorder->signal(SIGINT);
        ASSERT_TRUE(recorder->wait(std::chrono::seconds(10)));
    }

    const auto passage = [&](const Samples& track) {
        return Samples(track.begin() + static_cast<std::ptrdiff_t>(performance.passageBegin),
                       track.begin() + static_cast<std::ptrdiff_t>(performance.passageEnd));
    };
    EXPECT_TRUE(findExactly(readFirstChannel(session.runtimeFolder() / "mic.wav"), passage(performance.microphone)));
    EXPECT_TRUE(findExactly(readFirstChannel(session.runtimeFolder() / "output.wav"), passage(performance.output)));
}

} // namespace
} // namespace talkledger::rehearsal
