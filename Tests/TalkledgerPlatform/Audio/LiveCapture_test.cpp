#include "Support/CyclePlayer.h"
#include "Support/RunTask.h"
#include "Support/SoundSession.h"
#include "TalkledgerPlatform/Audio/AudioTestSupport.h"
#include "TalkledgerPlatform/Audio/CapturedTrack.h"
#include "TalkledgerPlatform/Audio/PipeWireAudioInput.h"
#include "TalkledgerPlatform/Audio/PipeWireConnection.h"
#include "TalkledgerPlatform/Audio/PipeWirePlayback.h"
#include "TalkledgerPlatform/Audio/PipeWireSystemAudio.h"
#include "TalkledgerPlatform/Audio/SoundServerError.h"

#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <random>
#include <span>

namespace talkledger {
namespace {

using testing::CapturedTrack;
using testing::ChildProcess;
using testing::CyclePlayer;
using testing::PlayedChannel;
using testing::runTask;
using testing::SharedClock;
using testing::SoundSession;
using testing::SoundSessionOptions;
using enum TrackHealthEvent;

constexpr int kRate = 48000;
constexpr double kSampleTime = 1.0 / kRate;

/// Noise: no two places look alike, and no sample is zero.
std::vector<float> noise(double seconds, std::uint32_t channelCount, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> level(0.01F, 0.5F);
    std::vector<float> samples(static_cast<std::size_t>(seconds * kRate) * channelCount);
    for (float& sample : samples) {
        sample = random() % 2 == 0 ? level(random) : -level(random);
    }
    return samples;
}

/// A player that is not scheduled in time leaves a hole in what it plays, and beside other work that happens; a fault
/// of the capture is there each time.
bool holdsWhilePlayersAreLate(const std::function<bool()>& holds) {
    for (int attempt = 0; attempt < 6; ++attempt) {
        if (holds()) {
            return true;
        }
    }
    return false;
}

/// Plays with `play` until `passage` has been recorded whole.
bool recordWhole(CapturedTrack& track, std::span<const float> passage,
                 const std::function<std::unique_ptr<ChildProcess>()>& play, float tolerance = 0) {
    return holdsWhilePlayersAreLate([&] {
        const auto player = play();
        player->wait(std::chrono::seconds(15)); // it ends with the file; earlier attempts may not even have been linked
        EXPECT_TRUE(track.waitForSeconds(track.seconds() + 1)); // what is on its way
        return track.find(passage, tolerance).has_value();
    });
}

/// One channel as both of two, interleaved.
std::vector<float> onBothSides(std::span<const float> samples) {
    std::vector<float> both;
    both.reserve(2 * samples.size());
    for (const float sample : samples) {
        both.insert(both.end(), {sample, sample});
    }
    return both;
}

constexpr const char* kPlayer = "talkledger-test-player";
const std::string kLeft = std::string(SoundSession::kOutput) + ":playback_FL";
const std::string kRight = std::string(SoundSession::kOutput) + ":playback_FR";

void playWhole(CyclePlayer& player, const std::vector<CapturedTrack*>& tracks) {
    player.play();
    player.waitUntilPlayed(std::chrono::seconds(20));
    for (CapturedTrack* track : tracks) {
        EXPECT_TRUE(track->waitForSeconds(track->seconds() + 1)); // what is on its way
    }
}

/// `passage` (samples of all channels) stands in the track at the time at which it was played.
bool isInTime(CapturedTrack& track, std::span<const float> passage, const CyclePlayer& player) {
    const auto time = track.find(passage);
    return time && !player.hasMissedACycle() &&
           std::abs(std::chrono::duration<double>(*time - player.beginning()).count()) < 0.001;
}

/// A sound session in which a microphone is recorded.
class MicrophoneRecording {
public:
    explicit MicrophoneRecording(const SoundSession& session)
        : folder_(session.runtimeFolder()), input_(pool_.get_executor(), health()), engine_(input_.makeEngine()) {}

    ~MicrophoneRecording() { stop(); }

    MicrophoneRecording(const MicrophoneRecording&) = delete;
    MicrophoneRecording& operator=(const MicrophoneRecording&) = delete;

