// The kernel's block devices and its md driver, played from a tree of files: the program's own ioctl() answers for
// every open file "<root>/dev/NAME" from "<root>/sys/block". What is not played there goes to the kernel.
//
//     GET_ARRAY_INFO   "md/level", "md/raid_disks" and "md/component_size"; ENODEV without "md/level"
//     the appliance's sync status: the three numbers of "md/sync_status"; ENOTTY without that file
//     BLKGETSIZE64     "size"
//     BLKRASET         writes "queue/read_ahead_kb"
//     BLKPG            makes and removes the folder and the device of a partition; EBUSY for one with "holders"
//
// It needs nothing of the tests, so that a shared object of it can be loaded into any program.
#pragma once

#include <sys/ioctl.h>

namespace testing_support {

// From now on calls of `request` fail with `error`; 0 ends that.
void fail_ioctl(unsigned long request, int error);

constexpr unsigned long kSyncStatusRequest = _IOC(_IOC_READ, 9, 0x60, 12);

}  // namespace testing_support
