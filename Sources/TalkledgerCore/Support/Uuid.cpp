#include "TalkledgerCore/Support/Uuid.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <stdexcept>

namespace talkledger {

boost::uuids::uuid randomUuid() {
    return boost::uuids::random_generator()();
}

std::string uuidText(const boost::uuids::uuid& uuid) {
    std::string text = boost::uuids::to_string(uuid);
    std::transform(text.begin(), text.end(), text.begin(), [](char digit) {
        return digit >= 'a' && digit <= 'f' ? static_cast<char>(digit - 'a' + 'A') : digit;
    });
    return text;
}

std::optional<boost::uuids::uuid> parseUuid(std::string_view text) {
    constexpr std::size_t canonicalLength = 36; // the generator below takes braces and a form without hyphens as well
    if (text.size() != canonicalLength || text[8] != '-') {
        return std::nullopt;
    }
    try {
        return boost::uuids::string_generator()(text.begin(), text.end());
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

} // namespace talkledger
