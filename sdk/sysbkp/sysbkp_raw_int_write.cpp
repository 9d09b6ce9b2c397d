#include <errno.h>
#include <morvsdk/internal/sysbkp.h>
#include <stdlib.h>
#include <unistd.h>

#include "core/base/bytes.h"
#include "core/base/guard.h"
#include "sysbkp/raw_ints.h"

using namespace morv;

extern "C" int MORVSysbkpRawIntWrite(int fd, const void *words, int bytes) noexcept {
    if (!can_move(fd, words, bytes, MORV_STEM, __LINE__, __func__)) return -1;
    RawInts raw(static_cast<size_t>(bytes));
    if (!raw) {
        RAW_LOG("out of memory");
        return -1;
    }
    const auto *const from = static_cast<const char *>(words);
    for (int at = 0; at < bytes; at += 4)
        store_be32(raw.data() + at, load_native32(from + at));
    errno = 0;
    const ssize_t written = write(fd, raw.data(), static_cast<size_t>(bytes));
    if (written != bytes) {
        RAW_LOG("write:[%d(%m)]", static_cast<int>(written));
        return -1;
    }
    return bytes;
}
