#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <unistd.h>

#include "core/base/no_throw.h"
#include "core/file/tree_walk.h"

namespace morv {

namespace {

// Removes a file or an empty folder. Answers whether it is a folder with something in it.
bool is_full(int folder, const char *name, int &code) noexcept {
    if (unlinkat(folder, name, 0) == 0 || errno == ENOENT) return false;
    // Some file systems say EPERM of a folder.
    if (errno != EISDIR && errno != EPERM) {
        if (code == 0) code = tree_code(ERR_WRITE_FAILED);
        return false;
    }
    if (unlinkat(folder, name, AT_REMOVEDIR) == 0 || errno == ENOENT) return false;
    if (errno == ENOTEMPTY || errno == EEXIST) return true;
    if (errno == ENOTDIR) errno = EPERM;  // a file that may not be removed
    if (code == 0) code = tree_code(ERR_WRITE_FAILED);
    return false;
}

int remove_folder(int at, const char *name) {
    int code = 0;
    if (!is_full(at, name, code)) return code;

    UniqueFd folder = open_folder(at, name);
    std::vector<TreeLevel> levels;
    if (!folder) return tree_code(ERR_WRITE_FAILED);
    if (int failed = open_level(folder.get(), name, levels)) return failed;
    const MountId mount = mount_of(folder.get(), levels[0].st);
    for (;;) {
        if (const char *entry = levels.back().take()) {
            if (!is_full(folder.get(), entry, code)) continue;
            UniqueFd below = open_folder(folder.get(), entry);
            int failed = below ? open_level(below.get(), entry, levels) : tree_code(ERR_WRITE_FAILED);
            if (failed == 0 && mount_of(below.get(), levels.back().st) != mount) {
                levels.pop_back();
                failed = ERR_DEVICE_BUSY;
            }
            if (failed == 0) {
                folder = std::move(below);
            } else if (code == 0) {
                code = failed;
            }
            continue;
        }
        const std::string done = std::move(levels.back().name);
        levels.pop_back();
        if (levels.empty()) {
            folder.reset();
            if (unlinkat(at, done.c_str(), AT_REMOVEDIR) != 0 && errno != ENOENT && code == 0)
                code = tree_code(ERR_WRITE_FAILED);
            return code;
        }
        UniqueFd above = open_parent(folder.get(), levels.back().st);
        if (!above) return code ? code : tree_code(ERR_WRITE_FAILED);
        folder = std::move(above);
        if (unlinkat(folder.get(), done.c_str(), AT_REMOVEDIR) != 0 && errno != ENOENT && code == 0)
            code = tree_code(ERR_WRITE_FAILED);
    }
}

}  // namespace

int remove_tree(int at, const char *name) noexcept {
    return no_throw([&] { return remove_folder(at, name); });
}

}  // namespace morv
