#include "TalkledgerCore/Presentation/RecordingDisplayMetadataBuilder.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

using std::chrono::seconds;

TEST(RecordingDisplayMetadataBuilder, CountsWholeSecondsUpToTheEndOrUntilNow) {
    RecordingSession session;
    session.startedAt = Date(seconds(1'000'000));
    const auto built = [&](Date now) { return RecordingDisplayMetadataBuilder().build(session, now); };
    const auto running = [](const char* duration) {
        return RecordingDisplayMetadata{.duration = duration, .status = RecordingDisplayStatus::recording};
    };
    EXPECT_EQ(built(session.startedAt + seconds(65)), running("01:05"));
    EXPECT_EQ(built(session.startedAt - seconds(90)), running("00:00"));
    session.startedAt += std::chrono::microseconds(100);
    EXPECT_EQ(built(Date(seconds(1'000'001))), running("00:00"));
    EXPECT_EQ(built(Date(seconds(1'000'001)) + std::chrono::microseconds(100)), running("00:01"));
    session.endedAt = session.startedAt + seconds(75 * 60 + 3);
    EXPECT_EQ(built(session.startedAt + seconds(9)),
              (RecordingDisplayMetadata{.duration = "75:03", .status = RecordingDisplayStatus::transcribed}));
    session.startedAt = Date::min();
    session.endedAt = Date::max();
    EXPECT_EQ(built(session.startedAt).duration, "307445734:33") << "dates of a file may be centuries apart";
}

} // namespace
} // namespace talkledger
