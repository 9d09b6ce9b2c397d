#include "core/file/replacement_file.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/file.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "core/file/attributes.h"

namespace morv {

int file_durability = MORV_ATOMIC;

namespace {

// The length of the folder part of a path, its last slash included.
size_t folder_length(const char *path) noexcept {
    const char *slash = strrchr(path, '/');
    return slash ? size_t(slash - path) + 1 : 0;
}

}  // namespace

bool follow_links(const char *path, char (&target)[PATH_MAX]) noexcept {
    if (!*path) {
        errno = ENOENT;
        return false;
    }
    if (strlen(path) >= sizeof target) {
        errno = ENAMETOOLONG;
        return false;
    }
    strncpy(target, path, sizeof target);
    for (int links = 0; links < 40; ++links) {
        char to[PATH_MAX];
        const ssize_t length = readlink(target, to, sizeof to - 1);
        if (length < 0) return true;  // no link: the end of the way
        to[length] = '\0';
        const size_t keep = to[0] == '/' ? 0 : folder_length(target);
        if (keep + size_t(length) >= sizeof target) {
            errno = ENAMETOOLONG;
            return false;
        }
        memcpy(target + keep, to, size_t(length) + 1);
    }
    errno = ELOOP;
    return false;
}

bool sync_folder(const char *path) noexcept {
    char folder[PATH_MAX];
    const size_t length = folder_length(path);
    memcpy(folder, path, length);
    folder[length] = '\0';
    const UniqueFd fd(open(length > 0 ? folder : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd && fsync(fd.get()) == 0;
}

bool write_all(int fd, std::string_view content) noexcept {
    while (!content.empty()) {
        const ssize_t done = write(fd, content.data(), content.size());
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return false;
        content.remove_prefix(size_t(done));
    }
    return true;
}

ReplacementFile::~ReplacementFile() {
    if (!exists_) return;
    const int saved = errno;
    fd_.reset();
    unlink(temporary_);
    errno = saved;
}

int ReplacementFile::create() noexcept {
    const int length =
        snprintf(temporary_, sizeof temporary_, "%s%s", target_, suffix_ ? suffix_ : ".XXXXXX");
    if (length < 0 || size_t(length) >= sizeof temporary_) {
        errno = ENAMETOOLONG;
        return ERR_OPEN_FAILED;
    }
    if (suffix_) {
        if (unlink(temporary_) != 0 && errno != ENOENT) return ERR_OPEN_FAILED;
        fd_.reset(open(temporary_, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    } else {
        fd_.reset(mkostemp(temporary_, O_CLOEXEC));
    }
    exists_ = bool(fd_);
    return exists_ ? 0 : ERR_OPEN_FAILED;
}

int ReplacementFile::create_like(int old_fd) noexcept {
    struct stat st;
    if (fstat(old_fd, &st) != 0) return ERR_STAT_FAILED;
    if (int code = create()) return code;
    mode_ = st.st_mode & 07777;
    return make_alike(old_fd, st, fd_.get()) ? 0 : ERR_WRITE_FAILED;
}

int ReplacementFile::create_own(mode_t mode) noexcept {
    if (int code = create()) return code;
    mode_ = mode;
    return fchown(fd_.get(), geteuid(), getegid()) == 0 && fchmod(fd_.get(), mode_) == 0 ? 0
                                                                                         : ERR_WRITE_FAILED;
}

int ReplacementFile::create_as_opened() noexcept {
    if (int code = create()) return code;
    // The name is taken; the file is made again, as mkostemp gives each its own mode.
    if (unlink(temporary_) != 0) return ERR_OPEN_FAILED;
    exists_ = false;
    fd_.reset(open(temporary_, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    exists_ = bool(fd_);
    return exists_ ? 0 : ERR_OPEN_FAILED;
}

int ReplacementFile::write(std::string_view content) noexcept {
    if (!write_all(fd_.get(), content)) return ERR_WRITE_FAILED;
    // For all but root writing clears them, too.
    if ((mode_ & (S_ISUID | S_ISGID)) && fchmod(fd_.get(), mode_) != 0) return ERR_WRITE_FAILED;
    return 0;
}

// A hint: it is complete() that answers for the file.
void ReplacementFile::start_sync() noexcept {
    sync_file_range(fd_.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
}

int ReplacementFile::commit() noexcept {
    const int code = complete();
    return code == 0 ? rename_over() : code;
}

int ReplacementFile::complete() noexcept {
    return fsync(fd_.get()) == 0 && close(fd_.release()) == 0 ? 0 : ERR_WRITE_FAILED;
}

int ReplacementFile::rename_over() noexcept {
    if (rename(temporary_, target_) != 0) return ERR_RENAME_FAILED;
    exists_ = false;
    if (file_durability == MORV_DURABLE && !sync_folder(target_)) return ERR_WRITE_FAILED;
    return 0;
}

}  // namespace morv
