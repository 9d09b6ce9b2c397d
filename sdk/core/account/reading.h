// How the families read: under the lock, in a mirror that is current.
#pragma once

#include "core/account/account_lock.h"
#include "core/base/no_throw.h"
#include "core/store/mirror.h"

namespace morv {

// Runs `work` on the mirror, of which it opens what it needs (need_store). Stores that turn out to be of
// another building are opened again, all of them. Answers what `work` answers, or why it could not be run, or
// ERR_UNLOCK_FAILED.
template <class F>
int read_accounts(const MirrorKind &kind, uint32_t lock_bit, F &&work) noexcept {
    AccountLock lock;
    if (const int code = lock.read(lock_bit)) return code;
    int code = ERR_STORE_INVALID;
    for (const Extent extent : {Extent::kFirst, Extent::kWhole}) {
        MirrorPtr mirror;
        code = open_mirror(kind, extent, &mirror);
        if (code == 0) code = no_throw([&]() -> int { return work(*mirror); });
        if (code != ERR_STORE_INVALID) break;
    }
    const int released = lock.release();
    return code ? code : released;
}

}  // namespace morv