    AudioFormat inputFormat() { return runTask(context_, engine_->inputFormat()); }

    /// `next` receives each buffer after the track.
    void start(const AudioTap& next = {}) {
        const AudioFormat format = inputFormat();
        engine_->installTap(4096, format, [track = track_, next](const AudioBuffer& buffer) {
            track->append(buffer);
            if (next) {
                next(buffer);
            }
        });
        runTask(context_, engine_->start());
    }

    void stop() {
        engine_->removeTap();
        engine_->stop();
    }

    CapturedTrack& track() { return *track_; }

private:
    TrackHealthHandler health() {
        return [track = track_](AudioChannel, TrackHealthEvent event) { track->note(event); };
    }

    std::filesystem::path folder_;
    std::shared_ptr<CapturedTrack> track_{std::make_shared<CapturedTrack>()};
    boost::asio::io_context context_; // outlives the pool, whose last act for a task touches it
    boost::asio::thread_pool pool_{1};
    PipeWireAudioInput input_;
    std::unique_ptr<AudioInputEngine> engine_;
};

/// What the output plays, recorded.
class OutputRecording {
public:
    ~OutputRecording() { stop(); }

    OutputRecording() = default;
    OutputRecording(const OutputRecording&) = delete;
    OutputRecording& operator=(const OutputRecording&) = delete;

    /// Tests play themselves: their own sound is excluded only on demand.
    void start(bool excludesOwnSound = false) {
        stream_ = systemAudio_.makeStream({.display = content().displays.at(0)},
                                          {.excludesCurrentProcessAudio = excludesOwnSound});
        stream_->addStreamOutput(receiver_, "talkledger.test-samples");
        runTask(context_, stream_->startCapture());
    }

    void stop() {
        if (stream_) {
            runTask(context_, stream_->stopCapture());
        }
    }

    ShareableContent content() { return runTask(context_, systemAudio_.shareableContent()); }

    CapturedTrack& track() { return receiver_->track; }

private:
    struct Receiver : CaptureStreamOutput {
        CapturedTrack track;

        void streamDidOutput(const CaptureSampleBuffer& sample) override { track.append(sample.audio); }

        void streamDidStop(const std::string& /*reason*/) override {}
    };

    std::shared_ptr<Receiver> receiver_{std::make_shared<Receiver>()};
    boost::asio::io_context context_; // outlives the pool, whose last act for a task touches it
    boost::asio::thread_pool pool_{1};
    PipeWireSystemAudio systemAudio_{
        pool_.get_executor(),
        [receiver = receiver_](AudioChannel, TrackHealthEvent event) { receiver->track.note(event); }};
    std::unique_ptr<CaptureStream> stream_;
};

/// A client that asks for the defaults and leaves before the session manager has answered: from then on the server
/// tells nobody of a change, only those who ask.
void leaveBeforeTheAnswer(SoundSession& session) {
    PipeWireConnection client;
    const auto patience = [] { return std::chrono::steady_clock::now() + std::chrono::seconds(20); };
    {
        const PipeWireConnection::Lock lock(client);
        client.waitForDefaultDevice(CaptureSource::microphone, patience());
    }
    session.freezeSessionManager();
    {
        const PipeWireConnection::Lock lock(client);
        client.askForDefaults();
        client.waitForChange(std::chrono::steady_clock::now() + std::chrono::milliseconds(200)); // none: it is sent
    }
    {
        const PipeWireConnection::Lock lock(client);
        client.disconnect();
    }
    session.thawSessionManager();
}

class LiveCapture : public ::testing::Test {
protected:
    /// Long cycles: beside other work and without realtime priority, short ones are missed upstream of the capture.
    SoundSession& enterSession(SoundSessionOptions options = {}, std::uint32_t quantum = 4096) {
        options.quantum = quantum;
        session_.reset();
        session_ = std::make_unique<SoundSession>(options);
        session_->enter();
        return *session_;
    }

