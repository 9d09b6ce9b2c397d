// The member lists of "/etc/group". Text in, text out.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/account/rights_lists.h"

namespace morv {

struct MemberEdits {
    Renames renames;                // of members
    std::string joined;             // upper-cased name of the group that `join` join
    std::vector<std::string> join;  // new members

    // The line with its member list changed. Answers whether it was changed, and then the new line. May throw
    // std::bad_alloc.
    bool edit(std::string_view line, std::string &out) const;
};

// Appends `text` to `out` with the member lists changed, and the upper-cased names of the groups that
// changed to `changed`.
void edit_members(std::string_view text, const MemberEdits &edits, std::string &out,
                  std::vector<std::string> &changed);

// Whether a member list names one of these.
bool names_member(std::string_view text, const Renames &names);

}  // namespace morv
