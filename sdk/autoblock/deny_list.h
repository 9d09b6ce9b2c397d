// The rewriting of the list of blocked addresses.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>

#include "core/store/address_set.h"

namespace morv {

inline constexpr char kFailureList[] = "/tmp/login_fail.list";
inline constexpr char kDenyList[] = "/etc/morvIPs.deny";
inline constexpr char kDamagedDenyList[] = "/etc/morvIPs.deny.damaged";

struct DenyChange {
    AddressSet &leaving;              // these leave the list, and so do
    int64_t lifetime;                 // those as old as this, in seconds; 0: none
    std::span<const uint32_t> added;  // these are put at its end,
    int64_t now;                      // with this time

    // What came of it: how many of `leaving` were in the list, is told by the set.
    bool was_kept = false;  // the old list: it was damaged
};

// Answers 0, or an error code: the list is then as it was.
int change_deny_list(DenyChange &change) noexcept;

// Logs what came of it besides; to be called without a lock.
void report_damage(const DenyChange &change) noexcept;

}  // namespace morv
