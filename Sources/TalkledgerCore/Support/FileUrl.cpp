#include "TalkledgerCore/Support/FileUrl.h"

namespace talkledger {

namespace {

constexpr std::string_view scheme = "file://";
constexpr std::string_view hexDigits = "0123456789ABCDEF";

/// What a URL's path takes unescaped.
bool isPathCharacter(char character) {
    constexpr std::string_view others = "-._~/!$&'()*+,=:@";
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || others.find(character) != std::string_view::npos;
}

std::optional<int> hexValue(char character) {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    if (character >= 'A' && character <= 'F') {
        return character - 'A' + 10;
    }
    if (character >= 'a' && character <= 'f') {
        return character - 'a' + 10;
    }
    return std::nullopt;
}

std::optional<std::string> decoded(std::string_view escaped) {
    std::string text;
    text.reserve(escaped.size());
    for (std::size_t position = 0; position < escaped.size(); ++position) {
        char character = escaped[position];
        if (character == '?' || character == '#') {
            return std::nullopt;
        }
        if (character == '%') {
            const auto high = position + 1 < escaped.size() ? hexValue(escaped[position + 1]) : std::nullopt;
            const auto low = position + 2 < escaped.size() ? hexValue(escaped[position + 2]) : std::nullopt;
            if (!high || !low) {
                return std::nullopt;
            }
            character = static_cast<char>(*high * 16 + *low);
            position += 2;
        }
        if (character == '\0') {
            return std::nullopt;
        }
        text += character;
    }
    return text;
}

} // namespace

std::string fileUrl(const std::filesystem::path& path) {
    std::string url(scheme);
    for (const char character : path.native()) {
        if (isPathCharacter(character)) {
            url += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            url += '%';
            url += hexDigits[byte >> 4];
            url += hexDigits[byte & 0xF];
        }
    }
    return url;
}

std::string directoryUrl(const std::filesystem::path& path) {
    std::string url = fileUrl(path);
    if (!url.ends_with('/')) {
        url += '/';
    }
    return url;
}

std::optional<std::filesystem::path> pathFromFileUrl(std::string_view url) {
    constexpr std::string_view localHost = "localhost";
    if (!url.starts_with(scheme)) {
        return std::nullopt;
    }
    url.remove_prefix(scheme.size());
    if (url.starts_with(localHost)) {
        url.remove_prefix(localHost.size());
    }
    if (!url.starts_with('/')) {
        return std::nullopt;
    }
    std::optional<std::string> path = decoded(url);
    while (path && path->size() > 1 && path->ends_with('/')) {
        path->pop_back();
    }
    return path;
}

} // namespace talkledger
