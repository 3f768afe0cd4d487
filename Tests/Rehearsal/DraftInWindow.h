#pragma once

#include "Rehearsal/RehearsedProgram.h"
#include "TalkledgerCore/Model/Models.h"

#include <filesystem>

namespace talkledger::rehearsal {

/// Has the program's window draft the summary of its latest recording from key phrases, sees that the list shows the
/// title that follows from the summary before and after, and saves the Markdown document anew; returns the draft.
/// Whatever it presses, it finds as a screen reader does. Throws RehearsalError when something does not come about, or
/// when the draft holds what was not said or is not in the document.
SalesSummary draftInWindow(RehearsedProgram& program, const std::filesystem::path& recording);

} // namespace talkledger::rehearsal
