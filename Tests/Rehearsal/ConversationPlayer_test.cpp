#include "Rehearsal/AudioReading.h"
#include "Rehearsal/ConversationPlayer.h"
#include "Rehearsal/SpeechSynthesis.h"
#include "Rehearsal/Waiting.h"
#include "Support/SoundSession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstddef>

namespace talkledger::rehearsal {
namespace {

using talkledger::testing::SoundSession;

/// The share of a passage's pieces that were recorded sample for sample, in their order: on a busy machine `pw-record`
/// loses a cycle now and then.
double shareRecorded(const Samples& passage, const Samples& recorded) {
    constexpr std::ptrdiff_t pieceLength = 256;
    int pieces = 0;
    int found = 0;
    auto searched = recorded.begin();
    for (auto piece = passage.begin(); passage.end() - piece >= pieceLength; piece += pieceLength) {
        if (std::all_of(piece, piece + pieceLength, [](float sample) { return sample == 0; })) {
            continue;
        }
        ++pieces;
        const auto place = std::search(searched, recorded.end(), piece, piece + pieceLength);
        if (place != recorded.end()) {
            ++found;
            searched = place + pieceLength;
        }
    }
    return static_cast<double>(found) / pieces;
}

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
    constexpr double most = 0.5;
    EXPECT_GT(shareRecorded(passage(performance.microphone), readFirstChannel(session.runtimeFolder() / "mic.wav")),
              most);
    EXPECT_GT(shareRecorded(passage(performance.output), readFirstChannel(session.runtimeFolder() / "output.wav")),
              most);
}

} // namespace
} // namespace talkledger::rehearsal
