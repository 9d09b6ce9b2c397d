// Failing system calls and allocations: the program defines the libc functions itself, and the library
// under test uses them.
#pragma once

#include <errno.h>

#include <optional>
#include <string>

#include "support/alloc_fault.h"

namespace testing_support {

enum class Sys {
    kOpen,
    kFstat,
    kRead,
    kReadlink,
    kMkostemp,
    kFchown,
    kFchmod,
    kFlistxattr,
    kFgetxattr,
    kFsetxattr,
    kFremovexattr,
    kWrite,
    kShortWrite,  // writes half of it and then says ENOSPC
    kFsync,
    kClose,  // closes, and fails
    kRename,
    kLseek,
    kOpenat,
    kMkdirat,
    kRenameat2,  // says EXDEV
    kUnlinkat,
    kCopyFileRange,  // says EXDEV
    kFutimens,
    kSyncfs,
    kPread,
    kPwrite,
    kFtruncate,
    kAllocation,  // malloc and its companions, operator new
    kCount
};

const char *sys_name(Sys which);

// The nth call of `which` fails with a fitting errno, as long as the object lives.
class SysFault {
  public:
    SysFault(Sys which, int nth);
    ~SysFault();
    SysFault(const SysFault &) = delete;
    SysFault &operator=(const SysFault &) = delete;
    bool reached() const;

  private:
    std::optional<AllocFault> allocation_;
};

// From now on the process ends by SIGKILL just before its nth system call among those above, whichever it is.
void kill_at_call(int nth);

// For every system call and every n: `call(which, n)` runs with the n-th call of it failing, until a run does
// not reach it any more. Answers the number of faults that were reached.
template <class F>
int for_each_sys_fault(F call) {
    int faults = 0;
    for (int which = 0; which < int(Sys::kCount); ++which) {
        for (int nth = 1; nth < 10000; ++nth) {
            if (!call(Sys(which), nth)) break;
            ++faults;
        }
    }
    return faults;
}

}  // namespace testing_support
