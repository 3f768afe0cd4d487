#pragma once

#include "TalkledgerCore/Model/Models.h"

#include <optional>
#include <string>
#include <string_view>

/// Dates as text.
namespace talkledger {

/// An internet date-time in UTC without fractions of a second, such as 2026-11-15T09:30:00Z.
std::string formatIso8601(Date date);

/// The same with every ":" as "-", for names of files and folders.
std::string formatIso8601ForFileName(Date date);

/// An internet date-time without fractions of a second, with "Z" or an offset like "+09:00"; absent for anything else
/// and for dates that `Date` cannot hold (about the years 1678 to 2261).
std::optional<Date> parseIso8601(std::string_view text);

/// Local time as "yyyy-MM-dd HH:mm:ss".
std::string formatLocalDateTime(Date date);

} // namespace talkledger
