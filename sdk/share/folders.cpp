#include "share/folders.h"

#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <morvsdk/errcodes.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

#include "core/file/replacement_file.h"
#include "core/file/sys_path.h"
#include "core/file/tree_walk.h"
#include "core/system/command.h"

namespace morv {

namespace {

constexpr char kProgressFile[] = "/tmp/sharecopy.info";

// Nobody waits for it: what cannot be published is not. Everybody may write in the folder, so that the file
// is put in place without looking at what is there.
void publish(void *, uint64_t bytes) noexcept {
    char line[64];
    const int length = snprintf(line, sizeof line, "COPY_FILE_SIZE=\"%" PRIu64 "\"\n", bytes);
    const SysPath path(kProgressFile);
    ReplacementFile file(path.c_str());
    if (file.create_own(0644) == 0 && file.write({line, size_t(length)}) == 0) file.commit();
}

int open_places(const char *from, const char *to, PathPlace &source, PathPlace &target) noexcept {
    if (int code = source.open(from)) return code;
    struct stat st;
    if (fstatat(source.folder.get(), source.name, &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(st.st_mode))
        return ERR_PATH_NOT_FOUND;
    if (int code = target.open(to)) return code == ERR_PATH_NOT_FOUND ? ERR_WRITE_FAILED : code;
    return fstatat(target.folder.get(), target.name, &st, AT_SYMLINK_NOFOLLOW) == 0 ? ERR_FILE_EXISTS : 0;
}

// Whether the open folder is `top` or lies below it.
bool lies_in(int folder, const struct stat &top) noexcept {
    UniqueFd at = open_folder(folder, ".");
    struct stat st, last = {};
    while (at && fstat(at.get(), &st) == 0) {
        if (same_file(st, top)) return true;
        if (same_file(st, last)) return false;
        last = st;
        at = open_folder(at.get(), "..");
    }
    return false;
}

// A copy in the making. Removed again unless it was put in place.
class UnfinishedCopy {
  public:
    explicit UnfinishedCopy(const PathPlace &target) noexcept : target_(target) {
        snprintf(name_, sizeof name_, ".%.*s.sharecopy", int(sizeof name_) - 13, target.name);
    }
    ~UnfinishedCopy() {
        const int saved = errno;
        if (exists_) remove_tree(target_.folder.get(), name_);
        errno = saved;
    }
    UnfinishedCopy(const UnfinishedCopy &) = delete;
    UnfinishedCopy &operator=(const UnfinishedCopy &) = delete;

    int create() noexcept;
    int folder() const noexcept { return folder_.get(); }
    int put_in_place() noexcept;

  private:
    int make() noexcept;

    const PathPlace &target_;
    UniqueFd folder_;  // locked: a leftover is one that nobody has locked
    struct stat own_;
    bool exists_ = false;
    char name_[NAME_MAX + 1];
};

int UnfinishedCopy::make() noexcept {
    if (mkdirat(target_.folder.get(), name_, 0700) == 0) return 0;
    return errno == EEXIST ? ERR_FILE_EXISTS : tree_code(ERR_WRITE_FAILED);
}

int UnfinishedCopy::create() noexcept {
    int code = make();
    if (code == ERR_FILE_EXISTS) {
        const UniqueFd leftover = open_folder(target_.folder.get(), name_);
        if (leftover && flock(leftover.get(), LOCK_EX | LOCK_NB) != 0) return ERR_LOCK_FAILED;
        code = remove_tree(target_.folder.get(), name_);
        if (code == 0) code = make();
    }
    if (code) return code;
    exists_ = true;
    folder_ = open_folder(target_.folder.get(), name_);
    if (!folder_ || fstat(folder_.get(), &own_) != 0) return tree_code(ERR_WRITE_FAILED);
    // Somebody who can write here may have put another folder in its place.
    exists_ = own_.st_uid == geteuid() && flock(folder_.get(), LOCK_EX | LOCK_NB) == 0;
    return exists_ ? 0 : ERR_LOCK_FAILED;
}

int UnfinishedCopy::put_in_place() noexcept {
    if (int code = rename_new(target_.folder.get(), name_, target_.folder.get(), target_.name)) return code;
    exists_ = false;
    struct stat placed;
    if (fstatat(target_.folder.get(), target_.name, &placed, AT_SYMLINK_NOFOLLOW) != 0 ||
        !same_file(own_, placed)) {
        return ERR_RENAME_FAILED;
    }
    if (fsync(target_.folder.get()) == 0) return 0;
    exists_ = rename_new(target_.folder.get(), target_.name, target_.folder.get(), name_) == 0;
    return ERR_WRITE_FAILED;
}

int copy_to(const PathPlace &source, const PathPlace &target) noexcept {
    const UniqueFd from = open_folder(source.folder.get(), source.name);
    struct stat st;
    if (!from || fstat(from.get(), &st) != 0) return tree_code(ERR_PATH_NOT_FOUND);
    if (lies_in(target.folder.get(), st)) return ERR_BAD_PARAMETERS;
    UnfinishedCopy copy(target);
    int code = copy.create();
    if (code == 0) code = copy_tree(from.get(), copy.folder(), {publish, nullptr});
    unlink(SysPath(kProgressFile).c_str());
    return code ? code : copy.put_in_place();
}

struct Removal {
    int folder;
    const char *name;
};

void remove_it(void *context) noexcept {
    const Removal &removal = *static_cast<const Removal *>(context);
    remove_tree(removal.folder, removal.name);
}

}  // namespace

int copy_share_folder(const char *from, const char *to) noexcept {
    PathPlace source, target;
    if (int code = open_places(from, to, source, target)) return code;
    return copy_to(source, target);
}

int move_share_folder(const char *from, const char *to) noexcept {
    PathPlace source, target;
    if (int code = open_places(from, to, source, target)) return code;
    int code = rename_new(source.folder.get(), source.name, target.folder.get(), target.name);
    if (code == 0) {
        if (fsync(target.folder.get()) == 0 && fsync(source.folder.get()) == 0) return 0;
        rename_new(target.folder.get(), target.name, source.folder.get(), source.name);
        return ERR_WRITE_FAILED;
    }
    if (code == ERR_FILE_EXISTS) return code;
    if (errno == EINVAL) return ERR_BAD_PARAMETERS;  // into itself
    if (errno != EXDEV) return tree_code(code);

    if (int failed = copy_to(source, target)) return failed;
    code = discard_folder(source);
    if (code != 0) remove_tree(target.folder.get(), target.name);
    return code;
}

int VolumeTmp::open(int folder_on_volume, Missing missing) noexcept {
    UniqueFd at = open_folder(folder_on_volume, ".");
    struct stat st, root;
    if (!at || fstat(at.get(), &st) != 0) return ERR_PATH_NOT_FOUND;
    const MountId mount = mount_of(at.get(), st);
    const bool has_root = stat(SysPath("/").c_str(), &root) == 0;
    while (!(has_root && same_file(st, root))) {
        UniqueFd above = open_folder(at.get(), "..");
        struct stat above_st;
        if (!above || fstat(above.get(), &above_st) != 0) return ERR_PATH_NOT_FOUND;
        if (same_file(above_st, st) || mount_of(above.get(), above_st) != mount) break;
        at = std::move(above);
        st = above_st;
    }
    if (missing == kLeave && faccessat(at.get(), "@tmp", F_OK, AT_SYMLINK_NOFOLLOW) != 0)
        return ERR_PATH_NOT_FOUND;
    // For its owner alone: what was out of others' reach by the folder that it lay in stays so.
    if (mkdirat(at.get(), "@tmp", 0700) != 0 && errno != EEXIST) return ERR_CREATE_FAILED;
    folder = open_folder(at.get(), "@tmp");
    if (!folder || fstat(folder.get(), &st) != 0 || (st.st_uid != geteuid() && st.st_uid != 0))
        return ERR_CREATE_FAILED;
    return 0;
}

int VolumeTmp::take(int at, const char *name, const char *stem, char (&moved)[NAME_MAX + 1]) noexcept {
    for (long number = long(time(nullptr)), tries = 0; tries < 100000; ++number, ++tries) {
        char tail[32];
        const int tail_length = snprintf(tail, sizeof tail, ".%ld", number);
        snprintf(moved, sizeof moved, "%.*s%s", int(sizeof moved) - 1 - tail_length, stem, tail);
        const int code = rename_new(at, name, folder.get(), moved);
        if (code != ERR_FILE_EXISTS) return code && errno == ENOENT ? ERR_PATH_NOT_FOUND : code;
    }
    return ERR_RENAME_FAILED;
}

int discard_folder(const PathPlace &place) noexcept {
    struct stat st;
    if (fstatat(place.folder.get(), place.name, &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(st.st_mode))
        return ERR_PATH_NOT_FOUND;
    VolumeTmp tmp;
    char moved[NAME_MAX + 1];
    if (int code = tmp.open(place.folder.get())) return code;
    if (int code = tmp.take(place.folder.get(), place.name, place.name, moved)) return code;
    Removal removal = {tmp.folder.get(), moved};
    const int code = start_background({nullptr, remove_it, &removal}, {removal.folder});
    if (code != 0) rename_new(tmp.folder.get(), moved, place.folder.get(), place.name);
    return code;
}

}  // namespace morv
