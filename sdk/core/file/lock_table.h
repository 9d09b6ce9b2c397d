// The locks of the configuration families, and which of them this process holds.
#pragma once

#include <stdint.h>

#include <span>

namespace morv {

struct LockEntry {
    int fd;  // of the lock file; -1 when the lock is not held
    const char *path;
    uint32_t bit;
    int32_t count;  // how often it was taken and not released
    int32_t mode;   // the low four bits of the request it was taken with
};

inline constexpr uint32_t kLockModeMask = 0xF;

// The table, without the entry that ends it.
std::span<LockEntry> lock_table() noexcept;

// Makes the lock folder and every lock file that is missing. Answers an error code.
int make_lock_files() noexcept;

// Closes an entry's file, which gives the lock up unless another process shares the open file. Answers
// whether that worked.
bool close_lock(LockEntry &entry) noexcept;

}  // namespace morv
