// Which file a path names, and which state of it: what was read from it holds as long as the stamp stays.
#pragma once

#include <sys/stat.h>
#include <time.h>

namespace morv {

struct FileStamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec changed = {}, written = {};

    FileStamp() noexcept = default;
    explicit FileStamp(const struct stat &st) noexcept
        : device(st.st_dev), inode(st.st_ino), size(st.st_size), changed(st.st_ctim), written(st.st_mtim) {}

    bool operator==(const FileStamp &other) const noexcept {
        return device == other.device && inode == other.inode && size == other.size &&
               is_same(changed, other.changed) && is_same(written, other.written);
    }

    // Whether a further change would show: a file that was written only now may be written once more without
    // a sign of it in its times.
    bool is_settled() const noexcept {
        timespec now = {};
        clock_gettime(CLOCK_REALTIME, &now);
        return changed.tv_sec + 1 < now.tv_sec;
    }

  private:
    static bool is_same(const timespec &a, const timespec &b) noexcept {
        return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
    }
};

}  // namespace morv
