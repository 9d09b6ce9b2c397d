// The words by which people and scripts name logs and types of events.
#pragma once

#include <morvsdk/log.h>

#include <string_view>

namespace log_words {

struct Log {
    int number;
    const char *name;
    const char *brief;
};
constexpr Log kLogs[] = {
    {MORV_LOG_SYSTEM, "system", "sys"},
    {MORV_LOG_ADMIN, "admin", "man"},
    {MORV_LOG_CONNECTION, "connection", "conn"},
    {MORV_LOG_BACKUP, "backup", "bkp"},
    {MORV_LOG_COPY, "copy", "copy"},
    {MORV_LOG_NETBACKUP, "netbackup", "netbkp"},
    {MORV_LOG_SURVEILLANCE, "surveillance", "sur"},
};

struct Type {
    int number;
    const char *name;
};
constexpr Type kTypes[] = {{MORV_LOG_INFO, "info"}, {MORV_LOG_WARNING, "warn"}, {MORV_LOG_ERROR, "error"}};

// The number that a text is: decimal, or hexadecimal behind "0x"; -1 for none, and for one above `most`.
inline int64_t parse_number(std::string_view text, int64_t most) {
    const bool is_hex = text.starts_with("0x") || text.starts_with("0X");
    if (is_hex) text.remove_prefix(2);
    if (text.empty() || text.size() > 16) return -1;
    int64_t number = 0;
    for (const char c : text) {
        const int digit = c >= '0' && c <= '9'             ? c - '0'
                          : is_hex && c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : is_hex && c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                           : -1;
        if (digit < 0) return -1;
        number = number * (is_hex ? 16 : 10) + digit;
        if (number > most) return -1;
    }
    return number;
}

// The log of a name or a number; null for another text.
inline const Log *find_log(std::string_view text) {
    const int64_t number = parse_number(text, 99);
    for (const Log &log : kLogs) {
        if (text == log.name || text == log.brief || number == log.number) return &log;
    }
    return nullptr;
}

// The number of a type; -1 for another text.
inline int64_t find_type(std::string_view text) {
    if (text == "err") return MORV_LOG_ERROR;
    if (text == "warning") return MORV_LOG_WARNING;
    for (const Type &type : kTypes) {
        if (text == type.name) return type.number;
    }
    return parse_number(text, UINT16_MAX);
}

}  // namespace log_words
