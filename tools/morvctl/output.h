// What goes to standard output.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace morvctl {

using Json = nlohmann::ordered_json;

// Bytes that are not UTF-8 become U+FFFD; characters that a terminal would obey are written as "\u009b".
// indent: -1 for one line
std::string json_text(const Json &document, int indent);
void print_json(const Json &document);

void print_raw(std::string_view text);
void print_line(std::string_view text);

// Names and values, aligned: "name = value". Both are escaped.
using Pairs = std::vector<std::pair<std::string, std::string>>;
void print_pairs(const Pairs &pairs);

// Rows of cells, aligned by the columns that they take on a terminal. The cells are shown as printable() has
// them.
using Rows = std::vector<std::vector<std::string>>;
std::vector<std::string> table_lines(Rows rows);
void print_table(Rows rows);

// The same for rows that come in parts: the columns are as wide as in any part so far.
std::vector<std::string> table_lines(Rows rows, std::vector<size_t> &widest);

// Text as it can be shown on a terminal: control characters, backslashes and what is not UTF-8 as "\n", "\\",
// "\x1b".
std::string escape(std::string_view text);

// The same for a whole sentence, the parts of which may be escaped already: backslashes stay.
std::string printable(std::string_view text);

Json pairs_json(const Pairs &pairs);

}  // namespace morvctl
