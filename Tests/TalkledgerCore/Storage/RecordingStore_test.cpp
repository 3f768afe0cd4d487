#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Model/ModelsJson.h"
#include "TalkledgerCore/Storage/RecordingStore.h"
#include "TalkledgerCore/Support/FileUrl.h"
#include "TalkledgerCore/Support/Uuid.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <set>

namespace talkledger {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const Date start{std::chrono::seconds(1763199000)};

class RecordingStoreTest : public ::testing::Test {
protected:
    std::string contentOf(const std::filesystem::path& file) { return fileSystem.readFile(file, 1 << 20); }

    void write(const std::filesystem::path& file, const std::string& content) {
        std::filesystem::create_directories(file.parent_path());
        fileSystem.writeFileAtomically(file, content);
    }

    /// Nothing may have been written below here.
    std::vector<std::filesystem::path> filesIn(const std::filesystem::path& directory) {
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
            files.push_back(entry.path());
        }
        return files;
    }

    void expectEveryWriteRefused(const RecordingSession& session) {
        EXPECT_THROW(store.finishSession(session, start), FileSystemError);
        EXPECT_THROW(store.renameSession(session, "new"), FileSystemError);
        EXPECT_THROW(store.saveTranscript({}, session), FileSystemError);
        EXPECT_THROW(store.saveSummary({}, session), FileSystemError);
        EXPECT_THROW(store.saveDiagnostics({}, session), FileSystemError);
    }

    testing::TemporaryFolder folder;
    PosixFileSystem fileSystem;
    std::filesystem::path root = folder.path() / "deep" / "Recordings";
    RecordingStore store{root, fileSystem};
};

TEST_F(RecordingStoreTest, NamesFoldersByStartTitleAndIdentity) {
    const auto id = *parseUuid("1a2b3c4d-0000-0000-0000-000000000000");
    const auto name = [&](std::string_view title) { return RecordingStore::sessionDirectoryName(id, title, start); };
    EXPECT_EQ(name("Weekly Sync #3"), "2025-11-15T09-30-00Z-weekly-sync-3-1A2B3C4D");
    EXPECT_EQ(name(" Q3 予算 review "), "2025-11-15T09-30-00Z-q3-review-1A2B3C4D");
    EXPECT_EQ(name("商談"), "2025-11-15T09-30-00Z-meeting-1A2B3C4D");
    EXPECT_EQ(name("../../\xFF É\u212A"), "2025-11-15T09-30-00Z-k-1A2B3C4D");
}

TEST_F(RecordingStoreTest, CreatesWhatItLoadsAgain) {
    const RecordingSession session = store.createSession(" Q3 予算 review ", start);
    EXPECT_EQ(session.title, " Q3 予算 review ");
    EXPECT_EQ(session.directory.parent_path(), root);
    EXPECT_EQ(session.artifacts.speakerAudio, session.directory / "speaker.m4a");
    EXPECT_THAT(store.loadSessions(), ElementsAre(session));
    EXPECT_THAT(store.loadDiagnostics(session).messages, ElementsAre("Session created."));
    EXPECT_THAT(filesIn(session.directory),
                ::testing::UnorderedElementsAre(session.directory / "session.json", session.artifacts.diagnostics));
    EXPECT_THROW(store.loadTranscript(session), FileSystemError);

    const RecordingSession twin = store.createSession(session.title, start);
    EXPECT_NE(twin.directory, session.directory);
}

TEST_F(RecordingStoreTest, RenamesToTheTrimmedTitleAndNeverToABlankOne) {
    const RecordingSession session = store.createSession("Old", start);
    const std::string before = contentOf(session.directory / "session.json");
    EXPECT_EQ(store.renameSession(session, " \u3000\n"), session);
    EXPECT_EQ(contentOf(session.directory / "session.json"), before);

    const RecordingSession renamed = store.renameSession(session, "\u3000新しい 名前 ");
    EXPECT_EQ(renamed.title, "新しい 名前");
    EXPECT_EQ(renamed.directory, session.directory);
    EXPECT_THAT(store.loadSessions(), ElementsAre(renamed));

    const RecordingSession finished = store.finishSession(renamed, start + std::chrono::milliseconds(61900));
    EXPECT_EQ(store.loadSessions().front().endedAt, start + std::chrono::seconds(61));
    EXPECT_EQ(finished.endedAt, start + std::chrono::milliseconds(61900));
}

TEST_F(RecordingStoreTest, ListsRecordingsOldestFirstAndNothingElse) {
    EXPECT_THAT(store.loadSessions(), IsEmpty());
    const RecordingSession later = store.createSession("b", start + std::chrono::seconds(5));
    const RecordingSession earlier = store.createSession("a", start);
    write(root / "loose.txt", "x");
    write(root / ".hidden" / "session.json", "broken");
    std::filesystem::create_directory(root / "empty");
    EXPECT_THAT(store.loadSessions(), ElementsAre(earlier, later));
    std::filesystem::remove_all(root);
    EXPECT_THAT(store.loadSessions(), IsEmpty());
}

