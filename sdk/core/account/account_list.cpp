#include "core/account/account_list.h"

#include <morvsdk/error.h>
#include <morvsdk/file.h>

#include <string>

#include "core/account/account_store.h"
#include "core/account/group_mirror.h"
#include "core/account/named_lines.h"
#include "core/account/reading.h"
#include "core/account/user_mirror.h"
#include "core/store/records.h"

namespace morv {

const Listing user_listing = {user_mirror_kind, MORV_LOCK_PW, is_listed_user};
const Listing group_listing = {group_mirror_kind, MORV_LOCK_GR, is_listed_group};

int for_each_name(const Listing &listing, int mask, const char *prefix, const SeeName &see) noexcept {
    return read_accounts(listing.kind, listing.lock, [&](Mirror &mirror) {
        std::string begin;
        if (prefix && !upper_name(prefix, begin)) return int{ERR_BAD_PARAMETERS};
        Walk walk(mirror.store[listing.kind.stores[0].slot]);
        while (walk.next()) {
            const std::string_view line = stored_text(walk.value);
            if (!walk.key.starts_with(begin) || !listing.is_listed(line, mask)) continue;
            if (const int code = see(first_field(line))) return code;
        }
        return walk.code && walk.code != ERR_OUT_OF_MEMORY ? int{ERR_STORE_WALK_FAILED} : walk.code;
    });
}

int list_names(const Listing &listing, MLIBSZLIST **list, int mask, const char *prefix, int *count) noexcept {
    int pushed = 0;
    std::string text;  // one for all names, as the list wants a NUL behind each
    const int code = no_throw([&] {
        return for_each_name(listing, mask, prefix, [&](std::string_view name) {
            text.assign(name);
            ++pushed;
            return MLIBSzListPush(list, text.c_str()) < 0 ? MLIBErrGet() : 0;
        });
    });
    if (code == 0) *count = pushed;
    return code;
}

int count_names(const Listing &listing, int mask, int *count) noexcept {
    int seen = 0;
    const int code = no_throw([&] {
        return for_each_name(listing, mask, nullptr, [&](std::string_view) {
            ++seen;
            return 0;
        });
    });
    if (code == 0) *count = seen;
    return code;
}

}  // namespace morv
