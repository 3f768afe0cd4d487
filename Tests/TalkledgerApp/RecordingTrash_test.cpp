#include "TalkledgerApp/WindowFixture.h"

namespace talkledger {
namespace {

using ::testing::ElementsAre;

class RecordingTrashTest : public testing::WindowFixture {};

TEST_F(RecordingTrashTest, MovesARecordingAwayAndTakesItBack) {
    addFinishedRecording("Aoba", 2'000, {});
    addFinishedRecording("Kitahama", 1'000, {});
    show();
    EXPECT_THAT(textsOf("recordingTitle"), ElementsAre("Aoba"));
    item("recordingList")->forceActiveFocus();
    press(Qt::Key_Delete);
    EXPECT_TRUE(shows("\"Aoba\" was moved to the trash"));
    EXPECT_THAT(textsOf("recordingTitle"), ElementsAre("Kitahama"));
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(model().sessions().size(), 2U);
    EXPECT_FALSE(isShown("trashNotice"));
    EXPECT_THAT(textsOf("recordingTitle"), ElementsAre("Aoba"));
    desktop_.failure = "The disk is read-only.";
    click("moreButton");
    click("deleteRecording");
    EXPECT_TRUE(shows("The disk is read-only."));
    EXPECT_EQ(model().sessions().size(), 2U);
    EXPECT_FALSE(isShown("trashNotice"));
}

TEST_F(RecordingTrashTest, LeavesARecordingAloneThatIsInProgressOrWorkedOn) {
    addFinishedRecording("Aoba", 2'000, {});
    show();
    speech_.results.close();
    click("moreButton");
    click("transcribeAgain");
    item("recordingList")->forceActiveFocus();
    press(Qt::Key_Delete);
    EXPECT_EQ(model().sessions().size(), 1U);
    speech_.results.open();
    waitUntil([this] { return revisions_->work() == RecordingRevisions::Work::none; });
    record();
    item("recordingList")->forceActiveFocus();
    press(Qt::Key_Delete);
    EXPECT_EQ(model().sessions().size(), 2U);
}

/// A folder in the home folder, which is where the desktop's trash lies.
TEST(QtDesktopTrash, TakesAFolderBackFromTheDesktopsTrash) {
    const testing::TemporaryFolder home;
    qputenv("XDG_DATA_HOME", (home.path() / "data").c_str());
    const std::filesystem::path folder = home.path() / "recording";
    std::filesystem::create_directories(folder / "inner");
    std::filesystem::create_directories(home.path() / "data");
    QtDesktop desktop;
    const std::filesystem::path trashed = desktop.moveToTrash(folder);
    EXPECT_FALSE(std::filesystem::exists(folder));
    EXPECT_TRUE(std::filesystem::exists(trashed / "inner"));
    const std::filesystem::path origin =
        trashed.parent_path().parent_path() / "info" / (trashed.filename().string() + ".trashinfo");
    EXPECT_TRUE(std::filesystem::exists(origin));
    desktop.restoreFromTrash(trashed, folder);
    EXPECT_TRUE(std::filesystem::exists(folder / "inner"));
    EXPECT_FALSE(std::filesystem::exists(origin));
    EXPECT_THROW(desktop.restoreFromTrash(trashed, folder), DesktopError);
    EXPECT_THROW(desktop.moveToTrash(home.path() / "none"), DesktopError);
    qunsetenv("XDG_DATA_HOME");
}

} // namespace
} // namespace talkledger
