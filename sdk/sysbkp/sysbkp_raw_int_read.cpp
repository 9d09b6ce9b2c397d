#include <errno.h>
#include <morvsdk/internal/sysbkp.h>
#include <unistd.h>

#include "core/base/bytes.h"
#include "sysbkp/raw_ints.h"

using namespace morv;

extern "C" int MORVSysbkpRawIntRead(int fd, void *words, int bytes) noexcept {
    if (!can_move(fd, words, bytes, MORV_STEM, __LINE__, __func__)) return -1;
    RawInts raw(static_cast<size_t>(bytes));
    if (!raw) {
        RAW_LOG("out of memory");
        return -1;
    }
    errno = 0;
    const ssize_t got = read(fd, raw.data(), static_cast<size_t>(bytes));
    if (got == 0) return 0;
    if (got != bytes) {
        RAW_LOG("read(%d/%d):[%d(%m)]", static_cast<int>(got), bytes, errno);
        return -1;
    }
    auto *const to = static_cast<char *>(words);
    for (int at = 0; at < bytes; at += 4)
        store_native32(to + at, load_be32(raw.data() + at));
    return bytes;
}