    /// A file with `samples`, in the session's folder.
    std::filesystem::path wave(std::vector<float> samples, std::size_t channelCount) {
        auto path = session_->runtimeFolder() / ("wave" + std::to_string(++waveCount_) + ".wav");
        samples.resize(samples.size() + kRate / 2 * channelCount); // the last quantum can be lost
        testing::writeWave(path, samples, static_cast<int>(channelCount));
        return path;
    }

    /// Whether what is spoken from now on is in the track, sample for sample.
    bool recordsMicrophone(MicrophoneRecording& recording) {
        const auto passage = noise(1, 1, ++seed_);
        const auto file = wave(passage, 1);
        return recordWhole(recording.track(), passage, [&] { return session_->playIntoMicrophone(file); });
    }

    bool recordsOutput(OutputRecording& recording, float tolerance = 0) {
        const auto passage = noise(1, 2, ++seed_);
        const auto file = wave(passage, 2);
        return recordWhole(
            recording.track(), passage, [&] { return session_->play(file); }, tolerance);
    }

    static void expectHealth(MicrophoneRecording& microphone, OutputRecording& output,
                             const std::vector<TrackHealthEvent>& events) {
        EXPECT_TRUE(microphone.track().waitForHealth(events));
        EXPECT_TRUE(output.track().waitForHealth(events));
    }

