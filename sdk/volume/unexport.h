// Taking volumes out of service.
#pragma once

namespace morv {

// Does what VolumeUnExport says. `path` is a volume's. May throw std::bad_alloc.
int unexport_volume(const char *path);

}  // namespace morv
