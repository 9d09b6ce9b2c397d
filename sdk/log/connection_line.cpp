#include "log/connection_line.h"

#include <morvsdk/log.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <charconv>
#include <span>

namespace morv {

namespace {

constexpr std::string_view kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::string_view kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// The place of a word in a table, or -1.
int index_in(std::span<const std::string_view> table, std::string_view word) noexcept {
    const auto found = std::find(table.begin(), table.end(), word);
    return found == table.end() ? -1 : int(found - table.begin());
}

// A text of digits alone.
bool parse_number(std::string_view text, int &number) noexcept {
    if (text.empty() || text.size() > 4 || text.find_first_not_of("0123456789") != text.npos) return false;
    return std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc();
}

// Cuts off the next word, which ends at a blank.
std::string_view take_word(std::string_view &text) noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(word.size());
    return word;
}

// The same from the end.
std::string_view take_last_word(std::string_view &text) noexcept {
    text = text.substr(0, text.find_last_not_of(' ') + 1);
    const size_t blank = text.rfind(' ');
    const std::string_view word = text.substr(blank == text.npos ? 0 : blank + 1);
    text.remove_suffix(word.size());
    return word;
}

// A time as people write it, put together from its words.
struct WrittenTime {
    int year = -1, month = -1, day = -1;
    int hour = -1, minute = 0, second = 0;

    bool is_complete() const noexcept { return year >= 1970 && month >= 0 && day >= 1 && hour >= 0; }

    // Takes a word for what it looks like. False for one that fits nowhere.
    bool take(std::string_view word) noexcept {
        int number;
        if (word.size() == 8 && word[2] == ':' && word[5] == ':') {
            return hour < 0 && parse_number(word.substr(0, 2), hour) &&
                   parse_number(word.substr(3, 2), minute) && parse_number(word.substr(6), second) &&
                   hour < 24 && minute < 60 && second <= 60;
        }
        if (!parse_number(word, number)) {
            const int found = index_in(kMonths, word);
            return month < 0 && (month = found) >= 0;
        }
        int &part = number > 31 ? year : day;
        if (part >= 0) return false;
        part = number;
        return true;
    }

    // Of a clock with two halves of a day.
    void take_half(std::string_view word) noexcept { hour = hour % 12 + (word == "PM" ? 12 : 0); }

    int64_t utc_seconds() const noexcept {
        struct tm tm = broken_down(0);
        return timegm(&tm);
    }

    // In the zone of this process. Where a zone has two of this time, its abbreviation tells them apart.
    int64_t local_seconds(std::string_view zone) const noexcept {
        time_t any = -1;
        for (const int dst : {0, 1, -1}) {
            struct tm tm = broken_down(dst);
            any = mktime(&tm);
            if (any != -1 && tm.tm_hour == hour && tm.tm_zone && zone == tm.tm_zone) break;
        }
        return any;
    }

    struct tm broken_down(int dst) const noexcept {
        struct tm tm = {};
        tm.tm_year = year - 1900;
        tm.tm_mon = month;
        tm.tm_mday = day;
        tm.tm_hour = hour;
        tm.tm_min = minute;
        tm.tm_sec = second;
        tm.tm_isdst = dst;
        return tm;
    }
};

// A zone that names its distance from UTC: "+0330", "-03".
bool parse_offset(std::string_view zone, int &seconds) noexcept {
    if (zone.size() != 3 && zone.size() != 5) return false;
    int hours = 0, minutes = 0;
    if ((zone[0] != '+' && zone[0] != '-') || !parse_number(zone.substr(1, 2), hours)) return false;
    if (zone.size() == 5 && !parse_number(zone.substr(3), minutes)) return false;
    seconds = (hours * 60 + minutes) * 60 * (zone[0] == '-' ? -1 : 1);
    return true;
}

// Reads a date like "Sun Nov  2 01:00:31 2026 UTC", in the order of any language that names days and months
// in English, from the beginning of the text.
bool parse_date(std::string_view text, int64_t &seconds) noexcept {
    if (index_in(kWeekdays, take_word(text)) < 0) return false;
    WrittenTime time;
    while (!time.is_complete()) {
        const std::string_view word = take_word(text);
        if ((word == "AM" || word == "PM") && time.hour >= 0) {
            time.take_half(word);
        } else if (!time.take(word)) {
            return false;
        }
    }
    std::string_view zone = take_word(text);
    if (zone == "AM" || zone == "PM") {
        time.take_half(zone);
        zone = take_word(text);
    }
    int offset;
    if (zone == "UTC" || zone == "GMT") {
        seconds = time.utc_seconds();
    } else if (parse_offset(zone, offset)) {
        seconds = time.utc_seconds() - offset;
    } else {
        seconds = time.local_seconds(zone);
    }
    return seconds >= 0;
}

}  // namespace

bool parse_seconds(std::string_view field, int64_t &seconds) noexcept {
    const char *const end = field.data() + field.size();
    if (field.empty() || field[0] == '-') return false;
    const auto parsed = std::from_chars(field.data(), end, seconds);
    return parsed.ec == std::errc() && parsed.ptr == end;
}

bool parse_samba_line(std::string_view line, Connection &connection) noexcept {
    // The name of a share may look like a date: the last one counts.
    for (size_t at = line.rfind(' '); at != line.npos && at > 0; at = line.rfind(' ', at - 1)) {
        int64_t seconds;
        if (at + 1 < line.size() && line[at + 1] == ' ') continue;
        if (!parse_date(line.substr(at + 1), seconds)) continue;
        std::string_view before = line.substr(0, at);
        const std::string_view machine = take_last_word(before);
        const std::string_view process = take_last_word(before);
        if (process.empty() || process.find_first_not_of("0123456789:") != process.npos) return false;
        const size_t begin = before.find_first_not_of(' ');
        if (begin == before.npos) return false;
        connection = {seconds, "-", machine, before.substr(begin, before.find_last_not_of(' ') + 1 - begin)};
        return true;
    }
    return false;
}

int write_connection(const Connection &connection, ConnectionKind kind, char *report, int size) noexcept {
    const char *const time = MORVLogConvertTime1(connection.time);
    const char number = char('0' + kind);
    const std::string_view fields[] = {
        time, connection.user, connection.client, connection.service, {&number, 1}};
    size_t length = 0;
    for (const std::string_view field : fields)
        length += field.size() + 1;
    if (length > size_t(size)) return ERR_NOT_ENOUGH_MEMORY;
    for (const std::string_view field : fields) {
        for (const char c : field)
            *report++ = (static_cast<unsigned char>(c) < ' ' || c == '\x7F') ? ' ' : c;
        *report++ = '\t';
    }
    report[-1] = '\0';
    return 0;
}

}  // namespace morv
