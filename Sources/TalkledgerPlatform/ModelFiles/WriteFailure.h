#pragma once

#include "TalkledgerCore/Ports/ModelFiles.h"

namespace talkledger {

/// What the errno value of a failed write means to the user.
ModelFileError writeFailure(int error);

/// Throws that, unless it is 0.
void throwIfWriteFailed(int error);

} // namespace talkledger
