#include "Support/TemporaryFolder.h"
#include "TalkledgerCore/Capture/LiveTranscriptKeeper.h"
#include "TalkledgerPlatform/Files/PosixFileSystem.h"

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

namespace talkledger {
namespace {

using namespace std::chrono_literals;

class LiveTranscriptKeeperTest : public ::testing::Test {
protected:
    LiveTranscriptKeeperTest() {
        keeper_.begin(session_, [this] { return said_; });
    }

    void say(const std::string& text) {
        said_.segments.emplace_back(AudioChannel::mic, SpeakerRole::me, 1, 2, text, TranscriptSegmentStatus::partial);
        keeper_.noteChange();
    }

    testing::TemporaryFolder folder_;
    PosixFileSystem fileSystem_;
    RecordingStore store_{folder_.path() / "Recordings", fileSystem_};
    RecordingSession session_ = store_.createSession("Call", Date(1'800'000'000s));
    boost::asio::io_context context_;
    TranscriptDocument said_;
    LiveTranscriptKeeper keeper_{store_, context_.get_executor(), context_.get_executor(),
                                 LiveTranscriptKeeper::Interval(0.01)};
};

TEST_F(LiveTranscriptKeeperTest, KeepsWhatIsSaidAsItGrows) {
    context_.run();
    EXPECT_FALSE(fileSystem_.fileExists(RecordingStore::liveTranscriptFile(session_))) << "nothing has been said";
    for (const char* const text : {"Good morning.", "What would it cost?"}) {
        say(text);
        context_.restart();
        context_.run();
        EXPECT_EQ(store_.loadLiveTranscript(session_), said_);
    }
}

TEST_F(LiveTranscriptKeeperTest, WritesAtTheEndWhatIsNotWrittenYet) {
    say("Good morning.");
    keeper_.end();
    const TranscriptDocument kept = said_;
    said_ = {}; // the next recording's
    context_.run();
    EXPECT_EQ(store_.loadLiveTranscript(session_), kept);
}

TEST_F(LiveTranscriptKeeperTest, OutlivesADiskThatTakesNothing) {
    std::filesystem::rename(session_.directory, folder_ / "elsewhere");
    say("Good morning.");
    context_.run();
    std::filesystem::rename(folder_ / "elsewhere", session_.directory);
    say("What would it cost?");
    context_.restart();
    context_.run();
    EXPECT_EQ(store_.loadLiveTranscript(session_), said_);
}

} // namespace
} // namespace talkledger
