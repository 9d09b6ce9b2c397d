// Taking volumes out of service.
#pragma once

#include "core/storage/storage_view.h"

namespace morv {

// Whether what is mounted is to go. Answers an error code. May throw std::bad_alloc.
using MountTest = int (*)(StorageView &view, const Mount &mount, bool &goes);

// Does what VolumeUnExport says. `path` is a volume's.
int unexport_volume(const char *path) noexcept;

// Does the same, but unmounts only what passes the test at the time, and what is mounted in it. While
// anything else is mounted at the path or below, shares and "/etc/fstab" stay as they are.
int unexport_volume(const char *path, MountTest test) noexcept;

}  // namespace morv
