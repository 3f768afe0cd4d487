#include "Support/SoundSession.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Capture/SoundCheck.h"
#include "TalkledgerCore/Capture/TestTone.h"
#include "TalkledgerPlatform/Audio/PipeWireAudioInput.h"
#include "TalkledgerPlatform/Audio/PipeWirePlayback.h"
#include "TalkledgerPlatform/Audio/PipeWireSystemAudio.h"
#include "TalkledgerPlatform/Audio/PlatformAudioFiles.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

#include <chrono>

namespace talkledger {
namespace {

using State = SoundCheck::State;

TEST(SoundCheckTest, HearsTheTestToneOfThisProgramAndTheMicrophone) {
    const testing::TemporaryFolder folder;
    const testing::SoundSession session;
    session.enter();
    boost::asio::io_context main;
    boost::asio::thread_pool background(2);
    PipeWireAudioInput audioInput(background.get_executor(), {});
    PipeWireSystemAudio systemAudio(background.get_executor(), {});
    PlatformAudioFiles audioFiles(background.get_executor(), {});
    PipeWirePlayback playback;
    playback.setEventHandler([](const PlaybackEvent&) {});
    const auto tone = folder.path() / "tone.wav";
    const AudioBuffer samples = makeTestTone();
    audioFiles.createFile(tone, samples.format, AudioChannel::speaker)->write(samples);

    SoundCheck check(audioInput, systemAudio, main.get_executor(), background.get_executor(), [] {});
    const auto work = boost::asio::make_work_guard(main);
    const auto waitFor = [&](const auto& holds) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(40);
        while (!holds() && std::chrono::steady_clock::now() < limit) {
            main.run_one_for(std::chrono::seconds(1));
        }
        EXPECT_TRUE(holds());
    };
    check.start();
    const auto voice = session.playIntoMicrophone(tone);
    waitFor([&] { return check.state(AudioChannel::mic) == State::heard; });
    EXPECT_EQ(check.state(AudioChannel::speaker), State::silent);
    const PlaybackRequest request{.tracks = {{.file = tone, .start = 0}}};
    playback.play(request);
    waitFor([&] { return check.state(AudioChannel::speaker) == State::heard; });
    EXPECT_GT(check.level(AudioChannel::speaker), 0.05);
    check.stop();
    EXPECT_EQ(check.level(AudioChannel::speaker), 0);
    background.join();
}

} // namespace
} // namespace talkledger
