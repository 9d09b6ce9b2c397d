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

// Held exclusively as long as it lives: the library's lock for the files that it guards, else one of the
// file's own below "/tmp/lock/", named after where the file is. That one is never the file itself, which a
// rewrite replaces.
class WriteLock {
  public:
    WriteLock(const Session &session, const Target &target);
    ~WriteLock();
    WriteLock(const WriteLock &) = delete;
    WriteLock &operator=(const WriteLock &) = delete;

  private:
    uint32_t bit_;
    Fd file_;
};

// The library makes the lock folder, but not the folder that it lies in: a new system root may have none.
void make_lock_folder(const Session &session);

}  // namespace morvctl
