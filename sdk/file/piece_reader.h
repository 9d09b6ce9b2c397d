// Reading a file in lines of bounded length.
#pragma once

#include <errno.h>
#include <morvsdk/errcodes.h>
#include <stdio.h>

#include "core/base/guard.h"

namespace morv {

// Calls `each(piece)` with each line, or piece of a longer line, of at most 1023 bytes, until it answers
// false. Answers an error code.
template <class F>
int for_each_piece(const char *path, F each) noexcept {
    const FilePtr file(fopen(path, "re"));
    if (!file) return ERR_OPEN_FAILED;
    char piece[1024];
    while (fgets(piece, sizeof piece, file.get())) {
        if (!each(piece)) return 0;
    }
    return ferror(file.get()) ? ERR_READ_FAILED : 0;
}

}  // namespace morv
