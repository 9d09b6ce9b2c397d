// Looking volumes up.
#pragma once

#include <morvsdk/volume.h>

#include <memory>

#include "core/base/guard.h"
#include "core/storage/storage_view.h"

namespace morv {

using VolumePtr = std::unique_ptr<VOLUME_INFO, Releaser<VolumeInfoFree>>;

// What a lookup answers beside error codes: a function that it called has set the error state.
inline constexpr int kErrorIsSet = -1;

// Reads a volume. `info` stays empty when there is neither a file system, nor a group, nor an array. May
// throw std::bad_alloc.
int return_volume(StorageView &view, const char *path, VolumePtr &info);

}  // namespace morv
