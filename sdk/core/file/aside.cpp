#include "core/file/aside.h"

#include <errno.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/random.h>
#include <sys/stat.h>

namespace morv {

bool move_aside(const char *path) noexcept {
    uint64_t number;
    char aside[PATH_MAX];
    if (getrandom(&number, sizeof number, 0) != sizeof number) return false;
    const int length =
        snprintf(aside, sizeof aside, "%s.%016llx", path, static_cast<unsigned long long>(number));
    return length > 0 && size_t(length) < sizeof aside && rename(path, aside) == 0;
}

void move_aside_unless_regular(const char *path) noexcept {
    const int saved = errno;
    struct stat st;
    if (lstat(path, &st) == 0 && !S_ISREG(st.st_mode)) move_aside(path);
    errno = saved;
}

}  // namespace morv
