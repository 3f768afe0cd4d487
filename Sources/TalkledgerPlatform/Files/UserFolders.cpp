#include "TalkledgerPlatform/Files/UserFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace talkledger {

namespace {

/// Relative values are not valid.
std::optional<std::filesystem::path> absolutePathFromEnvironment(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): the header tells when
    if (value == nullptr || *value != '/') {
        return std::nullopt;
    }
    return value;
}

std::filesystem::path homeOfAccount() {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr && *found->pw_dir == '/') {
        return found->pw_dir;
    }
    return "/";
}

/// The inside of a double-quoted shell word, whose backslashes protect the next character; absent if it does not end.
std::optional<std::string> unquoted(std::string_view text) {
    std::string value;
    for (std::size_t position = 0; position < text.size(); ++position) {
        if (text[position] == '"') {
            return value;
        }
        if (text[position] == '\\' && ++position == text.size()) {
            break;
        }
        value += text[position];
    }
    return std::nullopt;
}

std::string_view withoutLeadingBlanks(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    return begin == std::string_view::npos ? "" : text.substr(begin);
}

/// The folder that a line like `XDG_DOCUMENTS_DIR="$HOME/Documents"` names.
std::optional<std::filesystem::path> documentsOfLine(std::string_view line, const std::filesystem::path& home) {
    constexpr std::string_view key = "XDG_DOCUMENTS_DIR";
    constexpr std::string_view homeReference = "$HOME";
    line = withoutLeadingBlanks(line);
    if (!line.starts_with(key)) {
        return std::nullopt;
    }
    line = withoutLeadingBlanks(line.substr(key.size()));
    if (!line.starts_with('=')) {
        return std::nullopt;
    }
    line = withoutLeadingBlanks(line.substr(1));
    if (!line.starts_with('"')) {
        return std::nullopt;
    }
    const std::optional<std::string> value = unquoted(line.substr(1));
    if (!value || value->find('\0') != std::string::npos) {
        return std::nullopt;
    }
    if (value->starts_with('/')) {
        return *value;
    }
    if (*value == homeReference) {
        return home;
    }
    if (value->starts_with(homeReference) && (*value)[homeReference.size()] == '/') {
        return home / value->substr(homeReference.size() + 1);
    }
    return std::nullopt;
}

} // namespace

std::filesystem::path UserFolders::documents(std::string_view userDirectories) const {
    std::filesystem::path documents = home / "Documents";
    while (!userDirectories.empty()) {
        const std::size_t end = std::min(userDirectories.find('\n'), userDirectories.size() - 1) + 1;
        documents = documentsOfLine(userDirectories.substr(0, end), home).value_or(documents);
        userDirectories.remove_prefix(end);
    }
    return documents;
}

UserFolders UserFolders::fromEnvironment() {
    const std::filesystem::path home = absolutePathFromEnvironment("HOME").value_or(homeOfAccount());
    return {.home = home,
            .dataHome = absolutePathFromEnvironment("XDG_DATA_HOME").value_or(home / ".local" / "share"),
            .configHome = absolutePathFromEnvironment("XDG_CONFIG_HOME").value_or(home / ".config")};
}

} // namespace talkledger
