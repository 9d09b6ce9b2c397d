#include "core/file/sys_path.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace morv {

namespace {

struct SystemRoot {
    bool known;
    char dir[PATH_MAX];
};

SystemRoot root;

// The environment is read once, and not at all in a set-user-ID program: its caller must not be able to
// choose which files are the system's.
const char *system_root() noexcept {
    if (!root.known) {
        const char *dir = secure_getenv("MORV_ROOT");
        char resolved[PATH_MAX];
        // A root that does not exist must not turn into the real system.
        if (dir && *dir) set_system_root(realpath(dir, resolved) ? resolved : dir);
        root.known = true;
    }
    return root.dir;
}

}  // namespace

void set_system_root(const char *dir) noexcept {
    size_t length = strnlen(dir, sizeof root.dir - 1);
    while (length > 0 && dir[length - 1] == '/')
        --length;
    memcpy(root.dir, dir, length);
    root.dir[length] = '\0';
    root.known = true;
}

bool has_system_root() noexcept {
    return *system_root() != '\0';
}

bool leads_down(std::string_view path) noexcept {
    if (!path.starts_with('/')) return false;
    while (!path.empty()) {
        path.remove_prefix(1);
        const std::string_view name = path.substr(0, path.find('/'));
        if (name.empty() || name == "." || name == "..") return false;
        path.remove_prefix(name.size());
    }
    return true;
}

SysPath::SysPath(const char *path) noexcept {
    const int length = snprintf(text_, sizeof text_, "%s%s", system_root(), path);
    if (length < 0 || size_t(length) >= sizeof text_) text_[0] = '\0';
}

}  // namespace morv
