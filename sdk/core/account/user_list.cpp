#include "core/account/user_list.h"

#include <morvsdk/error.h>

#include <memory>
#include <string>
#include <unordered_set>

#include "core/account/account_files.h"
#include "core/account/account_list.h"
#include "core/account/named_lines.h"
#include "core/account/rights_lists.h"
#include "core/account/user_mirror.h"
#include "core/base/no_throw.h"
#include "core/text/lines.h"

namespace morv {

int list_users(MLIBSZLIST **list, int mask, const char *prefix, int *count) noexcept {
    if (!list || !*list || !(mask & (MORV_USER_LOCAL | MORV_USER_DOMAIN | MORV_USER_DOMAIN_USED)))
        return ERR_BAD_PARAMETERS;
    return no_throw([&] {
        // The prefix may lie in the list, which may move.
        const std::string begin = prefix ? prefix : "";
        int in_use = 0;
        int listed = 0;
        if (mask & MORV_USER_DOMAIN_USED) {
            if (const int code = list_domain_users_in_use(list, begin, &in_use)) return code;
        }
        if (const int code = list_names(user_listing, list, mask, begin.c_str(), &listed)) return code;
        *count = in_use + listed;
        return 0;
    });
}

int count_users(int mask, int *count) noexcept {
    int in_use = 0;
    int listed = 0;
    if (mask & MORV_USER_DOMAIN_USED) {
        MLIBSZLIST *list = PslMLIBSzListAlloc(0);
        const int code = list ? list_domain_users_in_use(&list, {}, &in_use) : int{ERR_OUT_OF_MEMORY};
        MLIBSzListFree(list);
        if (code) return code;
    }
    if (const int code = count_names(user_listing, mask, &listed)) return code;
    *count = in_use + listed;
    return 0;
}

int list_domain_users_in_use(MLIBSZLIST **list, std::string_view prefix, int *count) noexcept {
    return no_throw([&] {
        std::string begin;
        if (!upper_name(prefix, begin)) return int{ERR_BAD_PARAMETERS};
        std::unordered_set<std::string> seen;
        std::string key;
        const auto see = [&](std::string_view items) {
            for (Items names(items); names.next();) {
                if (names.item[0] == '@' || !is_domain_name(names.item) || !upper_name(names.item, key))
                    continue;
                if (!key.starts_with(begin) || !seen.insert(key).second) continue;
                if (const int code = push_name(list, names.item)) return code;
            }
            return 0;
        };
        const auto group = std::make_unique<SourceText>();
        const auto shares = std::make_unique<SourceText>();
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
