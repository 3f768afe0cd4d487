#include "TalkledgerCore/Support/Dates.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace talkledger {

namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;

/// Takes a text apart from its beginning; after a mismatch nothing matches any more.
class FieldParser {
public:
    explicit FieldParser(std::string_view text) : rest_(text) {}

    int digits(std::size_t count) {
        int value = 0;
        for (std::size_t index = 0; index < count; ++index) {
            if (rest_.empty() || rest_.front() < '0' || rest_.front() > '9') {
                failed_ = true;
                return 0;
            }
            value = value * 10 + (rest_.front() - '0');
            rest_.remove_prefix(1);
        }
        return value;
    }

    /// Whether the next character is one of `choices`, and which.
    char oneOf(std::string_view choices) {
        if (rest_.empty() || choices.find(rest_.front()) == std::string_view::npos) {
            failed_ = true;
            return '\0';
        }
        const char found = rest_.front();
        rest_.remove_prefix(1);
        return found;
    }

    bool endedWell() const { return !failed_ && rest_.empty(); }

private:
    std::string_view rest_;
    bool failed_{false};
};

} // namespace

std::string formatIso8601(Date date) {
    const auto whole = std::chrono::floor<seconds>(date);
    const auto day = std::chrono::floor<days>(whole);
    const std::chrono::year_month_day calendar(day);
    const std::chrono::hh_mm_ss time(whole - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(calendar.year()),
                  static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

std::string formatIso8601ForFileName(Date date) {
    std::string text = formatIso8601(date);
    std::replace(text.begin(), text.end(), ':', '-');
    return text;
}

std::optional<Date> parseIso8601(std::string_view text) {
    FieldParser fields(text);
    const std::chrono::year year(fields.digits(4));
    fields.oneOf("-");
    const std::chrono::month month(static_cast<unsigned>(fields.digits(2)));
    fields.oneOf("-");
    const std::chrono::day day(static_cast<unsigned>(fields.digits(2)));
    fields.oneOf("T");
    const hours hour(fields.digits(2));
    fields.oneOf(":");
    const minutes minute(fields.digits(2));
    fields.oneOf(":");
    const seconds second(fields.digits(2));
    const char zone = fields.oneOf("Z+-");
    hours offsetHour{0};
    minutes offsetMinute{0};
    if (zone != 'Z') {
        offsetHour = hours(fields.digits(2));
        fields.oneOf(":");
        offsetMinute = minutes(fields.digits(2));
    }
    const std::chrono::year_month_day calendar(year, month, day);
    if (!fields.endedWell() || !calendar.ok() || hour >= hours(24) || minute >= minutes(60) || second >= seconds(60) ||
        offsetHour >= hours(24) || offsetMinute >= minutes(60)) {
        return std::nullopt;
    }
    const minutes offset = zone == '-' ? -(offsetHour + offsetMinute) : offsetHour + offsetMinute;
    const sys_seconds utc = sys_days(calendar) + hour + minute + second - offset;
    if (utc < std::chrono::ceil<seconds>(Date::min()) || utc > std::chrono::floor<seconds>(Date::max())) {
        return std::nullopt;
    }
    return Date(utc);
}

std::string formatLocalDateTime(Date date) {
    const std::time_t time = std::chrono::system_clock::to_time_t(std::chrono::floor<seconds>(date));
    std::tm local{};
    localtime_r(&time, &local);
    char text[64];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local)};
}

} // namespace talkledger
