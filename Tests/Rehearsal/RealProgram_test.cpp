#include "Rehearsal/AudioReading.h"
#include "Rehearsal/ConversationPlayer.h"
#include "Rehearsal/RehearsedProgram.h"
#include "Rehearsal/VirtualDisplay.h"
#include "Rehearsal/Waiting.h"
#include "Support/SoundSession.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <list>
#include <random>
#include <thread>

/// The real program when things go wrong around it.
namespace talkledger::rehearsal {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using talkledger::testing::EnvironmentChanges;
using talkledger::testing::SoundSession;
using talkledger::testing::TemporaryFolder;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* kProgram = TALKLEDGER_PROGRAM;
constexpr std::uintmax_t kHeaderBytes = 4096; ///< more than the header of any of the files

nlohmann::json readJson(const fs::path& file) {
    std::ifstream stream(file);
    return nlohmann::json::parse(stream);
}

/// None before they are written.
std::vector<std::string> messages(const fs::path& recording) {
    if (!fs::exists(recording / "diagnostics.json")) {
        return {};
    }
    return readJson(recording / "diagnostics.json").at("messages");
}

double seconds(const fs::path& soundFile) {
    return static_cast<double>(readFirstChannel(soundFile).size()) / kFrameRate;
}

bool exceeds(const fs::path& file, std::uintmax_t bytes) {
    std::error_code missing;
    const std::uintmax_t size = fs::file_size(file, missing);
    return !missing && size > bytes;
}

bool hasEnded(const fs::path& recording) {
    return readJson(recording / "session.json").contains("endedAt");
}

Performance noise(std::size_t lengthInSeconds) {
    std::mt19937 random(1); // NOLINT(bugprone-random-generator-seed): any noise will do
    std::uniform_real_distribution<float> loudness(-0.3F, 0.3F);
    Samples samples(lengthInSeconds * kFrameRate);
    std::ranges::generate(samples, [&] { return loudness(random); });
    return {.output = samples, .microphone = samples};
}

class RealProgramTest : public ::testing::Test {
protected:
    EnvironmentChanges surroundings(EnvironmentChanges sound) const {
        sound.merge(display_.environment());
        return sound;
    }

    const VirtualDisplay display_;
};

TEST_F(RealProgramTest, RecordsTheOutputWhereThereIsNoMicrophone) {
    const SoundSession sound({.hasMicrophone = false});
    RehearsedProgram program({kProgram}, surroundings(sound.environment()));
    const fs::path recording = program.startRecording();
    program.await("the start is told", [&] { return messages(recording).size() == 2; });
    EXPECT_THAT(messages(recording), ElementsAre("Microphone capture failed: The default microphone audio format is "
                                                 "unavailable.",
                                                 "System audio capture started."));
    program.await("the output is recorded", [&] { return exceeds(recording / "speaker.m4a", kHeaderBytes); });
    program.stopRecording();
    program.waitForDocument(kPatience);

    EXPECT_TRUE(hasEnded(recording));
    EXPECT_EQ(messages(recording).front(), "System audio capture stopped.");
    EXPECT_GT(seconds(recording / "speaker.m4a"), 1);
    program.end();
}

TEST_F(RealProgramTest, TellsBothTracksWhereThereIsNoSoundServer) {
    const TemporaryFolder runtimeFolder;
    RehearsedProgram program({kProgram}, surroundings({{"XDG_RUNTIME_DIR", runtimeFolder.path()},
                                                       {"PIPEWIRE_RUNTIME_DIR", runtimeFolder.path()}}));
    for (int attempt = 0; attempt < 2; ++attempt) { // the second shows that the first left it idle
        const fs::path recording = program.startRecording();
        program.await("the failure is told", [&] { return messages(recording).size() == 2; });
        EXPECT_THAT(messages(recording),
                    ElementsAre("Microphone capture failed: The default microphone audio format is unavailable.",
                                StartsWith("System audio capture failed: System audio capture is unavailable: ")));
    }
    program.end();
}

TEST_F(RealProgramTest, KeepsWhatFitsOnAFullDisk) {
    const SoundSession sound;
    sound.enter();
    ConversationPlayer player(noise(60), SoundSession::kOutput, SoundSession::kMicrophone);
    player.play();
    // No file can grow larger: the microphone's track is that long within a second, the output's within five.
    constexpr std::uintmax_t kLimit = 60000;
    RehearsedProgram program(
        {"env", "--ignore-signal=XFSZ", "prlimit", "--fsize=" + std::to_string(kLimit), "--", kProgram},
        surroundings(sound.environment()));
    const fs::path recording = program.startRecording();
    for (const char* track : {"mic.wav", "speaker.m4a"}) {
        program.await("the disk is full", [&] { return exceeds(recording / track, kLimit - sizeof(float)); });
    }
    program.stopRecording();
    program.waitForDocument(kPatience);

    EXPECT_TRUE(hasEnded(recording));
    EXPECT_THAT(
        messages(recording),
        AllOf(Contains("Some of the microphone's sound could not be saved."),
              Contains(StartsWith("System audio capture stop failed: The audio writer failed: \"speaker.m4a\""))));
    EXPECT_GT(seconds(recording / "mic.wav"), 0.2);
    EXPECT_GT(seconds(recording / "speaker.m4a"), 2);
    program.end();
}

TEST_F(RealProgramTest, OutlivesAFolderThatCannotBeWritten) {
    const SoundSession sound;
    // Root may write everywhere, unless it gives up the capability for it.
    std::vector<std::string> command;
    if (geteuid() == 0) {
        command = {"setpriv", "--bounding-set=-dac_override,-dac_read_search,-fowner", "--"};
    }
    command.emplace_back(kProgram);
    RehearsedProgram program(command, surroundings(sound.environment()));
    program.await("the library is there", [&] { return fs::is_directory(program.home().recordings()); });

    ASSERT_EQ(chmod(program.home().recordings().c_str(), S_IRUSR | S_IXUSR), 0);
    EXPECT_THROW(program.startRecording(std::chrono::seconds(3)), RehearsalError);
    EXPECT_THAT(program.recordings(), IsEmpty());

    ASSERT_EQ(chmod(program.home().recordings().c_str(), S_IRWXU), 0);
    const fs::path recording = program.startRecording();
    program.waitUntilCapturing(recording);
    program.stopRecording();
    program.waitForDocument(kPatience);
    EXPECT_TRUE(hasEnded(recording));
    program.end();
}

TEST_F(RealProgramTest, OutlivesAFolderThatIsRemovedMeanwhile) {
    const SoundSession sound;
    RehearsedProgram program({kProgram}, surroundings(sound.environment()));
    const fs::path lost = program.startRecording();
    program.waitUntilCapturing(lost);
    fs::remove_all(lost);
    program.stopRecording();

    const fs::path recording = program.startRecording();
    program.waitUntilCapturing(recording);
    program.stopRecording();
    program.waitForDocument(kPatience);
    EXPECT_TRUE(hasEnded(recording));
    EXPECT_GT(seconds(recording / "mic.wav"), 1);
    program.end();
}

/// A recording that is going to be killed.
struct Victim {
    RehearsedProgram program;
    fs::path recording;
    Clock::time_point began; ///< samples were in the microphone's file
    Clock::duration length;  ///< from then to the kill

