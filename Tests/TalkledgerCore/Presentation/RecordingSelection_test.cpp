#include "TalkledgerCore/Presentation/RecordingSelection.h"

#include <boost/uuid/uuid_generators.hpp>
#include <gtest/gtest.h>

namespace talkledger {
namespace {

RecordingSession session(const std::string& title) {
    RecordingSession session;
    session.id = boost::uuids::random_generator()();
    session.title = title;
    return session;
}

TEST(RecordingSelection, FallsBackToTheFirstRecording) {
    const std::vector<RecordingSession> sessions{session("first"), session("second"), session("third")};
    const auto gone = session("gone").id;
    EXPECT_EQ(RecordingSelection::resolve(sessions[1].id, sessions), sessions[1]);
    EXPECT_EQ(RecordingSelection::resolve(gone, sessions), sessions[0]);
    EXPECT_EQ(RecordingSelection::resolve(std::nullopt, sessions), sessions[0]);
    EXPECT_EQ(RecordingSelection::resolve(gone, {}), std::nullopt);
    EXPECT_EQ(RecordingSelection::select(sessions[2].id, sessions), sessions[2].id);
    EXPECT_EQ(RecordingSelection::select(gone, sessions), sessions[0].id);
    EXPECT_EQ(RecordingSelection::select(gone, {}), std::nullopt);
}

TEST(RecordingSelection, PrefersTheRecordingInProgress) {
    const std::vector<RecordingSession> sessions{session("first"), session("second"), session("third")};
    const auto gone = session("gone").id;
    const auto preferred = [&](const std::optional<RecordingSelection::ID>& selected,
                               const std::optional<RecordingSelection::ID>& active) {
        return RecordingSelection::preferredSelectionID(selected, active, sessions);
    };
    EXPECT_EQ(preferred(sessions[2].id, sessions[1].id), sessions[1].id);
    EXPECT_EQ(preferred(sessions[2].id, gone), sessions[2].id);
    EXPECT_EQ(preferred(sessions[2].id, std::nullopt), sessions[2].id);
    EXPECT_EQ(preferred(gone, gone), sessions[0].id);
    EXPECT_EQ(preferred(std::nullopt, std::nullopt), sessions[0].id);
    EXPECT_EQ(RecordingSelection::preferredSelectionID(gone, gone, {}), std::nullopt);
}

} // namespace
} // namespace talkledger
