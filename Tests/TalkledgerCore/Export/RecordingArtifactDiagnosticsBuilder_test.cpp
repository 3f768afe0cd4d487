#include "Fakes/FakeAudioFiles.h"
#include "Support/RunTask.h"
#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Export/RecordingArtifactDiagnosticsBuilder.h"
#include "TalkledgerCore/Export/RecordingArtifactStatusBuilder.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <limits>

namespace talkledger {
namespace {

using ::testing::ElementsAre;

class RecordingArtifactDiagnosticsBuilderTest : public ::testing::Test {
protected:
    RecordingArtifactDiagnostic measured(const std::filesystem::path& path) {
        return testing::runTask(builder.buildDiagnostic(AudioChannel::speaker, path));
    }

    testing::TemporaryFolder folder;
    PosixFileSystem fileSystem;
    testing::CallLog log;
    testing::FakeAudioFiles files{log};
    RecordingArtifactDiagnosticsBuilder builder{fileSystem, files};
    std::filesystem::path file = folder.path() / "speaker.m4a";
};

TEST_F(RecordingArtifactDiagnosticsBuilderTest, MeasuresMissingEmptyAndPlayableFiles) {
    files.durations[file] = 2.5;
    EXPECT_EQ(measured(file),
              (RecordingArtifactDiagnostic{AudioChannel::speaker, "speaker.m4a", false, 0, std::nullopt, true}));
    fileSystem.createEmptyFile(file);
    EXPECT_EQ(measured(file),
              (RecordingArtifactDiagnostic{AudioChannel::speaker, "speaker.m4a", true, 0, std::nullopt, true}));
    fileSystem.writeFileAtomically(file, "sound");
    EXPECT_EQ(measured(file), (RecordingArtifactDiagnostic{AudioChannel::speaker, "speaker.m4a", true, 5, 2.5, false}));
}

TEST_F(RecordingArtifactDiagnosticsBuilderTest, KeepsADurationOnlyIfItIsOne) {
    fileSystem.writeFileAtomically(file, "sound");
    for (const double seconds :
         {0.0, -1.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        files.durations[file] = seconds;
        EXPECT_FALSE(measured(file).durationSeconds) << seconds;
    }
    files.durationFailure = "broken";
    EXPECT_FALSE(measured(file).durationSeconds);
    EXPECT_FALSE(measured(file).isEmpty);
}

TEST_F(RecordingArtifactDiagnosticsBuilderTest, MeasuresTheMicrophoneFirst) {
    RecordingSession session;
    session.artifacts.micAudio = folder.path() / "mic.wav";
    session.artifacts.speakerAudio = file;
    fileSystem.createEmptyFile(file);
    const auto diagnostics = testing::runTask(builder.build(session));
    ASSERT_EQ(diagnostics.size(), 2U);
    EXPECT_EQ(diagnostics[0].fileName, "mic.wav");
    EXPECT_EQ(diagnostics[1].channel, AudioChannel::speaker);
    EXPECT_TRUE(diagnostics[1].exists);

    const RecordingArtifactStatusBuilder statusBuilder(fileSystem);
    session.artifacts.summary = file;
    const auto statuses = statusBuilder.build(session);
    ASSERT_EQ(statuses.size(), 4U);
    EXPECT_EQ(statuses[3], (RecordingArtifactStatus{RecordingArtifactKind::summary, file, true}));
    EXPECT_FALSE(statuses[0].exists);
    EXPECT_THAT(statusBuilder.buildCaptureTrackStatuses(session), ElementsAre(statuses[0], statuses[1]));
}

TEST(RecordingDiagnostics, WritesAndReadsItsForm) {
    const auto decoded = [](const Json& json) {
        return decodeJson<RecordingDiagnostics>(encodeJson(json), {.name = "The test's text", .advice = ""});
    };
    const RecordingDiagnostics diagnostics{
        .microphoneStarted = true,
        .systemAudioStarted = false,
        .messages = {"m"},
        .artifacts = {{AudioChannel::mic, "mic.wav", true, std::int64_t{5} << 30, 1.25, false}, {}}};
    Json json = toJson(diagnostics);
    EXPECT_EQ(decoded(json), diagnostics);
    EXPECT_FALSE(json["artifacts"][1].contains("durationSeconds"));

    for (const char* key : {"channel", "fileName", "exists", "byteCount", "isEmpty"}) {
        Json changed = json;
        changed["artifacts"][0].erase(key);
        EXPECT_THROW(decoded(changed), JsonError) << key;
    }
    for (const char* key : {"microphoneStarted", "systemAudioStarted", "messages"}) {
        Json changed = json;
        changed.erase(key);
        EXPECT_THROW(decoded(changed), JsonError) << key;
    }
    json.erase("artifacts");
    EXPECT_TRUE(decoded(json).artifacts.empty());
}

} // namespace
} // namespace talkledger
