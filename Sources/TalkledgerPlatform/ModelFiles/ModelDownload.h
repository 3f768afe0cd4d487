#pragma once

#include "TalkledgerCore/Ports/ModelFiles.h"

#include <filesystem>

namespace talkledger {

/// Behind the name of a file of which the end is missing.
inline constexpr const char* partialSuffix = ".part";

/// Which hosts are asked: any by https, or, for tests, this machine alone by plain http.
enum class DownloadHosts { secure, loopback };

/// Fetches `file` into `folder` and gives it its name there once its size and checksum are verified. What arrives is
/// kept beside it until then, so that a later call goes on where this one ended. Blocks; any thread, one to a file.
/// Throws `ModelFileError`.
void downloadModelFile(const KnownModelFile& file, const std::filesystem::path& folder, ModelFileProgress& progress,
                       DownloadHosts hosts);

} // namespace talkledger
