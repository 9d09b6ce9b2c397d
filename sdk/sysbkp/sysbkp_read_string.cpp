#include <errno.h>
#include <morvsdk/internal/sysbkp.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/guard.h"
#include "sysbkp/report.h"

using namespace morv;

namespace {

// How many bytes a file still has: what an item says of its length is only believed up to there.
int64_t bytes_left(int fd) noexcept {
    struct stat st;
    const int64_t at = lseek(fd, 0, SEEK_CUR);
    return at < 0 || fstat(fd, &st) != 0 ? -1 : st.st_size - at;
}

}  // namespace

extern "C" int MORVSysbkpIReadString(int fd, char **string) noexcept {
    int32_t head[2];
    if (!string) {
        BACKUP_LOG("parameter error");
        return -1;
    }
    if (MORVSysbkpRawIntRead(fd, head, sizeof head) != sizeof head) return -1;
    const int32_t length = head[1];
    if (head[0] != MORV_SYSBKP_STRING || length < 0 || length > bytes_left(fd)) {
        BACKUP_LOG("invalid type(%ld, %ld)", static_cast<long>(head[0]), static_cast<long>(length));
        return -1;
    }
    const auto size = static_cast<size_t>(length);
    MallocPtr<char> text(static_cast<char *>(malloc(size + 1)));
    if (!text) {
        BACKUP_LOG("MORVMAlloc fail, errno=%d", errno);
        return -1;
    }
    text.get()[size] = '\0';
    errno = 0;
    if (read(fd, text.get(), size) != static_cast<ssize_t>(size)) {
        BACKUP_LOG("read fail, errno = %d", errno);
        return -1;
    }
    if (size > 0 && strlen(text.get()) != size - 1) {
        BACKUP_LOG("a text does not end with its only zero");
        return -1;
    }
    *string = text.release();
    return 0;
}
