#pragma once

#include "TalkledgerCore/Ports/ModelFiles.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// How the files in a folder of models are told apart: speech models are named "ggml-*.bin", those that find voices
/// "ggml-silero-*.bin", language models "*.gguf". Any thread.
namespace talkledger {

std::optional<ModelFileKind> modelFileKind(const std::string& name);

/// The regular files that go by such a name, the one first that was installed or preferred last: it is used. Never
/// fails: what cannot be read is not there.
std::vector<std::filesystem::path> modelFilesIn(const std::filesystem::path& folder, ModelFileKind kind);

} // namespace talkledger
