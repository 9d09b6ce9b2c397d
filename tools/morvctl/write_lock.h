// The lock that a command holds while it reads, changes and writes a file.
#pragma once

#include <stdint.h>

#include <span>

#include "morvctl/fd.h"
#include "morvctl/target.h"

namespace morvctl {

struct LockName {
    const char *name;
    uint32_t bit;
    const char *guards;
};

// The locks of the library.
std::span<const LockName> lock_names();

// The lock of the library that guards a file, or 0.
uint32_t guarding_lock(const Session &session, const Target &target);

// Held exclusively as long as it lives: the library's lock for the files that it guards, and then the file's
// folder itself, for all files. The library's lock may be held for us by a `lock run` that we run under; the
// folder keeps several programs under that one apart.
class WriteLock {
  public:
    WriteLock(const Session &session, const Target &target);
    ~WriteLock();
    WriteLock(const WriteLock &) = delete;
    WriteLock &operator=(const WriteLock &) = delete;

  private:
    uint32_t bit_;
    Fd folder_;
};

// The locks that a `lock run` holds for this process.
uint32_t locks_held_above(const Session &session);

// Tells the programs that this process starts which locks it holds for them, exclusively.
void tell_held_locks(const Session &session, uint32_t bits);

// Before the library takes these locks itself: fails when a `lock run` holds one, and makes their folder.
void prepare_locks(const Session &session, uint32_t bits);

// The library makes the lock folder, but not the folder that it lies in: a new system root may have none.
void make_lock_folder(const Session &session);

}  // namespace morvctl