    explicit Victim(const EnvironmentChanges& surroundings) : program({kProgram}, surroundings) {}
};

/// Seconds of the recording that are not in a track's file.
double lost(const Victim& victim, const fs::path& track, double start) {
    return std::chrono::duration<double>(victim.length).count() - start - seconds(victim.recording / track);
}

TEST_F(RealProgramTest, LosesAtMostTwoSecondsWhenItIsKilled) {
    constexpr std::size_t kRounds = 4;
    constexpr int kVictimsPerRound = 5;
    constexpr double kMostLost = 2;
    const unsigned int seed = std::random_device()();
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> moment(3, 6);

    const SoundSession sound;
    sound.enter();
    ConversationPlayer player(noise(kRounds * 20), SoundSession::kOutput, SoundSession::kMicrophone);
    player.play();

    for (std::size_t round = 0; round < kRounds; ++round) {
        std::list<Victim> victims;
        for (int count = 0; count < kVictimsPerRound; ++count) {
            victims.emplace_back(surroundings(sound.environment()));
        }
        for (Victim& victim : victims) {
            victim.recording = victim.program.startRecording();
            victim.program.await("samples are written",
                                 [&] { return exceeds(victim.recording / "mic.wav", kHeaderBytes); });
            victim.began = Clock::now();
            victim.length = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(moment(random)));
        }
        victims.sort(
            [](const Victim& one, const Victim& other) { return one.began + one.length < other.began + other.length; });
        for (Victim& victim : victims) {
            std::this_thread::sleep_until(victim.began + victim.length);
            victim.length = Clock::now() - victim.began;
            victim.program.kill();
        }
        for (const Victim& victim : victims) {
            for (const auto& file : fs::directory_iterator(victim.recording)) {
                if (file.path().extension() == ".json") {
                    EXPECT_NO_THROW(readJson(file.path())) << file.path();
                }
            }
            const nlohmann::json timeline = readJson(victim.recording / "timeline.json");
            const double shift = timeline.value("speaker", 0.0) - timeline.value("mic", 0.0);
            const double lostOfMicrophone = lost(victim, "mic.wav", 0);
            const double lostOfOutput = lost(victim, "speaker.m4a", shift);
            std::cout << "killed after " << std::chrono::duration<double>(victim.length).count() << " s: lost "
                      << lostOfMicrophone << " s of mic.wav, " << lostOfOutput << " s of speaker.m4a\n";
            EXPECT_LE(lostOfMicrophone, kMostLost);
            EXPECT_LE(lostOfOutput, kMostLost);
        }
    }
}

} // namespace
} // namespace talkledger::rehearsal
