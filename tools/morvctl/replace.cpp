#include "morvctl/replace.h"

#include <fcntl.h>
#include <morvsdk/error.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <string>

#include "morvctl/failure.h"
#include "morvctl/signals.h"

namespace morvctl {

namespace {

constexpr char kAccessList[] = "system.posix_acl_access";

// Calls a reader of extended attributes with more and more room. Answers whether it worked.
template <class F>
bool read_attribute(F read, std::string &value) {
    for (value.resize(256);; value.resize(value.size() * 2)) {
        const ssize_t size = read(value.data(), value.size());
        if (size >= 0) value.resize(size_t(size));
        if (size >= 0 || errno != ERANGE || value.size() > (1U << 24)) return size >= 0;
    }
}

// The extended attributes, the access list among them.
bool copy_attributes(int from, int to) {
    const auto unsupported = [] { return errno == ENOTSUP || errno == ENOSYS || errno == ENODATA; };
    std::string names;
    std::string value;
    if (!read_attribute([&](char *room, size_t size) { return flistxattr(from, room, size); }, names)) {
        return unsupported();
    }
    bool has_access_list = false;
    for (const char *name = names.c_str(); name < names.c_str() + names.size(); name += strlen(name) + 1) {
        has_access_list = has_access_list || strcmp(name, kAccessList) == 0;
        const auto read = [&](char *room, size_t size) { return fgetxattr(from, name, room, size); };
        if (read_attribute(read, value) && fsetxattr(to, name, value.data(), value.size(), 0) == 0) continue;
        // Labels are the security module's own to set.
        if (strncmp(name, "security.", 9) != 0) return false;
    }
    // The folder's default access list must not open the new file for more people than the old one.
    return has_access_list || fremovexattr(to, kAccessList) == 0 || unsupported();
}

// Owner, then attributes, then mode: the change of owner clears bits of the mode, and a mode would open a list
// that the folder gave the file.
bool adopt(int from, int to) {
    struct stat st;
    return fstat(from, &st) == 0 && fchown(to, st.st_uid, st.st_gid) == 0 && copy_attributes(from, to) &&
           fchmod(to, st.st_mode & 07777) == 0;
}

// Writing clears the set-user-ID bits for all but root.
bool write_content(const Fd &fd, std::string_view content) {
    struct stat st;
    return fstat(fd.get(), &st) == 0 && write_all(fd.get(), content) &&
           ((st.st_mode & 06000) == 0 || fchmod(fd.get(), st.st_mode & 07777) == 0) && fsync(fd.get()) == 0;
}

bool sync_folder(const std::string &path) {
    const Fd folder(open(folder_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder && fsync(folder.get()) == 0;
}

}  // namespace

void replace_file(const Target &target, const Fd &old, std::string_view content) {
    const HeldSignals held;
    std::string temporary = target.path + ".XXXXXX";
    const auto fail = [&](int code) {
        MLIBErrSet(code);
        fail_library("write " + target.name);
    };
    clear_errors();
    Fd fd(mkostemp(temporary.data(), O_CLOEXEC));
    if (!fd) fail(ERR_OPEN_FAILED);
    const auto check = [&](bool done, int code) {
        if (done) return;
        const int reason = errno;
        unlink(temporary.c_str());
        errno = reason;
        fail(code);
    };
    if (old) {
        check(adopt(old.get(), fd.get()), ERR_WRITE_FAILED);
    } else {
        // Made again, so that the umask and the folder give it its mode.
        check(unlink(temporary.c_str()) == 0, ERR_OPEN_FAILED);
        fd = Fd(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        if (!fd) fail(ERR_OPEN_FAILED);
    }
    check(write_content(fd, content), ERR_WRITE_FAILED);
    check(rename(temporary.c_str(), target.path.c_str()) == 0, ERR_RENAME_FAILED);
    if (!sync_folder(target.path)) fail(ERR_WRITE_FAILED);
}

}  // namespace morvctl
