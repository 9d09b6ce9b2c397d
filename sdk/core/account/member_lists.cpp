#include "core/account/member_lists.h"

#include <unordered_set>

#include "core/account/group_mirror.h"
#include "core/account/named_lines.h"
#include "core/text/lines.h"

namespace morv {

bool MemberEdits::edit(std::string_view line, std::string &out) const {
    std::string_view before;
    std::string_view members;
    if (!split_members(line, &before, &members)) return false;
    std::string list(members);
    std::string next;
    bool changed = false;
    for (const auto &[key, name] : renames) {
        next.clear();
        if (!edit_list(list, key, name, next)) continue;
        changed = true;
        list.swap(next);
    }
    std::string key;
    if (!joined.empty() && upper_name(first_field(line), key) && key == joined) {
        std::unordered_set<std::string> missing;
        KeyFilter filter;
        for (const std::string &name : join) {
            if (!upper_name(name, key)) continue;
            filter.add(key);
            missing.insert(key);
        }
        for (Items items(list); items.next();) {
            if (filter.may_have(items.item) && upper_name(items.item, key)) missing.erase(key);
        }
        for (const std::string &name : join) {
            if (!upper_name(name, key) || missing.erase(key) == 0) continue;
            if (!list.empty()) list.push_back(',');
            list.append(name);
            changed = true;
        }
    }
    if (changed) out.append(before).append(list);
    return changed;
}

void edit_members(std::string_view text, const MemberEdits &edits, std::string &out,
                  std::vector<std::string> &changed) {
    size_t done = 0;
    std::string key;
    std::string next;
    for (std::string_view whole : Lines(text)) {
        const std::string_view line = without_line_feed(whole);
        next.clear();
        if (!is_system_line(line) || !edits.edit(line, next)) continue;
        const auto at = static_cast<size_t>(line.data() - text.data());
        out.append(text, done, at - done).append(next);
        done = at + line.size();
        if (upper_name(first_field(line), key)) changed.push_back(key);
    }
    out.append(text, done);
}

bool names_member(std::string_view text, const Renames &names) {
    ListSearch search(names);
    for (std::string_view line : Lines(text)) {
        std::string_view before;
        std::string_view members;
        if (is_system_line(line) && split_members(without_line_feed(line), &before, &members) &&
            search.finds_one_in(members)) {
            return true;
        }
    }
    return false;
}

}  // namespace morv
