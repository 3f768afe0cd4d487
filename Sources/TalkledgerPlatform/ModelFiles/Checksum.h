#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace talkledger {

enum class ChecksumKind { sha1, sha256 };

/// Of the whole file, in hexadecimal digits; empty when it cannot be read, or as soon as it is no longer wanted.
/// Blocks; any thread.
std::string checksum(const std::filesystem::path& file, ChecksumKind kind, const std::function<bool()>& isWanted);

} // namespace talkledger
