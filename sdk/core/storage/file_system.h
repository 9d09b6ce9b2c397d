// Mounted file systems, and what their superblocks say.
#pragma once

#include <morvsdk/fs.h>

#include "core/system/mounts.h"

namespace morv {

// The record of a mounted file system, to be freed with FSInfoFree. Answers 0, ERR_FORMAT_ERROR (a text
// that is longer than the record's) or ERR_OUT_OF_MEMORY.
int read_file_system(const Mount &mount, FS_INFO **info) noexcept;

}  // namespace morv
