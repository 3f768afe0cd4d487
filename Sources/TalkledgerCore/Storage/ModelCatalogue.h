#pragma once

#include "TalkledgerCore/Ports/ModelFiles.h"
#include "TalkledgerCore/Support/Json.h"

#include <string_view>
#include <vector>

namespace talkledger {

/// The model files that the program knows, in the order in which they are shown. Throws `JsonError` for a list that
/// cannot be trusted: a name that is no plain file name, an address that is not https, a checksum that is none.
std::vector<KnownModelFile> readModelCatalogue(std::string_view json, JsonSource source);

} // namespace talkledger
