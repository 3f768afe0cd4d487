#pragma once

#include "TalkledgerCore/Ports/ModelFiles.h"
#include "TalkledgerCore/Presentation/AppLanguage.h"

#include <cstdint>
#include <string>

/// What the screens say of model files.
namespace talkledger {

/// Like "149 MB" or "1.1 GB".
std::string modelFileSize(std::int64_t bytes);

/// Like "85 / 149 MB", in the unit of the whole.
std::string modelFileProgress(std::int64_t received, std::int64_t total);

std::string modelFileText(const ModelFileText& text, const AppCopy& copy);

/// What happened, and what to do.
std::string modelFileFailure(const ModelFileError& error, const AppCopy& copy);

} // namespace talkledger