    /// The track has no hole, and its length is that of the time from its first frame to the stop.
    template <typename Recording>
    static void stopInTime(Recording& recording) {
        const MonotonicTime stopped = std::chrono::steady_clock::now();
        recording.stop();
        CapturedTrack& track = recording.track();
        EXPECT_LT(track.largestError(), kSampleTime / 2);
        const std::chrono::duration<double> behind = stopped - track.end();
        EXPECT_LT(behind.count(), kSampleTime) << "the track ends before the stop";
        EXPECT_GT(behind.count(), -0.1) << "the track is longer than the time that it covers";
    }

private:
    std::unique_ptr<SoundSession> session_;
    int waveCount_{0};
    std::uint32_t seed_{1000};
};

TEST_F(LiveCapture, MicrophonePassageIsBitExact) {
    const SoundSession& session = enterSession();
    const auto passage = noise(2, 1, 1);
    const auto file = wave(passage, 1);
    // The microphone is there before the recording; when that fails, it is plugged in again.
    auto voice = session.playIntoMicrophone(file);
    MicrophoneRecording recording(session);
    recording.start();
    const auto play = [&] { return voice ? std::move(voice) : session.playIntoMicrophone(file); };
    EXPECT_TRUE(recordWhole(recording.track(), passage, play));
    stopInTime(recording);
}

TEST_F(LiveCapture, FollowsTheDefaultMicrophoneAndComesBack) {
    MicrophoneRecording recording(enterSession());
    recording.start();
    ASSERT_TRUE(recording.track().waitForSeconds(0.5));
    EXPECT_TRUE(recordsMicrophone(recording)); // it is plugged in, then gone at its end
    EXPECT_TRUE(recording.track().waitForSeconds(recording.track().seconds() + 1));
    stopInTime(recording);
}

TEST_F(LiveCapture, FollowsDefaultsOfWhichTheServerDoesNotTell) {
    SoundSession& session = enterSession();
    MicrophoneRecording recording(session);
    recording.start();
    leaveBeforeTheAnswer(session);
    EXPECT_TRUE(recordsMicrophone(recording));
}

TEST_F(LiveCapture, ConvertsAnotherMicrophoneToTheTracksFormat) {
    SoundSession& session = enterSession();
    MicrophoneRecording recording(session);
    recording.start();
    const auto passage = noise(1, 1, 12);
    std::vector<float> mixed = passage;
    for (float& sample : mixed) {
        sample *= std::sqrt(2.0F); // equal power: (left + right) / sqrt(2)
    }
    const auto file = wave(onBothSides(passage), 2);
    EXPECT_TRUE(recordWhole(
        recording.track(), mixed, [&] { return session.playIntoMicrophone(file); }, 1e-5F));
    recording.stop();
    EXPECT_LT(recording.track().largestError(), kSampleTime / 2);
}

TEST_F(LiveCapture, WithoutAMicrophoneTheMonitorIsNotRecorded) {
    SoundSession& session = enterSession({.hasMicrophone = false});
    const auto loud = wave(noise(60, 2, 3), 2);
    const auto player = session.play(loud);
    {
        MicrophoneRecording recording(session);
        EXPECT_EQ(recording.inputFormat().channelCount, 0U);
        EXPECT_THROW(recording.start(), SoundServerError);
    }
    // The same when the only microphone is unplugged in the middle: its silence, and its return.
    const std::string microphone = "plugged-in";
    session.addNode(microphone, "Audio/Source/Virtual", "MONO", 2000);
    MicrophoneRecording recording(session);
    recording.start();
    session.removeNode(microphone);
    EXPECT_TRUE(recording.track().waitForHealth({deviceRunning, waitingForDevice}));
    EXPECT_TRUE(recording.track().waitForSeconds(3));
    const auto unplugged = recording.track().samples();
    EXPECT_TRUE(std::all_of(unplugged.begin(), unplugged.end(), [](float sample) { return sample == 0; }));
    EXPECT_TRUE(recordsMicrophone(recording));
    stopInTime(recording);
    EXPECT_EQ(recording.track().health().at(2), deviceRunning);
}

TEST_F(LiveCapture, BothTracksOutlastARestartOfTheServer) {
    SoundSession& session = enterSession();
    MicrophoneRecording microphone(session);
    OutputRecording output;
    microphone.start();
    output.start();
    expectHealth(microphone, output, {deviceRunning});
    session.stopServer();
    expectHealth(microphone, output, {deviceRunning, waitingForDevice});
    session.startServer();
    expectHealth(microphone, output, {deviceRunning, waitingForDevice, deviceRunning});
    EXPECT_TRUE(recordsOutput(output));
    EXPECT_TRUE(recordsMicrophone(microphone));
    stopInTime(microphone);
    stopInTime(output);
}

TEST_F(LiveCapture, BothTracksOutlastARestartOfTheSessionManager) {
    SoundSession& session = enterSession();
    MicrophoneRecording microphone(session);
    OutputRecording output;
    microphone.start();
    output.start();
    expectHealth(microphone, output, {deviceRunning});
    session.stopSessionManager();
    expectHealth(microphone, output, {deviceRunning, waitingForDevice});
    // As with a real card, whose nodes belong to the session manager; one that finds its predecessor's waits for ever.
    session.removeNode(SoundSession::kMicrophone);
    session.removeNode(SoundSession::kOutput);
    session.startSessionManager();
    session.addNode("card-microphone", "Audio/Source/Virtual", "MONO", 2500);
    session.addNode("card-output", "Audio/Sink", "FL FR", 2500);
    expectHealth(microphone, output, {deviceRunning, waitingForDevice, deviceRunning});
    EXPECT_TRUE(recordsOutput(output));
    EXPECT_TRUE(recordsMicrophone(microphone));
}

TEST_F(LiveCapture, OutputPassageIsWholeAndAQuietOutputIsSilence) {
    enterSession();
    OutputRecording output;
    output.start();
    ASSERT_TRUE(output.track().waitForSeconds(2));
    const auto quiet = output.track().samples();
    EXPECT_TRUE(std::all_of(quiet.begin(), quiet.end(), [](float sample) { return sample == 0; }));
    EXPECT_TRUE(recordsOutput(output));
    EXPECT_EQ(output.track().health(), std::vector{deviceRunning});
    stopInTime(output);
}

TEST_F(LiveCapture, OneSoundInBothTracksHasTheTimeOfItsCycle) {
    const auto passage = noise(0.5, 1, 13);
    for (const auto clock : {SharedClock::outputs, SharedClock::microphones}) {
        const SoundSession& session = enterSession({.sharedClock = clock});
        EXPECT_TRUE(holdsWhilePlayersAreLate([&] {
            MicrophoneRecording microphone(session);
            OutputRecording output;
            microphone.start();
            output.start();
            CyclePlayer player(kPlayer, {{passage, {kLeft, kRight, "talkledger-microphone:input_MONO"}}});
            playWhole(player, {&microphone.track(), &output.track()});
            return isInTime(microphone.track(), passage, player) &&
                   isInTime(output.track(), onBothSides(passage), player);
        })) << "the clock is that of the "
            << (clock == SharedClock::outputs ? "output" : "microphone");
    }
}

TEST_F(LiveCapture, CyclesOfAnyLengthLeaveTheTimeRight) {
    const auto passage = noise(0.3, 1, 14);
    const std::vector<PlayedChannel> channels{{passage, {kLeft, kRight}}};
    for (const std::uint32_t quantum : {256U, 512U, 1024U, 2048U}) {
        for (const bool isPlayingBefore : {false, true}) {
            enterSession({}, quantum);
            EXPECT_TRUE(holdsWhilePlayersAreLate([&] {
                OutputRecording output;
                std::optional<CyclePlayer> player;
                if (isPlayingBefore) {
                    player.emplace(kPlayer, channels);
                }
                output.start();
                if (!player) {
                    player.emplace(kPlayer, channels);
                }
                playWhole(*player, {&output.track()});
                return isInTime(output.track(), onBothSides(passage), *player);
            })) << quantum
                << " frames, played " << (isPlayingBefore ? "before" : "after") << " the start";
        }
    }
}

TEST_F(LiveCapture, LongerCyclesInTheMiddleLoseNothing) {
    const SoundSession& session = enterSession({}, 1024);
    const auto passage = noise(2, 1, 15);
    EXPECT_TRUE(holdsWhilePlayersAreLate([&] {
        OutputRecording output;
        output.start();
        CyclePlayer player(kPlayer, {{passage, {kLeft, kRight}}});
        player.play();
        const double before = output.track().seconds();
        EXPECT_TRUE(output.track().waitForSeconds(before + 0.5));
        session.run({"pw-metadata", "-n", "settings", "0", "clock.force-quantum", "2048"});
        playWhole(player, {&output.track()});
        session.run({"pw-metadata", "-n", "settings", "0", "clock.force-quantum", "0"});
        return isInTime(output.track(), onBothSides(passage), player);
    }));
}

TEST_F(LiveCapture, CyclesThatBecomeLongerOrShorterLeaveTheTimeRight) {
    struct Change {
        const char* quantum;
        bool isInASound;
    };

    const std::vector<std::string> targets{kLeft, kRight, "talkledger-microphone:input_MONO"};
    const auto sound = noise(1, 1, 17);
    std::uint32_t seed = 100;
    for (const auto clock : {SharedClock::outputs, SharedClock::microphones}) {
        const SoundSession& session = enterSession({.sharedClock = clock}, 1024);
        MicrophoneRecording microphone(session);
        OutputRecording output;
        microphone.start();
        output.start();
        for (const Change& change : {Change{"4096", false}, {"1024", true}, {"2048", true}}) {
            std::optional<CyclePlayer> player;
            if (change.isInASound) {
                player.emplace(kPlayer, std::vector<PlayedChannel>{{sound, targets}});
                player->play();
                EXPECT_TRUE(output.track().waitForSeconds(output.track().seconds() + 0.25));
            }
            session.run({"pw-metadata", "-n", "settings", "0", "clock.force-quantum", change.quantum});
            if (player) {
                player->waitUntilPlayed(std::chrono::seconds(20));
                player.reset();
            }
            EXPECT_TRUE(holdsWhilePlayersAreLate([&] {
                const auto passage = noise(0.5, 1, ++seed); // none that was recorded before
                CyclePlayer next(kPlayer, {{passage, targets}});
                playWhole(next, {&microphone.track(), &output.track()});
                return isInTime(microphone.track(), passage, next) &&
                       isInTime(output.track(), onBothSides(passage), next);
            })) << "from now on a cycle has "
                << change.quantum << " frames";
        }
        EXPECT_EQ(microphone.track().health(), std::vector{deviceRunning});
        EXPECT_EQ(output.track().health(), std::vector{deviceRunning});
    }
}

TEST_F(LiveCapture, WhatThisProcessPlaysIsNotRecorded) {
    for (const auto clock : {SharedClock::outputs, SharedClock::microphones}) {
        SoundSession& session = enterSession({.sharedClock = clock});
        const auto file = wave(noise(60, 1, 17), 1);
        OutputRecording all;
        OutputRecording others;
        all.start();
        others.start(true);
        PipeWirePlayback own;
        own.setEventHandler([](const PlaybackEvent&) {});
        EXPECT_TRUE(holdsWhilePlayersAreLate([&] {
            own.play({.tracks = {{.file = file}}}); // anew: the session manager may leave the first without a link
            EXPECT_TRUE(all.track().waitForSeconds(all.track().seconds() + 2));
            EXPECT_TRUE(others.track().waitForSeconds(others.track().seconds() + 2));
            // 40 dB below what is played.
            return all.track().peakOfLast(kRate / 2) > 0.4F && others.track().peakOfLast(kRate / 2) < 0.004F;
        }));
        EXPECT_TRUE(recordsOutput(others, 1e-5F));
        EXPECT_EQ(others.track().health(), std::vector{deviceRunning});
        session.stopServer(); // with the links that it holds
        EXPECT_TRUE(others.track().waitForHealth({deviceRunning, waitingForDevice}));
    }
}

TEST_F(LiveCapture, FollowsTheDefaultOutput) {
    SoundSession& session = enterSession();
    OutputRecording output;
    output.start();
    session.addNode("headset", "Audio/Sink", "FL FR", 3000);
    EXPECT_TRUE(recordsOutput(output));
    session.removeNode("headset");
    session.waitForDefaultSink(SoundSession::kOutput);
    EXPECT_TRUE(recordsOutput(output));
    EXPECT_LT(output.track().largestError(), kSampleTime / 2);
}

TEST_F(LiveCapture, ServerThatIsNotThereOrHangsIsToldInBoundedTime) {
    SoundSession& session = enterSession();
    MicrophoneRecording recording(session);
    OutputRecording output;
    session.freezeServer();
    EXPECT_EQ(recording.inputFormat().channelCount, 0U);
    EXPECT_THROW(output.content(), SoundServerError);
    session.thawServer();
    session.stopServer();
    EXPECT_EQ(recording.inputFormat().channelCount, 0U);
    EXPECT_THROW(recording.start(), SoundServerError);
    EXPECT_THROW(output.content(), SoundServerError);
}

TEST_F(LiveCapture, ReceiverMayDieInADeliveryAndTakeTheStreamWithIt) {
    enterSession();

    struct Owner : CaptureStreamOutput {
        std::unique_ptr<CaptureStream> stream;
        std::shared_ptr<Owner> self;
        std::promise<void> died;

        Owner() = default;

        ~Owner() override { died.set_value(); }

        Owner(const Owner&) = delete;
        Owner& operator=(const Owner&) = delete;

        void streamDidOutput(const CaptureSampleBuffer& /*sample*/) override { self.reset(); }

        void streamDidStop(const std::string& /*reason*/) override {}
    };

    boost::asio::io_context context;
    boost::asio::thread_pool pool(1);
    PipeWireSystemAudio systemAudio(pool.get_executor(), {});
    auto owner = std::make_shared<Owner>();
    auto died = owner->died.get_future();
    owner->stream = systemAudio.makeStream({}, {});
    owner->stream->addStreamOutput(owner, "talkledger.test-samples");
    owner->self = owner;
    Task<void> start = owner->stream->startCapture();
    owner.reset();
    runTask(context, std::move(start));
    EXPECT_EQ(died.wait_for(std::chrono::seconds(40)), std::future_status::ready);
    pool.join();
}

TEST_F(LiveCapture, ReceiverThatFailsMissesOneBufferOnly) {
    const SoundSession& session = enterSession();
    MicrophoneRecording recording(session);
    int failures = 0;
    recording.start([&failures](const AudioBuffer&) {
        if (++failures % 2 == 0) {
            throw std::bad_alloc();
        }
    });
    EXPECT_TRUE(recording.track().waitForSeconds(1));
    stopInTime(recording);
    EXPECT_GT(failures, 2);
}

TEST_F(LiveCapture, WithoutAnOutputThereIsNothingToShare) {
    enterSession({.hasOutput = false});
    OutputRecording output;
    EXPECT_TRUE(output.content().displays.empty());
}

} // namespace
} // namespace talkledger
