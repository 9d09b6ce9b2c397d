// "/tmp/webman/modules/volume", in which a process says what it does to which volume:
//
//     pid=1234
//     action=create
//     step=mkfs
//     vol_path="/volume2"
#pragma once

#include <morvsdk/volume.h>

namespace morv {

// Reads the file; without a regular one, with one that is longer than 64 KiB, and for what is not in it, the
// record is empty. Answers 0, ERR_OPEN_FAILED or ERR_OUT_OF_MEMORY. May throw std::bad_alloc.
int read_busy_file(VOLUME_PROGRESS &progress);

}  // namespace morv
