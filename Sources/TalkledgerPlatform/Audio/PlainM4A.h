#pragma once

#include <filesystem>

namespace talkledger {

/// Rewrites a fragmented M4A file, also one that a kill cut off, as a plain one with its index in front: the packets
/// are copied, the result replaces the file atomically. False, and the file is as it was, when that does not succeed.
/// Blocks for about 0.4 ms per second of sound; any thread.
bool rewriteAsPlainM4A(const std::filesystem::path& path) noexcept;

} // namespace talkledger
