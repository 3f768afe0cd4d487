#include "TalkledgerCore/Presentation/RecordingSelection.h"

#include <algorithm>

namespace talkledger {

namespace {

using ID = RecordingSelection::ID;

bool isListed(const std::optional<ID>& id, const std::vector<RecordingSession>& sessions) {
    return id && std::any_of(sessions.begin(), sessions.end(), [&](const auto& session) { return session.id == *id; });
}

std::optional<ID> firstID(const std::vector<RecordingSession>& sessions) {
    return sessions.empty() ? std::nullopt : std::optional(sessions.front().id);
}

} // namespace

std::optional<RecordingSession> RecordingSelection::resolve(const std::optional<ID>& selectedID,
                                                            const std::vector<RecordingSession>& sessions) {
    for (const RecordingSession& session : sessions) {
        if (selectedID == session.id) {
            return session;
        }
    }
    return sessions.empty() ? std::nullopt : std::optional(sessions.front());
}

std::optional<ID> RecordingSelection::select(const ID& clickedID, const std::vector<RecordingSession>& sessions) {
    return isListed(clickedID, sessions) ? clickedID : firstID(sessions);
}

std::optional<ID> RecordingSelection::preferredSelectionID(const std::optional<ID>& selectedID,
                                                           const std::optional<ID>& activeSessionID,
                                                           const std::vector<RecordingSession>& sessions) {
    if (isListed(activeSessionID, sessions)) {
        return activeSessionID;
    }
    return isListed(selectedID, sessions) ? selectedID : firstID(sessions);
}

} // namespace talkledger
