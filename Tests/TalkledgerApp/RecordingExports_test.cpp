#include "TalkledgerApp/WindowFixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace talkledger {
namespace {

class RecordingExportsTest : public testing::WindowFixture {
protected:
    std::ptrdiff_t documentCount() {
        return std::ranges::count_if(std::filesystem::directory_iterator(model().markdownExportFolder()),
                                     [](const auto& entry) { return entry.path().extension() == ".md"; });
    }

    const TranscriptDocument said_{
        {TranscriptSegment(AudioChannel::mic, SpeakerRole::me, 1, 1, "Good morning.", TranscriptSegmentStatus::final)}};
};

TEST_F(RecordingExportsTest, SavesWhatHasATranscriptAndTellsHowMany) {
    for (const char* const title : {"Aoba", "Kitahama", "Minato"}) {
        addFinishedRecording(title, 1'000, said_);
    }
    std::filesystem::remove(addFinishedRecording("Silent", 500, said_).artifacts.transcript);
    show();
    click("exportFolderButton");
    click("saveAllRecordings");
    EXPECT_TRUE(shows("Recordings saved as Markdown: 3"));
    EXPECT_EQ(documentCount(), 3);
    EXPECT_FALSE(model().lastError());
}

TEST_F(RecordingExportsTest, EndsWhereNothingCanBeWritten) {
    addFinishedRecording("Aoba", 1'000, said_);
    addFinishedRecording("Kitahama", 500, said_);
    show();
    const std::filesystem::path folder = model().markdownExportFolder();
    std::filesystem::remove_all(folder);
    std::ofstream(folder) << "no folder";
    click("exportFolderButton");
    click("saveAllRecordings");
    EXPECT_TRUE(shows("Recordings saved as Markdown: 0"));
    EXPECT_TRUE(model().lastError());
}

} // namespace
} // namespace talkledger
