#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// File locations as absolute file:// URLs, the form they have in JSON.
namespace talkledger {

/// `path` has to be absolute. A folder's URL ends with a slash.
std::string fileUrl(const std::filesystem::path& path);
std::string directoryUrl(const std::filesystem::path& path);

/// The path, without a slash at its end. Absent unless the text is a file URL of this machine with an absolute path:
/// other schemes and hosts, bad escapes, a query and NUL are refused.
std::optional<std::filesystem::path> pathFromFileUrl(std::string_view url);

} // namespace talkledger
