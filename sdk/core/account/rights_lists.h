// The lists of users and groups in configuration files: "write list = alice,@users". Text in, text out.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "core/account/named_lines.h"

namespace morv {

// The list in a line, without the blanks around it; empty when the line holds none. Lists are the values of
// "invalid users", "valid users", "admin users", "write list" and "read list".
std::string_view rights_list_of(std::string_view line) noexcept;

// New names by upper-cased old ones ("@" in front of a group's); empty: the name goes.
using Renames = std::map<std::string, std::string, std::less<>>;

// Appends `text` to `out` with all lists changed. All else stays as it is, and so does a list of "valid
// users" that would become empty: it would let everybody in.
void edit_rights(std::string_view text, const Renames &renames, std::string &out);

// Looks for some names in lists.
class ListSearch {
  public:
    explicit ListSearch(const Renames &names);
    bool finds_one_in(std::string_view list);

  private:
    const Renames &names_;
    KeyFilter filter_;
    std::string key_;
};

// Whether a list in the text names one of these.
bool names_any(std::string_view text, const Renames &names);

}  // namespace morv
