#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <boost/uuid/uuid.hpp>

#include <optional>
#include <vector>

namespace talkledger {

/// Which recording of the list is selected. A recording that is not in the list gives way to the first one; an empty
/// list has no selection.
struct RecordingSelection {
    using ID = boost::uuids::uuid;

    static std::optional<RecordingSession> resolve(const std::optional<ID>& selectedID,
                                                   const std::vector<RecordingSession>& sessions);

    static std::optional<ID> select(const ID& clickedID, const std::vector<RecordingSession>& sessions);

    /// The recording in progress comes before what was selected.
    static std::optional<ID> preferredSelectionID(const std::optional<ID>& selectedID,
                                                  const std::optional<ID>& activeSessionID,
                                                  const std::vector<RecordingSession>& sessions);
};

} // namespace talkledger
