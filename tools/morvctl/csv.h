// Tables of comma-separated values, as RFC 4180 has them.
#pragma once

#include <string>
#include <vector>

#include "morvctl/secret.h"

namespace morvctl {

struct CsvRow {
    int line;                    // where it begins, from 1
    std::vector<char *> fields;  // in the text of the table, each with a zero at its end
    std::string fault;           // what is wrong with it, or ""
};

// Cuts a table into rows, in its own memory: nothing of it is copied. Lines end with LF or CRLF, empty ones
// are skipped, and so is a byte order mark.
std::vector<CsvRow> parse_csv(Secret &text);

// A row with its line feed; fields that need quotes have them.
std::string csv_row(const std::vector<std::string> &fields);

}  // namespace morvctl