TEST_F(RecordingStoreTest, OneBadSessionFileFailsTheListAndIsNamed) {
    store.createSession("good", start);
    const std::filesystem::path bad = root / "bad" / "session.json";
    for (const std::string content : {"{}", "", "{\"id\": 1"}) {
        write(bad, content);
        try {
            store.loadSessions();
            ADD_FAILURE() << content;
        } catch (const JsonError& error) {
            EXPECT_THAT(error.what(), HasSubstr(bad.string()));
        }
    }
}

TEST_F(RecordingStoreTest, ARecordingIsWhereItWasFound) {
    RecordingSession session = store.createSession("Moved", start);
    const std::filesystem::path moved = root / "renamed by hand";
    std::filesystem::rename(session.directory, moved);
    const RecordingSession found = store.loadSessions().at(0);
    EXPECT_EQ(found.directory, moved);
    EXPECT_EQ(found.artifacts.micAudio, moved / "mic.wav");
    store.finishSession(found, start);
    EXPECT_EQ(store.loadSessions().at(0).endedAt, start);
}

TEST_F(RecordingStoreTest, LocationsThatLeadElsewhereAreNeverFollowed) {
    const std::filesystem::path outside = folder.path() / "outside";
    std::filesystem::create_directory(outside);
    const RecordingSession session = store.createSession("Hostile", start);
    const RecordingSession other = store.createSession("Other", start + std::chrono::seconds(1));
    const std::filesystem::path file = session.directory / "session.json";
    const std::string otherBefore = contentOf(other.directory / "session.json");
    for (const std::filesystem::path& location :
         {outside / "x.json", session.directory / ".." / "x.json", session.directory / "sub" / "x.json",
          other.directory / "session.json", session.directory, session.directory / "session.json",
          std::filesystem::path("/")}) {
        Json json = toJson(session);
        json["directory"] = directoryUrl(outside);
        for (const char* key : {"micAudio", "speakerAudio", "transcript", "summary", "diagnostics"}) {
            json["artifacts"][key] = fileUrl(location);
        }
        write(file, encodeJson(json));
        const RecordingSession loaded = store.loadSessions().at(0);
        EXPECT_EQ(loaded, session) << location;
        store.saveTranscript({}, loaded);
        store.saveDiagnostics({}, loaded);
        store.renameSession(loaded, "Hostile still");
    }
    EXPECT_THAT(filesIn(outside), IsEmpty());
    EXPECT_EQ(contentOf(other.directory / "session.json"), otherBefore);
}

TEST_F(RecordingStoreTest, WritesNowhereButIntoFoldersOfItsOwn) {
    const std::filesystem::path outside = folder.path() / "outside";
    std::filesystem::create_directory(outside);
    const RecordingSession session = store.createSession("Good", start);
    const auto in = [&](const std::filesystem::path& directory) {
        RecordingSession changed = session;
        changed.directory = directory;
        changed.artifacts = {directory / "mic.wav", directory / "speaker.m4a", directory / "transcript.json",
                             directory / "summary.json", directory / "diagnostics.json"};
        return changed;
    };
    std::filesystem::create_directory_symlink(outside, root / "link");
    std::filesystem::create_directory(session.directory / "sub");
    for (const std::filesystem::path& directory :
         {outside, root, root / "link", session.directory / "sub", root / "x" / ".." / ".." / "outside", root / "..",
          root / ".", std::filesystem::path("outside"), std::filesystem::path()}) {
        SCOPED_TRACE(directory);
        expectEveryWriteRefused(in(directory));
    }
    for (const char* name : {"../x.json", "sub/x.json", "/etc/x.json", "..", ".", ""}) {
        RecordingSession changed = session;
        changed.artifacts.transcript = session.directory / name;
        EXPECT_THROW(store.saveTranscript({}, changed), FileSystemError) << name;
    }
    EXPECT_THAT(filesIn(outside), IsEmpty());

    // A link in a file's place is replaced, not written through.
    std::ofstream(outside / "precious") << "precious";
    std::filesystem::create_symlink(outside / "precious", session.artifacts.transcript);
    store.saveTranscript({}, session);
    EXPECT_EQ(contentOf(outside / "precious"), "precious");
    EXPECT_FALSE(std::filesystem::is_symlink(session.artifacts.transcript));
}

TEST_F(RecordingStoreTest, AFailedWriteLeavesTheFileAsItWas) {
    const RecordingSession session = store.createSession("Good", start);
    const TranscriptDocument unwritable{{{AudioChannel::mic, SpeakerRole::me, std::numeric_limits<double>::quiet_NaN(),
                                          0, "a", TranscriptSegmentStatus::final}}};
    store.saveTranscript({}, session);
    EXPECT_THROW(store.saveTranscript(unwritable, session), JsonError);
    EXPECT_EQ(store.loadTranscript(session), TranscriptDocument());
}

TEST_F(RecordingStoreTest, FailsWhereItsRootCannotBe) {
    write(folder.path() / "file", "x");
    EXPECT_THROW(RecordingStore(folder.path() / "file" / "Recordings", fileSystem), FileSystemError);
    std::filesystem::remove_all(root);
    write(root, "a file in the root's place");
    EXPECT_THROW(store.createSession("x", start), FileSystemError);
    EXPECT_THROW(store.loadSessions(), FileSystemError);
}

} // namespace
} // namespace talkledger
