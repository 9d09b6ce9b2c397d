#include "core/account/group_members.h"

#include <morvsdk/user.h>

#include <unordered_set>

#include "core/account/group_mirror.h"
#include "core/account/named_lines.h"
#include "core/account/user_mirror.h"
#include "core/store/records.h"

namespace morv {

int read_members(Mirror *users, Mirror &groups, const std::string &group, std::vector<std::string> &members) {
    std::string line;
    if (const int code = read_group_line(groups, group, &line)) return code;
    std::string_view before;
    std::string_view list;
    if (!split_members(line, &before, &list)) return ERR_FORMAT_ERROR;
    std::unordered_set<std::string> seen;
    std::string key;
    for (Items items(list); items.next();) {
        if (upper_name(items.item, key) && seen.insert(key).second) members.emplace_back(items.item);
    }
    if (group != kEverybody) return 0;
    if (const int failed = need_store(*users, kUserName)) return failed;
    Walk walk(users->store[kUserName]);
    while (walk.next()) {
        const std::string_view user = stored_text(walk.value);
        if (is_listed_user(user, MORV_USER_LOCAL) && seen.emplace(stored_text(walk.key)).second)
            members.emplace_back(first_field(user));
    }
    return walk.code ? int{ERR_STORE_WALK_FAILED} : 0;
}

}  // namespace morv
