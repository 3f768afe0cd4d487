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
    EXPECT_EQ(RecordingSelection::resolve(gone, {}), std::nullopt);
    EXPECT_EQ(RecordingSelection::select(sessions[2].id, sessions), sessions[2].id);
    EXPECT_EQ(RecordingSelection::select(gone, sessions), sessions[0].id);
    EXPECT_EQ(RecordingSelection::select(gone, {}), std::nullopt);
}

TEST(RecordingSelection, PrefersTheRecordingInProgress) {
    const std::vector<RecordingSession> sessions{session("first"), session("second")};
    const auto gone = session("gone").id;
    using Selection = RecordingSelection;
    EXPECT_EQ(Selection::preferredSelectionID(sessions[1].id, sessions[0].id, sessions), sessions[0].id);
    EXPECT_EQ(Selection::preferredSelectionID(sessions[1].id, gone, sessions), sessions[1].id);
    EXPECT_EQ(Selection::preferredSelectionID(gone, gone, sessions), sessions[0].id);
}

} // namespace
} // namespace talkledger
