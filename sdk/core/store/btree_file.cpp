#include "core/store/btree_file.h"

#include <db_185.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "core/base/guard.h"
#include "core/store/btree_check.h"
#include "core/store/native_db.h"

namespace morv {

namespace {

constexpr int kAttempts = 10;
// Opening a btree takes a third of it, in small blocks. With 64 KiB or more, malloc would tidy up its heap at
// each probe.
constexpr size_t kOpenMemory = size_t{48} * 1024;

// The files found sound last. A process opens the same few stores over and over, and looking through a store
// costs more than opening it.
struct KnownFile {
    dev_t device;
    ino_t inode;
    off_t size;
    timespec modified;
    timespec changed;
    bool duplicates;
};

KnownFile known_files[16];
unsigned next_known;

bool same(const timespec &a, const timespec &b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

const KnownFile *find_known(const struct stat &st) {
    for (const KnownFile &k : known_files) {
        if (k.inode == st.st_ino && k.device == st.st_dev && k.size == st.st_size && k.size != 0 &&
            same(k.modified, st.st_mtim) && same(k.changed, st.st_ctim)) {
            return &k;
        }
    }
    return nullptr;
}

// Whether any later change gives the file another time of change. `now` was read before the file was; times
// advance in ticks of up to 10 ms, on file systems that keep whole seconds by up to two of them.
bool settled(const timespec &changed, const timespec &now) {
    const long long tick = changed.tv_nsec == 0 ? 2'000'000'000 : 20'000'000;
    const long long age = (static_cast<long long>(now.tv_sec) - changed.tv_sec) * 1'000'000'000 +
                          (now.tv_nsec - changed.tv_nsec);
    return age > tick;
}

int refuse_type(mode_t mode) {
    if (S_ISREG(mode)) return 0;
    return S_ISDIR(mode) ? EISDIR : EOPNOTSUPP;
}

// `st` is what `path` was a moment ago, and becomes what the file looked at is.
int check_file(const char *path, struct stat *st, bool *duplicates) {
    if (const KnownFile *k = find_known(*st)) {
        *duplicates = k->duplicates;
        return 0;
    }
    UniqueFd file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file || fstat(file.get(), st) != 0) return errno;
    if (const int refused = refuse_type(st->st_mode)) return refused;
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    if (const int refused = check_btree(file.get(), static_cast<uint64_t>(st->st_size), duplicates))
        return refused;
    if (settled(st->st_ctim, now)) {
        known_files[next_known] = {st->st_dev,  st->st_ino,  st->st_size,
                                   st->st_mtim, st->st_ctim, *duplicates};
        next_known = (next_known + 1) % (sizeof known_files / sizeof known_files[0]);
    }
    return 0;
}

int rename_to_free_name(const char *from, const char *to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    if (link(from, to) != 0) return errno;
    unlink(from);
    return 0;
}

// Makes an empty btree at a path that does not exist. It is made under a random name: Berkeley DB's own
// intermediate name is the same each time, and a file left over there would block it for minutes.
int create_file(const char *path, bool duplicates, mode_t mode) {
    char name[PATH_MAX];
    if (const int failed = name_beside(path, name, sizeof name)) return failed;
    int result = create_btree(name, duplicates, int(mode));
    if (result == 0) result = rename_to_free_name(name, path);
    if (result != 0) unlink(name);
    return result;
}

// Berkeley DB prints where an allocation fails while it opens a file, and does not survive each of them.
bool memory_for_opening() {
    void *volatile probe = malloc(kOpenMemory);
    free(probe);
    return probe != nullptr;
}

}  // namespace

int name_beside(const char *path, char *name, unsigned long room) noexcept {
    uint64_t number;
    if (getrandom(&number, sizeof number, 0) != sizeof number) return EIO;
    const int length = snprintf(name, room, "%s.%016llx", path, static_cast<unsigned long long>(number));
    return length < 0 || static_cast<unsigned long>(length) >= room ? ENAMETOOLONG : 0;
}

int open_btree(const char *path, int flags, bool duplicates, mode_t create_mode, struct __db **db,
               mode_t *mode) noexcept {
    const int access = flags & O_ACCMODE;
    if ((access != O_RDONLY && access != O_RDWR && access != O_WRONLY) ||
        (access == O_RDONLY && (flags & O_TRUNC))) {
        return EINVAL;
    }
    if (!memory_for_opening()) return ENOMEM;

    // Each round that is not the last is one in which the file was created, emptied, replaced or removed.
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        struct stat st;
        // What is emptied is not found through a link.
        if ((flags & O_TRUNC ? lstat(path, &st) : stat(path, &st)) != 0) {
            if (errno != ENOENT || !(flags & O_CREAT)) return errno;
            if (lstat(path, &st) == 0) return ELOOP;
            const int failed = create_file(path, duplicates, create_mode);
            if (failed && failed != EEXIST) return failed;
            if (!failed) flags &= ~(O_CREAT | O_EXCL | O_TRUNC);
            continue;
        }
        if ((flags & O_CREAT) && (flags & O_EXCL)) return EEXIST;
        if (S_ISLNK(st.st_mode)) return ELOOP;
        if (const int refused = refuse_type(st.st_mode)) return refused;
        bool has_duplicates;
        const bool nothing_to_lose = (flags & O_TRUNC) && st.st_size == 0;
        int failed = nothing_to_lose ? 0 : check_file(path, &st, &has_duplicates);
        if (failed == ENOENT) continue;
        if (failed) return failed;
        if (flags & O_TRUNC) {
            failed = create_btree(path, duplicates, int(create_mode));
            if (failed) return failed;
            flags &= ~O_TRUNC;
            continue;
        }
        if (duplicates && !has_duplicates) return EINVAL;

        BTREEINFO info;
        memset(&info, 0, sizeof info);
        info.flags = R_DUP;
        errno = 0;
        DB *const opened = dbopen(path, access == O_RDONLY ? O_RDONLY : O_RDWR, 0666, DB_BTREE,
                                  duplicates ? &info : nullptr);
        if (!opened) {
            if (errno == ENOENT) continue;
            return errno ? errno : EIO;
        }
        silence_btree(opened->internal);
        struct stat now;
        if (fstat(opened->fd(opened), &now) == 0 && now.st_ino == st.st_ino && now.st_dev == st.st_dev) {
            *db = opened;
            *mode = now.st_mode;
            return 0;
        }
        opened->close(opened);
    }
    return flags & O_CREAT ? EBUSY : ENOENT;
}

}  // namespace morv
