// Shares as the mirror lists them.
#pragma once

#include <morvsdk/file.h>
#include <morvsdk/list.h>

#include <string>

#include "core/account/packed_share.h"
#include "core/account/reading.h"
#include "core/account/share_mirror.h"
#include "core/store/records.h"

namespace morv {

// Calls `see` with each share of a store, as PackedShare, until it answers an error code. ERR_STORE_INVALID for a
// record that is none.
template <class F>
int walk_shares(Mirror &mirror, F &&see) {
    Walk walk(mirror.store[kShares]);
    PackedShare share;
    while (walk.next()) {
        if (!share.read(walk.value)) return ERR_STORE_INVALID;
        if (const int code = see(share)) return code;
    }
    return walk.code ? int{ERR_STORE_WALK_FAILED} : 0;
}

// Runs `work` on the live mirror, under its lock. A mirror that holds what no share can be is built anew, and `work`
// runs once more.
template <class F>
int read_shares(F &&work) noexcept {
    return read_accounts(share_mirror_kind, MORV_LOCK_SMB, [&](Mirror &mirror) {
        const int code = work(mirror);
        if (code == ERR_STORE_INVALID) forget_mirror(share_mirror_kind);
        return code;
    });
}

// The names of the shares that `accept` takes, each with a NUL behind it.
template <class F>
int collect_names(Mirror &mirror, F &&accept, std::string &names) {
    names.clear();
    return walk_shares(mirror, [&](const PackedShare &share) {
        if (accept(share)) names.append(share.name()).push_back('\0');
        return 0;
    });
}

// Pushes such names onto a list handle.
int push_names(const std::string &names, MLIBSZLIST **list, int *count) noexcept;

// Pushes the names of the live shares that `accept` takes.
template <class F>
int list_shares(MLIBSZLIST **list, F &&accept, int *count) noexcept {
    if (!list || !*list) return ERR_BAD_PARAMETERS;
    return no_throw([&] {
        std::string names;
        const int code = read_shares([&](Mirror &mirror) { return collect_names(mirror, accept, names); });
        return code ? code : push_names(names, list, count);
    });
}

// Whether `path` is the folder `top` or lies in it. Slashes at the end of `top` do not count.
bool lies_below(std::string_view path, std::string_view top) noexcept;

// The record of a share. *share: null, or one to be used again. ERR_NO_SUCH_SHARE. May throw std::bad_alloc.
int read_share(Mirror &mirror, const std::string &key, MORVSHARE **share);

}  // namespace morv
