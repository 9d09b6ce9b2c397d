#include "core/file/tree.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "core/base/no_throw.h"
#include "core/file/tree_walk.h"

namespace morv {

UniqueFd open_folder(int at, const char *name) noexcept {
    return UniqueFd(openat(at, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

int PathPlace::open(const char *path) noexcept {
    std::string_view rest = path;
    while (rest.ends_with('/'))
        rest.remove_suffix(1);
    const size_t slash = rest.rfind('/');
    const std::string_view last = slash == rest.npos ? rest : rest.substr(slash + 1);
    if (last.empty() || last == "." || last == ".." || last.size() > NAME_MAX || slash >= PATH_MAX) {
        errno = ENOENT;
        return ERR_PATH_NOT_FOUND;
    }
    memcpy(name, last.data(), last.size());
    name[last.size()] = '\0';
    return no_throw([&] {
        const std::string above = slash == rest.npos ? "." : std::string(rest.substr(0, slash + 1));
        folder.reset(::open(above.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        return folder ? 0 : tree_code(ERR_PATH_NOT_FOUND);
    });
}

int rename_new(int from_folder, const char *from, int to_folder, const char *to) noexcept {
    if (renameat2(from_folder, from, to_folder, to, RENAME_NOREPLACE) == 0) return 0;
    if (errno == EEXIST) return ERR_FILE_EXISTS;
    if (errno != EINVAL && errno != ENOSYS) return ERR_RENAME_FAILED;
    // A file system that cannot look and rename in one step.
    struct stat st;
    if (fstatat(to_folder, to, &st, AT_SYMLINK_NOFOLLOW) == 0) return ERR_FILE_EXISTS;
    return renameat(from_folder, from, to_folder, to) == 0 ? 0 : ERR_RENAME_FAILED;
}

MountId mount_of(int folder, const struct stat &st) noexcept {
    struct statx more;
    if (statx(folder, "", AT_EMPTY_PATH, STATX_MNT_ID, &more) != 0 || !(more.stx_mask & STATX_MNT_ID))
        return {0, st.st_dev};
    return {more.stx_mnt_id, st.st_dev};
}

int open_level(int folder, const char *name, std::vector<TreeLevel> &levels) {
    TreeLevel level;
    level.name = name;
    if (fstat(folder, &level.st) != 0) return tree_code(ERR_READ_FAILED);
    // Anew, as a stream takes its descriptor with it.
    UniqueFd own = open_folder(folder, ".");
    if (!own) return tree_code(ERR_READ_FAILED);
    const DirPtr dir(fdopendir(own.get()));
    if (!dir) return tree_code(ERR_READ_FAILED);
    own.release();
    for (;;) {
        errno = 0;
        const dirent *entry = readdir(dir.get());
        if (!entry) break;
        const std::string_view found = entry->d_name;
        if (found != "." && found != "..") level.names.append(found).push_back('\0');
    }
    if (errno != 0) return tree_code(ERR_READ_FAILED);
    levels.push_back(std::move(level));
    return 0;
}

UniqueFd open_parent(int folder, const struct stat &expected) noexcept {
    UniqueFd parent = open_folder(folder, "..");
    struct stat st;
    if (parent && (fstat(parent.get(), &st) != 0 || !same_file(st, expected))) {
        parent.reset();
        errno = ESTALE;
    }
    return parent;
}

int tree_code(int otherwise) noexcept {
    switch (errno) {
        case ENOSPC:
        case EDQUOT:
            return ERR_NOT_ENOUGH_SPACE;
        case EACCES:
        case EPERM:
            return ERR_ACCESS_DENIED;
        case ENOMEM:
            return ERR_OUT_OF_MEMORY;
        case EBUSY:
            return ERR_DEVICE_BUSY;
        default:
            return otherwise;
    }
}

}  // namespace morv
