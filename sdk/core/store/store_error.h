// What the errno of a failed call of Berkeley DB means.
#pragma once

#include <errno.h>
#include <morvsdk/errcodes.h>
#include <sys/statvfs.h>

namespace morv {

// `otherwise` is the code of the operation itself, for every errno without a meaning of its own.
inline int read_error(int error, int otherwise) {
    switch (error) {
        case EIO:
            return ERR_DISK_IO_FAILED;
        case EINTR:
            return ERR_INTERRUPTED;
        default:
            return otherwise;
    }
}

inline int write_error(int error, int otherwise) {
    return error == ENOSPC ? ERR_NOT_ENOUGH_SPACE : read_error(error, otherwise);
}

// The errno of a failed change of an open store. When pages have to be written out while the file system is
// full, Berkeley DB tries for some seconds and then answers EIO.
inline int change_error(int error, int file) {
    struct statvfs fs;
    return error == EIO && fstatvfs(file, &fs) == 0 && fs.f_bavail == 0 ? ENOSPC : error;
}

}  // namespace morv
