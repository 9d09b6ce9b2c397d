#include "sysbkp/block.h"

#include <errno.h>
#include <morvsdk/internal/sysbkp.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

namespace morv {

namespace {

int write_items(int fd, const std::string &bytes) noexcept {
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return -1;
        done += static_cast<size_t>(n);
    }
    return 0;
}

int64_t position(int fd, const char *stem, int line) noexcept {
    const int64_t at = lseek(fd, 0, SEEK_CUR);
    if (at < 0) tell_problem("the file has no places to go back to");
    if (at < 0) log_text("%s(%d): fail to get current location, errno =%d", stem, line, errno);
    return at;
}

}  // namespace

int write_block(int fd, int id, const char *what, const ItemWriter &items, const char *stem,
                int line) noexcept {
    const auto tell_why = [] { tell_problem("the file cannot be written: %m"); };
    if (MORVSysbkpIWriteHeader(fd, id) != 0) {
        tell_why();
        log_text("%s(%d): fail to write header", stem, line);
        return -1;
    }
    const int64_t start = position(fd, stem, line);
    if (start < 0) return -1;
    if (write_items(fd, items.bytes()) != 0) {
        tell_why();
        log_text("%s(%d): fail to write %s", stem, line, what);
        return -1;
    }
    const int64_t end = position(fd, stem, line);
    if (end < 0) return -1;
    if (MORVSysbkpIWriteBlkSize(fd, start, end) != 0) {
        tell_why();
        log_text("%s(%d): fail to write block size", stem, line);
        return -1;
    }
    return 0;
}

int read_block(int fd, int id, int version, std::string &body) noexcept {
    const int row = MORVSysbkpIGetIdx(id);
    if (row >= 0 && version != grgSysRoutine[row].version) {
        tell_problem("it has version %d, and only version %d is known", version, grgSysRoutine[row].version);
        return -1;
    }
    struct stat st;
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        tell_problem("the block cannot be read");
        return -1;
    }
    const int code = no_throw([&] {
        body.resize(static_cast<size_t>(st.st_size));
        return 0;
    });
    if (code) {
        tell_problem("%s", code_text(code));
        return -1;
    }
    for (size_t done = 0; done < body.size();) {
        const ssize_t n = pread(fd, body.data() + done, body.size() - done, static_cast<off_t>(done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            tell_problem("the block cannot be read: %s", n < 0 ? strerror(errno) : "it became shorter");
            return -1;
        }
        done += static_cast<size_t>(n);
    }
    return 0;
}

int check_items(ItemReader &items) noexcept {
    if (items.is_at_end()) return 0;
    tell_problem("%s, at byte %zu of the block", items.problem(), items.offset());
    return -1;
}

}  // namespace morv
