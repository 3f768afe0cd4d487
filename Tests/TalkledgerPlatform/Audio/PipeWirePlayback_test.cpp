#include "Support/SoundSession.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerPlatform/Audio/AudioTestSupport.h"
#include "TalkledgerPlatform/Audio/PipeWirePlayback.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>
#include <vector>

namespace talkledger {
namespace {

using testing::ChildProcess;
using testing::decodeFirstChannel;
using testing::kTestRate;
using testing::SoundSession;
using testing::TemporaryFolder;
using testing::tone;
using testing::writeWave;
using Kind = PlaybackEvent::Kind;

/// The seconds in which something is heard: its beginning and its end.
std::pair<double, double> heard(const std::vector<float>& samples) {
    const auto isLoud = [](float sample) { return std::abs(sample) > 0.1F; };
    const auto first = std::ranges::find_if(samples, isLoud);
    const auto last = std::find_if(samples.rbegin(), samples.rend(), isLoud).base();
    return {static_cast<double>(first - samples.begin()) / kTestRate,
            static_cast<double>(last - samples.begin()) / kTestRate};
}

/// In a sound session of its own, which the process enters; so there is one test to a process.
class PipeWirePlaybackTest : public ::testing::Test {
protected:
    void enter(const testing::SoundSessionOptions& options = {}) {
        session_.emplace(options);
        session_->enter();
    }

    void make() {
        playback_.emplace();
        playback_->setEventHandler([this](const PlaybackEvent& event) {
            const std::lock_guard guard(lock_);
            events_.push_back(event);
            changed_.notify_all();
        });
    }

    /// Waits for an event of that request.
    PlaybackEvent eventOf(std::uint64_t request) {
        std::unique_lock guard(lock_);
        const auto found = [&] { return std::ranges::find(events_, request, &PlaybackEvent::request); };
        EXPECT_TRUE(changed_.wait_for(guard, std::chrono::seconds(40), [&] { return found() != events_.end(); }));
        return found() == events_.end() ? PlaybackEvent() : *found();
    }

    void waitForPosition(double seconds) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(40);
        while (playback_->position() < seconds && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        EXPECT_GE(playback_->position(), seconds);
    }

    /// What the output plays from now on.
    std::unique_ptr<ChildProcess> record() {
        return session_->start({"pw-record", "--format", "f32", "-P", "{ stream.capture.sink=true }", "--target",
                                SoundSession::kOutput, (folder_ / "heard.wav").string()});
    }

    std::vector<float> end(ChildProcess& recorder) {
        recorder.signal(SIGINT);
        recorder.wait(std::chrono::seconds(20));
        return decodeFirstChannel(folder_ / "heard.wav");
    }

    TemporaryFolder folder_;
    std::optional<SoundSession> session_;
    std::mutex lock_;
    std::condition_variable changed_;
    std::vector<PlaybackEvent> events_;
    std::optional<PipeWirePlayback> playback_;
};

TEST_F(PipeWirePlaybackTest, PlaysTracksTogetherAndGoesWhereItIsSent) {
    enter();
    make();
    const PlaybackTrack first{.file = folder_ / "mic.wav", .start = 0};
    const PlaybackTrack second{.file = folder_ / "speaker.wav", .start = 1.5};
    writeWave(first.file, tone(500, 0.5));
    writeWave(second.file, tone(500, 0.5));
    const auto recorder = record();
    const std::uint64_t whole = playback_->play({.tracks = {first, second}, .from = 0});
    EXPECT_EQ(eventOf(whole).kind, Kind::ended);
    EXPECT_NEAR(playback_->position(), 2, 0.001);
    const std::vector<float> samples = end(*recorder);
    const auto [begin, finish] = heard(samples);
    constexpr double tolerance = 0.1; // a loaded machine leaves out some cycles
    EXPECT_NEAR(finish - begin, 2, tolerance);
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>((begin + 1) * kTestRate);
    EXPECT_NEAR(heard({samples.begin(), middle}).second - begin, 0.5, tolerance);
    EXPECT_NEAR(heard({middle, samples.end()}).first, 0.5, tolerance);

    const std::uint64_t late = playback_->play({.tracks = {first, second}, .from = 1.9, .speed = 0.5});
    EXPECT_NEAR(playback_->position(), 1.9, 0.2);
    EXPECT_EQ(eventOf(late).kind, Kind::ended);

    const std::uint64_t broken = playback_->play({.tracks = {first, {.file = folder_ / "none.m4a"}}, .from = 0});
    EXPECT_EQ(eventOf(broken).kind, Kind::trackFailed);
    EXPECT_EQ(eventOf(broken).track, 1U);
    waitForPosition(0.1);
    playback_->stop();
    const double stopped = playback_->position();
    const std::uint64_t again = playback_->play({.tracks = {first}, .from = stopped});
    EXPECT_EQ(eventOf(again).kind, Kind::ended);

    session_->stopServer();
    const PlaybackEvent failure = eventOf(playback_->play({.tracks = {first}, .from = 0}));
    EXPECT_EQ(failure.kind, Kind::failed);
    EXPECT_THAT(failure.description, ::testing::HasSubstr("The sound server cannot be reached"));
    session_->startServer();
    EXPECT_EQ(eventOf(playback_->play({.tracks = {first}, .from = 0})).kind, Kind::ended);
}

TEST_F(PipeWirePlaybackTest, SaysThatThereIsNoOutput) {
    enter({.hasOutput = false});
    make();
    writeWave(folder_ / "mic.wav", tone(500, 0.5));
    const PlaybackEvent event = eventOf(playback_->play({.tracks = {{.file = folder_ / "mic.wav"}}, .from = 0}));
    EXPECT_EQ(event.kind, Kind::failed);
    EXPECT_EQ(event.description, "No sound output is connected.");
}

} // namespace
} // namespace talkledger
