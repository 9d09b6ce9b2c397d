#include "core/account/valid_names.h"

#include <limits.h>
#include <morvsdk/bdb.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <string.h>

#include <unordered_set>

#include "core/account/account_lock.h"
#include "core/account/account_store.h"
#include "core/account/group_mirror.h"
#include "core/account/named_lines.h"
#include "core/account/user_mirror.h"
#include "core/base/no_throw.h"
#include "core/store/records.h"

namespace morv {

namespace {

// The account as it spells itself; empty when there is none.
int find_spelling(Mirror *mirror, int slot, const std::string &key, std::string_view *name) {
    *name = {};
    if (!mirror) return 0;
    if (const int code = need_store(*mirror, slot)) return code;
    std::string_view line;
    const int code = find_record(mirror->store[slot], store_key(key), &line);
    if (code == 0) *name = first_field(stored_text(line));
    return code == ERR_KEY_NOT_FOUND ? 0 : code;
}

}  // namespace

int Accounts::normalise(std::string_view list, std::string &out, int *count) const {
    std::unordered_set<std::string> seen;
    std::string key;
    *count = 0;
    for (Items items(list); items.next();) {
        const bool is_group = items.item[0] == '@';
        if (!upper_name(items.item.substr(is_group), key) || key.empty() || key[0] == '#') continue;
        if (!is_group && key == "NOBODY") continue;
        std::string_view name;
        const int code = is_group ? find_spelling(groups_, kGroupName, key, &name)
                                  : find_spelling(users_, kUserName, key, &name);
        if (code) return code;
        if (name.empty()) continue;
        if (is_group) key.insert(key.begin(), '@');
        if (!seen.insert(key).second) continue;
        if (*count > 0) out.push_back(',');
        if (is_group) out.push_back('@');
        out.append(name);
        ++*count;
    }
    return 0;
}

int AccountMirrors::open() noexcept {
    int code = open_mirror(group_mirror_kind, Extent::kFirst, &groups);
    if (code == 0) code = open_mirror(user_mirror_kind, Extent::kFirst, &users);
    return code == 0 || code == ERR_OUT_OF_MEMORY ? code : int{ERR_OPEN_FAILED};
}

int valid_names(Mirror *users, Mirror *groups, std::string_view list, char **buffer, int *size,
                int *count) noexcept {
    return no_throw([&] {
        std::string out;
        if (const int code = Accounts(users, groups).normalise(list, out, count)) return code;
        if (out.size() >= INT_MAX) return int{ERR_OUT_OF_MEMORY};
        void *block = *buffer;
        const bool grown = MORVCheckAndRealloc(&block, size, static_cast<int>(out.size()) + 1) == 0;
        *buffer = static_cast<char *>(block);
        if (!grown) return int{ERR_OUT_OF_MEMORY};
        memcpy(*buffer, out.c_str(), out.size() + 1);
        return 0;
    });
}

int valid_names_of_system(std::string_view list, char **buffer, int *size, int *count) noexcept {
    AccountLock lock;
    if (const int code = lock.read(MORV_LOCK_PW | MORV_LOCK_GR)) return code;
    MirrorPtr users;
    MirrorPtr groups;
    if (const int code = open_mirror(user_mirror_kind, Extent::kFirst, &users)) return code;
    if (const int code = open_mirror(group_mirror_kind, Extent::kFirst, &groups)) return code;
    return valid_names(users.get(), groups.get(), list, buffer, size, count);
}

}  // namespace morv
