#include <morvsdk/file.h>
#include <morvsdk/user.h>

#include <unordered_set>
#include <vector>

#include "core/account/account_list.h"
#include "core/account/group_mirror.h"
#include "core/account/named_lines.h"
#include "core/account/reading.h"
#include "core/base/fail.h"

using namespace morv;

static constexpr std::string_view kUsers = "USERS";

static int list_members(Mirror &mirror, const std::string &key, std::vector<std::string> &members) {
    std::string line;
    if (const int code = read_group_line(mirror, key, &line)) return code;
    std::string_view before;
    std::string_view list;
    if (!split_members(line, &before, &list)) return ERR_FORMAT_ERROR;
    std::unordered_set<std::string> seen;
    std::string upper;
    for (Items items(list); items.next();) {
        if (upper_name(items.item, upper) && seen.insert(upper).second) members.emplace_back(items.item);
    }
    if (key != kUsers) return 0;
    return for_each_name(user_listing, MORV_USER_LOCAL, nullptr, [&](std::string_view name) {
        if (upper_name(name, upper) && seen.insert(upper).second) members.emplace_back(name);
        return 0;
    });
}

extern "C" int MORVGroupListMember(const char *name, MLIBSZLIST **ppList) noexcept {
    if (!name || !ppList || !*ppList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count = 0;
    std::string key;
    if (const int code = no_throw([&] { return upper_name(name, key) ? 0 : int{ERR_NO_SUCH_GROUP}; }))
        return MORV_FAIL(code, -1);
    // The lock that listing the users takes comes before the groups' own: both are taken at once.
    const uint32_t locks = key == kUsers ? MORV_LOCK_PW | MORV_LOCK_GR : MORV_LOCK_GR;
    const int code = read_accounts(group_mirror_kind, locks, [&](Mirror &mirror) {
        std::vector<std::string> members;
        if (const int failed = list_members(mirror, key, members)) return failed;
        for (const std::string &member : members) {
            if (MLIBSzListPush(ppList, member.c_str()) < 0) return MLIBErrGet();
        }
        count = static_cast<int>(members.size());
        return 0;
    });
    return code ? MORV_FAIL(code, -1) : count;
}
