// The lists of users and groups in configuration files: "write list = alice,@users". Text in, text out.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace morv {

// The list in a line, without the blanks around it; empty when the line holds none. Lists are the values of "invalid
// users", "valid users", "admin users", "write list" and "read list".
std::string_view rights_list_of(std::string_view line) noexcept;

// New names by upper-cased old ones ("@" in front of a group's); empty: the name goes.
using Renames = std::map<std::string, std::string, std::less<>>;

// Appends `text` to `out` with all lists changed. All else stays as it is.
void edit_rights(std::string_view text, const Renames &renames, std::string &out);

// Whether a list names one of these.
bool names_any(std::string_view text, const Renames &names);

}  // namespace morv
