#include "core/file/attributes.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "core/base/guard.h"

namespace morv {

namespace {

constexpr char kAccessList[] = "system.posix_acl_access";
constexpr char kDefaultList[] = "system.posix_acl_default";

bool copy_attribute(int from, int to, const char *name) noexcept {
    char small[256];
    ssize_t size = fgetxattr(from, name, small, sizeof small);
    if (size >= 0) return fsetxattr(to, name, small, size_t(size), 0) == 0;
    if (errno != ERANGE) return false;
    size = fgetxattr(from, name, nullptr, 0);
    if (size < 0) return false;
    const MallocPtr<void> value(malloc(size_t(size)));
    if (!value) return false;
    size = fgetxattr(from, name, value.get(), size_t(size));
    return size >= 0 && fsetxattr(to, name, value.get(), size_t(size), 0) == 0;
}

bool remove_attribute(int fd, const char *name) noexcept {
    return fremovexattr(fd, name) == 0 || errno == ENODATA || errno == ENOTSUP || errno == ENOSYS;
}

}  // namespace

// Labels that the kernel's security module keeps for itself are its own to set on the new file.
bool copy_attributes(int from, int to, bool is_folder) noexcept {
    char small[1024];
    MallocPtr<char> large;
    char *names = small;
    ssize_t size = flistxattr(from, small, sizeof small);
    if (size < 0 && errno == ERANGE) {
        size = flistxattr(from, nullptr, 0);
        if (size < 0) return false;
        large.reset(static_cast<char *>(malloc(size_t(size))));
        if (!large) return false;
        names = large.get();
        size = flistxattr(from, names, size_t(size));
    }
    if (size < 0) return errno == ENOTSUP || errno == ENOSYS;

    bool has_access_list = false, has_default_list = false;
    for (const char *name = names; name < names + size; name += strlen(name) + 1) {
        if (strcmp(name, kAccessList) == 0) has_access_list = true;
        if (strcmp(name, kDefaultList) == 0) has_default_list = true;
        if (copy_attribute(from, to, name)) continue;
        if (strncmp(name, "security.", 9) != 0) return false;
    }
    // The folder's default access list must not open the new file for more people than the old one.
    return (has_access_list || remove_attribute(to, kAccessList)) &&
           (!is_folder || has_default_list || remove_attribute(to, kDefaultList));
}

// The owner first: a change of owner clears the set-user-ID bits. The mode last: it would open a list that
// the folder gave the file to all who are on it.
bool make_alike(int from, const struct stat &st, int to) noexcept {
    return fchown(to, st.st_uid, st.st_gid) == 0 && copy_attributes(from, to, false) &&
           fchmod(to, st.st_mode & 07777) == 0;
}

}  // namespace morv
