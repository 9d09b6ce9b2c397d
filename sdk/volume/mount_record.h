// Records of mounted volumes.
#pragma once

#include <morvsdk/volume.h>

#include <memory>

#include "core/base/guard.h"
#include "core/system/mounts.h"

namespace morv {

using MountListPtr = std::unique_ptr<VOLUME_MOUNT, Releaser<MORVMountVolInfoFree>>;

// The record of what is mounted, or with null of what is not. Answers 0, or ERR_BAD_PARAMETERS for a mount
// point that a record cannot hold. has_room: whether the file system told its size.
int fill_mount(const VOLUME_ID &id, const Mount *mount, VOLUME_MOUNT &record, bool &has_room) noexcept;

// The records of the volumes that are mounted in some locations, in the order of mounting, each once, and
// their number. May throw std::bad_alloc.
int list_mounts(int locations, MountListPtr &list, int &count, bool &has_room);

// The same as an exported function answers it, in the name of the one whose stem and line are given.
int enumerate_mounts(int locations, VOLUME_MOUNT **list, const char *stem, int line) noexcept;

}  // namespace morv
