#include "core/account/user_list.h"

#include <morvsdk/error.h>
#include <morvsdk/file.h>

#include <string>
#include <unordered_set>

#include "core/account/account_files.h"
#include "core/account/named_lines.h"
#include "core/account/reading.h"
#include "core/account/rights_lists.h"
#include "core/account/user_mirror.h"
#include "core/store/records.h"
#include "core/text/lines.h"

namespace morv {

namespace {

// Calls `see` with the name of each user that is to be listed.
template <class F>
int for_each_user(int mask, const std::string &prefix, F &&see) noexcept {
    return read_accounts(user_mirror_kind, MORV_LOCK_PW, [&](Mirror &mirror) {
        Walk walk(mirror.store[kUserName]);
        while (walk.next()) {
            const std::string_view line = stored_text(walk.value);
            if (!walk.key.starts_with(prefix) || !is_listed_user(line, mask)) continue;
            if (const int code = see(first_field(line))) return code;
        }
        return walk.code ? int{ERR_STORE_WALK_FAILED} : 0;
    });
}

}  // namespace

int list_users(MLIBSZLIST **list, int mask, const char *prefix, int *count) noexcept {
    if (!list || !*list || !(mask & (MORV_USER_LOCAL | MORV_USER_DOMAIN | MORV_USER_DOMAIN_USED)))
        return ERR_BAD_PARAMETERS;
    std::string key;
    const int refused = no_throw([&] { return prefix && !upper_name(prefix, key) ? ERR_BAD_PARAMETERS : 0; });
    if (refused) return refused;
    int pushed = 0;
    if (mask & MORV_USER_DOMAIN_USED) {
        if (const int code = list_domain_users_in_use(list, &pushed)) return code;
    }
    std::string text;  // one for all names, as the list wants a NUL behind each
    const int code = for_each_user(mask, key, [&](std::string_view name) {
        text.assign(name);
        ++pushed;
        return MLIBSzListPush(list, text.c_str()) < 0 ? MLIBErrGet() : 0;
    });
    if (code == 0) *count = pushed;
    return code;
}

int count_users(int mask, int *count) noexcept {
    int seen = 0;
    const int code = for_each_user(mask, std::string(), [&](std::string_view) {
        ++seen;
        return 0;
    });
    if (code == 0) *count = seen;
    return code;
}

int list_domain_users_in_use(MLIBSZLIST **list, int *count) noexcept {
    return no_throw([&] {
        std::unordered_set<std::string> seen;
        std::string key;
        const auto see = [&](std::string_view items) {
            for (Items names(items); names.next();) {
                if (names.item[0] == '@' || !is_domain_name(names.item) || !upper_name(names.item, key))
                    continue;
                if (!seen.insert(key).second) continue;
                if (const int code = push_name(list, names.item)) return code;
            }
            return 0;
        };
        std::unique_ptr<SourceText> group(new SourceText);
        std::unique_ptr<SourceText> shares(new SourceText);
        for (SourceText *source : {group.get(), shares.get()}) {
            if (const int code = source->load(source == group.get() ? kGroupPath : kSmbConfPath)) return code;
        }
        for (std::string_view line : Lines(group->text.view())) {
            const size_t colon = line.rfind(':');
            if (!is_system_line(line) || colon == line.npos) continue;
            if (const int code = see(without_line_feed(line.substr(colon + 1)))) return code;
        }
        for (std::string_view line : Lines(shares->text.view())) {
            const std::string_view value = rights_list_of(line);
            if (const int code = see(value)) return code;
        }
        *count = static_cast<int>(seen.size());
        return 0;
    });
}

}  // namespace morv
