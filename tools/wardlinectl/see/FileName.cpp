#include "see/FileName.h"

#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <wardline/Timestamp.h>

#include <algorithm>
#include <charconv>

namespace {

constexpr std::string_view kPrefix = ".train_stabevent_1.00_";
constexpr size_t kMonthToMinuteDigits = 8;
constexpr size_t kDatetimeDigits = 12;  // More after the year 9999.
constexpr int64_t kMinuteMs = 60'000;

bool isNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

int64_t numberOf(std::string_view digits) {
    return strtoll(std::string(digits).c_str(), nullptr, 10);
}

/** Takes the last "_" and what is after it off a text. */
std::string_view takeLast(std::string_view* text) {
    const size_t separator = text->rfind('_');
    if (separator == std::string_view::npos) return {};
    const std::string_view last = text->substr(separator + 1);
    text->remove_suffix(last.size() + 1);
    return last;
}

/** Minutes from the epoch to a date and time, as if it were in UTC. */
int64_t minutesOf(std::string_view datetime) {
    const size_t yearDigits = datetime.size() - kMonthToMinuteDigits;
    const auto two = [&](size_t i) {
        return static_cast<int>(numberOf(datetime.substr(yearDigits + i, 2)));
    };
    tm parts = {};
    parts.tm_year = static_cast<int>(numberOf(datetime.substr(0, yearDigits)) - 1900);
    parts.tm_mon = two(0) - 1;
    parts.tm_mday = two(2);
    parts.tm_hour = two(4);
    parts.tm_min = two(6);
    return timegm(&parts) / 60;
}

std::string offsetText(int64_t minutes) {
    char text[32];
    snprintf(text, sizeof(text), "UTC%c%02lld:%02lld", minutes < 0 ? '-' : '+', llabs(minutes) / 60,
             llabs(minutes) % 60);
    return text;
}

constexpr int64_t kAnyTimeZone = 960;

/** Time zones are whole quarters of an hour, and less than 16 hours ahead or behind. */
bool isTimeZone(int64_t minutes) {
    return minutes % 15 == 0 && llabs(minutes) < kAnyTimeZone;
}

}  // namespace

std::optional<std::string_view> findEventFileName(std::string_view path) {
    const size_t found = path.rfind(kPrefix);
    if (found == std::string_view::npos || (found > 0 && path[found - 1] != '/')) return {};
    return path.substr(found);
}

std::optional<EventFileName> parseEventFileName(std::string_view name) {
    if (!name.starts_with(kPrefix)) return {};
    name.remove_prefix(kPrefix.size());
    const std::string_view timestamp = takeLast(&name);
    const std::string_view datetime = takeLast(&name);
    EventFileName parts;
    const auto read =
        std::from_chars(timestamp.data(), timestamp.data() + timestamp.size(), parts.timestampMs);
    const bool isWhole = isNumber(timestamp) && read.ec == std::errc() && isNumber(datetime) &&
                         datetime.size() >= kDatetimeDigits && datetime.size() < 18;
    const auto separators = std::ranges::count(name, '_');
    if (!isWhole || separators == 0) return {};
    parts.datetime = datetime;
    if (separators == 1) parts.trainStartTime = takeLast(&name);
    parts.otaVersion = name;
    return parts;
}

int64_t utcOffsetMinutes(const EventFileName& name) {
    return minutesOf(name.datetime) - static_cast<int64_t>(name.timestampMs / kMinuteMs);
}

void showEventFileName(const EventFileName& name, RecordWriter& writer) {
    if (name.trainStartTime) {
        writer.text("ota_version", name.otaVersion, name.otaVersion == "-" ? " (unset)" : "");
        const bool isUnset = *name.trainStartTime == "--";
        writer.text("train_start", *name.trainStartTime, isUnset ? " (unset)" : "");
    } else {
        writer.text("ota_and_train", name.otaVersion);
    }
    const int64_t offset = utcOffsetMinutes(name);
    const std::string remark = " (" + offsetText(offset) + ')';
    writer.text("datetime", name.datetime, isTimeZone(offset) ? remark.c_str() : "");
    writer.time("name_time_ms", name.timestampMs);
}

std::optional<std::string> findNameProblem(const EventFileName& name,
                                           std::optional<uint64_t> contentTimeMs) {
    const bool isHere = android::millisecondsToDatetime(name.timestampMs) == name.datetime;
    if (!isHere && !isTimeZone(utcOffsetMinutes(name)))
        return "the name's date and time are not those of its timestamp in any time zone";
    if (!contentTimeMs) return "the record has no time, and its file's name has one";
    if (*contentTimeMs != name.timestampMs)
        return "the record's time is " + std::to_string(*contentTimeMs) +
               ", and that of its file's name " + std::to_string(name.timestampMs);
    return {};
}
