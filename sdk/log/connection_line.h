// A connection of a client, as the report of current connections has it.
#pragma once

#include <stdint.h>

#include <string_view>

namespace morv {

// Views the line of the source that it was read from.
struct Connection {
    int64_t time = 0;  // seconds since the epoch
    std::string_view user;
    std::string_view client;
    std::string_view service;
};

enum ConnectionKind { kFileSharing = 4, kAppleSharing = 5, kFtp = 7 };

// The time of a source's field; false for what is no number.
bool parse_seconds(std::string_view field, int64_t &seconds) noexcept;

// Takes a line of Samba's own table apart: service, process, machine, when, and how it is encrypted and
// signed. The columns are as wide as the longest that was foreseen, so that one that is wider ends at a single
// blank; but services alone have blanks in their names. False for another line.
bool parse_samba_line(std::string_view line, Connection &connection) noexcept;

// Writes the line of the report. A control character in a field becomes a blank. Answers 0, or
// ERR_NOT_ENOUGH_MEMORY when it does not fit.
int write_connection(const Connection &connection, ConnectionKind kind, char *report, int size) noexcept;

}  // namespace morv
