#pragma once

#include <boost/uuid/uuid.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace talkledger {

boost::uuids::uuid randomUuid();

/// 36 characters, upper-case hexadecimal with hyphens.
std::string uuidText(const boost::uuids::uuid& uuid);

/// Takes lower case too; absent for any other form.
std::optional<boost::uuids::uuid> parseUuid(std::string_view text);

} // namespace talkledger
