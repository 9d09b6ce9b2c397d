#include "core/account/share_rights.h"

#include <morvsdk/file.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "core/account/account_lock.h"
#include "core/account/group_members.h"
#include "core/account/named_lines.h"
#include "core/account/valid_names.h"
#include "core/base/no_throw.h"

namespace morv {

namespace {

std::string_view text_of(const char *list) noexcept {
    return list ? std::string_view(list) : std::string_view();
}

// Runs `work` on the mirrors of users and groups.
template <class F>
int with_accounts(F &&work) noexcept {
    AccountLock lock;
    if (const int code = lock.read(MORV_LOCK_PW | MORV_LOCK_GR)) return code;
    AccountMirrors mirrors;
    int code = mirrors.open();
    if (code == 0) code = no_throw([&]() -> int { return work(mirrors); });
    const int released = lock.release();
    return code ? code : released;
}

// One that does not exist has none.
int members_of(const AccountMirrors &mirrors, std::string_view group, std::vector<std::string> &members) {
    members.clear();
    std::string key;
    if (!upper_name(group, key)) return 0;
    const int code = read_members(mirrors.users.get(), *mirrors.groups, key, members);
    return code == ERR_NO_SUCH_GROUP ? 0 : code;
}

bool names_user(std::string_view list, const std::string &user) {
    std::string key;
    for (Items items(list); items.next();) {
        if (upper_name(items.item, key) && key == user) return true;
    }
    return false;
}

int names_group_of(std::string_view list, const std::string &user, const AccountMirrors &mirrors,
                   bool *found) {
    std::string key;
    std::vector<std::string> members;
    for (Items items(list); items.next();) {
        if (items.item[0] != '@') continue;
        if (const int code = members_of(mirrors, items.item.substr(1), members)) return code;
        for (const std::string &member : members) {
            *found = upper_name(member, key) && key == user;
            if (*found) return 0;
        }
    }
    return 0;
}

}  // namespace

bool names_everybody(std::string_view list) {
    std::string key;
    for (Items items(list); items.next();) {
        if (items.item[0] == '@' && upper_name(items.item.substr(1), key) && key == kEverybody) return true;
    }
    return false;
}

int find_access(const MORVSHARE &share, const char *user, int *access) noexcept {
    return with_accounts([&](const AccountMirrors &mirrors) {
        const struct {
            std::string_view list;
            int access;
        } rights[] = {{text_of(share.szInvalidUsers), MORV_SHARE_NO_ACCESS},
                      {text_of(share.szWriteList), MORV_SHARE_READ_WRITE},
                      {text_of(share.szReadList), MORV_SHARE_READ_ONLY}};
        *access = share.accessType;
        std::string key;
        if (!upper_name(user, key)) return 0;
        for (const auto &right : rights) {
            bool found = names_user(right.list, key);
            if (!found) {
                if (const int code = names_group_of(right.list, key, mirrors, &found)) return code;
            }
            if (!found) continue;
            *access = right.access;
            return 0;
        }
        return 0;
    });
}

int compare_rights(const char *no_access, const char *read_write, const char *read_only,
                   int *result) noexcept {
    return with_accounts([&](const AccountMirrors &mirrors) {
        std::unordered_map<std::string, int> rights;
        bool is_double = false;
        bool is_conflict = false;
        std::string key;
        const auto meet = [&](std::string_view user, int right) {
            if (!upper_name(user, key)) return;
            const auto [at, is_new] = rights.emplace(key, right);
            if (!is_new) (at->second == right ? is_double : is_conflict) = true;
        };
        std::vector<std::string> members;
        int right = 0;
        for (const char *list : {no_access, read_write, read_only}) {
            ++right;
            for (Items items(text_of(list)); items.next();) {
                if (items.item[0] != '@') continue;
                if (const int code = members_of(mirrors, items.item.substr(1), members)) return code;
                for (const std::string &member : members)
                    meet(member, right);
            }
            for (Items items(text_of(list)); items.next();) {
                if (items.item[0] != '@') meet(items.item, right);
            }
        }
        *result = is_conflict ? 2 : is_double;
        return 0;
    });
}

}  // namespace morv
