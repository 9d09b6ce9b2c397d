#include <errno.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <morvsdk/errcodes.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "core/base/no_throw.h"
#include "core/file/attributes.h"
#include "core/file/tree_walk.h"

namespace morv {

namespace {

constexpr off_t kToTheEnd = std::numeric_limits<off_t>::max();

class TreeCopy {
  public:
    explicit TreeCopy(const CopyProgress &progress) noexcept : progress_(progress) {}

    int copy(int from, int to);

  private:
    int descend(UniqueFd &from, UniqueFd &to, const char *name);
    int copy_entry(int from, int to, const char *name, const struct stat &st);
    int copy_file(int from, int to, const char *name);
    int copy_link(int from, int to, const char *name, const struct stat &st);
    int copy_data(int from, int to, off_t size) noexcept;
    int copy_piece(int from, int to, off_t &at, off_t end) noexcept;
    ssize_t copy_block(int from, int to, off_t at, off_t end) noexcept;
    void count(uint64_t bytes) noexcept;

    const CopyProgress &progress_;
    uint64_t copied_ = 0;
    uint64_t published_ = 0;
    bool in_kernel_ = true;  // the kernel copies between files
    int top_ = -1;           // of the copy
    std::vector<TreeLevel> levels_;
    std::vector<struct stat> copies_;  // of the same folders
    std::string path_;                 // from the top to the current folder, each name ended by a slash
    std::map<std::pair<dev_t, ino_t>, std::string> first_names_;  // of files that have several
    char buffer_[128 * 1024];
};

void TreeCopy::count(uint64_t bytes) noexcept {
    copied_ += bytes;
    if (copied_ - published_ < CopyProgress::kStep) return;
    published_ = copied_;
    progress_.publish(progress_.context, copied_);
}

// Owner, attributes, mode and times, in the order in which none undoes another.
int copy_properties(int from, int to, const struct stat &st) noexcept {
    const timespec times[] = {st.st_atim, st.st_mtim};
    if (fchown(to, st.st_uid, st.st_gid) != 0 || !copy_attributes(from, to, S_ISDIR(st.st_mode)) ||
        fchmod(to, st.st_mode & 07777) != 0 || futimens(to, times) != 0) {
        return tree_code(ERR_WRITE_FAILED);
    }
    return 0;
}

// Copies some of the bytes from `at` to `end`. Answers how many, 0 at the end of the file, -1 for a failed
// read and -2 for a failed write.
ssize_t TreeCopy::copy_block(int from, int to, off_t at, off_t end) noexcept {
    if (in_kernel_) {
        off_t in = at, out = at;
        const ssize_t done =
            copy_file_range(from, &in, to, &out, size_t(std::min(end - at, off_t{16} << 20)), 0);
        if (done > 0) return done;
        if (done < 0 && errno == EINTR) return copy_block(from, to, at, end);
        if (done < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EIO || errno == EFBIG)) return -2;
        // Not between these files; and an end that comes early may be an error in the file system.
        if (done < 0) in_kernel_ = false;
    }
    ssize_t got;
    do {
        got = pread(from, buffer_, size_t(std::min(end - at, off_t{sizeof buffer_})), at);
    } while (got < 0 && errno == EINTR);
    for (ssize_t done = 0; done < got;) {
        const ssize_t put = pwrite(to, buffer_ + done, size_t(got - done), at + done);
        if (put < 0 && errno != EINTR) return -2;
        if (put > 0) done += put;
    }
    return got;
}

// Copies from `at` on, which is moved to `end` or the end of the file.
int TreeCopy::copy_piece(int from, int to, off_t &at, off_t end) noexcept {
    while (at < end) {
        const ssize_t done = copy_block(from, to, at, end);
        if (done < 0) return tree_code(done == -1 ? ERR_READ_FAILED : ERR_WRITE_FAILED);
        if (done == 0) break;
        at += done;
        count(uint64_t(done));
    }
    return 0;
}

int TreeCopy::copy_data(int from, int to, off_t size) noexcept {
    if (size > 0 && ioctl(to, FICLONE, from) == 0) {
        count(uint64_t(size));
        return 0;
    }
    off_t at = 0;
    for (;;) {
        off_t data = lseek(from, at, SEEK_DATA);
        if (data < 0 && errno == ENXIO) break;  // nothing but a hole is left
        off_t end = data < 0 ? -1 : lseek(from, data, SEEK_HOLE);
        if (data < 0) data = at;
        if (end < 0) end = kToTheEnd;  // a file system that knows no holes
        at = data;
        if (int code = copy_piece(from, to, at, end)) return code;
        if (at < end) break;
    }
    // The hole at the end.
    struct stat st;
    if (fstat(from, &st) != 0) return ERR_READ_FAILED;
    return ftruncate(to, std::max(at, st.st_size)) == 0 ? 0 : tree_code(ERR_WRITE_FAILED);
}

int TreeCopy::copy_file(int from, int to, const char *name) {
    // Without waiting: what was a file a moment ago may be a pipe now.
    const UniqueFd source(openat(from, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!source) return tree_code(ERR_READ_FAILED);
    struct stat st;
    if (fstat(source.get(), &st) != 0 || !S_ISREG(st.st_mode)) return ERR_READ_FAILED;
    UniqueFd copy(openat(to, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!copy) return tree_code(ERR_WRITE_FAILED);
    if (int code = copy_data(source.get(), copy.get(), st.st_size)) return code;
    if (int code = copy_properties(source.get(), copy.get(), st)) return code;
    return close(copy.release()) == 0 ? 0 : tree_code(ERR_WRITE_FAILED);
}

int TreeCopy::copy_link(int from, int to, const char *name, const struct stat &st) {
    char target[PATH_MAX];
    const ssize_t length = readlinkat(from, name, target, sizeof target);
    if (length < 0 || size_t(length) >= sizeof target) return tree_code(ERR_READ_FAILED);
    target[length] = '\0';
    const timespec times[] = {st.st_atim, st.st_mtim};
    if (symlinkat(target, to, name) != 0 ||
        fchownat(to, name, st.st_uid, st.st_gid, AT_SYMLINK_NOFOLLOW) != 0 ||
        utimensat(to, name, times, AT_SYMLINK_NOFOLLOW) != 0) {
        return tree_code(ERR_WRITE_FAILED);
    }
    return 0;
}

// A pipe, a socket or a device.
int copy_node(int to, const char *name, const struct stat &st) noexcept {
    const timespec times[] = {st.st_atim, st.st_mtim};
    if (mknodat(to, name, (st.st_mode & S_IFMT) | 0600, st.st_rdev) != 0 ||
        fchownat(to, name, st.st_uid, st.st_gid, AT_SYMLINK_NOFOLLOW) != 0 ||
        fchmodat(to, name, st.st_mode & 07777, 0) != 0 ||
        utimensat(to, name, times, AT_SYMLINK_NOFOLLOW) != 0) {
        return tree_code(ERR_WRITE_FAILED);
    }
    return 0;
}

int TreeCopy::copy_entry(int from, int to, const char *name, const struct stat &st) {
    if (st.st_nlink > 1) {
        const auto [first, is_new] = first_names_.try_emplace({st.st_dev, st.st_ino}, path_ + name);
        if (!is_new && linkat(top_, first->second.c_str(), to, name, 0) == 0) return 0;
        // Where there are no links, or not that many, each name becomes a file of its own.
    }
    if (S_ISREG(st.st_mode)) return copy_file(from, to, name);
    if (S_ISLNK(st.st_mode)) return copy_link(from, to, name, st);
    return copy_node(to, name, st);
}

int TreeCopy::descend(UniqueFd &from, UniqueFd &to, const char *name) {
    UniqueFd below = open_folder(from.get(), name);
    if (!below) return errno == ENOENT ? 0 : tree_code(ERR_READ_FAILED);
    if (mkdirat(to.get(), name, 0700) != 0) return tree_code(ERR_WRITE_FAILED);
    UniqueFd copy = open_folder(to.get(), name);
    struct stat st;
    if (!copy || fstat(copy.get(), &st) != 0) return tree_code(ERR_WRITE_FAILED);
    copies_.push_back(st);
    path_.append(name).push_back('/');
    if (int code = open_level(below.get(), name, levels_)) return code;
    from = std::move(below);
    to = std::move(copy);
    return 0;
}

int TreeCopy::copy(int from_top, int to_top) {
    top_ = to_top;
    UniqueFd from = open_folder(from_top, "."), to = open_folder(to_top, ".");
    struct stat st;
    if (!from || !to || fstat(to.get(), &st) != 0) return tree_code(ERR_READ_FAILED);
    copies_.push_back(st);
    if (int code = open_level(from.get(), "", levels_)) return code;
    const MountId mount = mount_of(from.get(), levels_[0].st);
    progress_.publish(progress_.context, 0);
    for (;;) {
        if (const char *name = levels_.back().take()) {
            if (fstatat(from.get(), name, &st, AT_SYMLINK_NOFOLLOW) != 0) {
                if (errno == ENOENT) continue;  // removed meanwhile
                return tree_code(ERR_READ_FAILED);
            }
            if (!S_ISDIR(st.st_mode)) {
                if (int code = copy_entry(from.get(), to.get(), name, st)) return code;
                continue;
            }
            const size_t depth = levels_.size();
            if (int code = descend(from, to, name)) return code;
            if (levels_.size() > depth && mount_of(from.get(), levels_.back().st) != mount)
                return ERR_DEVICE_BUSY;
            continue;
        }
        if (int code = copy_properties(from.get(), to.get(), levels_.back().st)) return code;
        path_.resize(path_.size() - std::min(path_.size(), levels_.back().name.size() + 1));
        levels_.pop_back();
        copies_.pop_back();
        if (levels_.empty()) break;
        UniqueFd above = open_parent(from.get(), levels_.back().st);
        if (!above) return tree_code(ERR_READ_FAILED);
        UniqueFd copy_above = open_parent(to.get(), copies_.back());
        if (!copy_above) return tree_code(ERR_WRITE_FAILED);
        from = std::move(above);
        to = std::move(copy_above);
    }
    return syncfs(top_) == 0 ? 0 : tree_code(ERR_WRITE_FAILED);
}

}  // namespace

int copy_tree(int from, int to, const CopyProgress &progress) noexcept {
    return no_throw([&] {
        // Not on the stack: it holds the buffer.
        const auto copy = std::make_unique<TreeCopy>(progress);
        return copy->copy(from, to);
    });
}

}  // namespace morv
