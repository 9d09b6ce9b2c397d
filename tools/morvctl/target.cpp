#include "morvctl/target.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "morvctl/fd.h"

namespace morvctl {

namespace {

constexpr int kMaxLinks = 40;

std::string read_link(const std::string &path) {
    char buffer[PATH_MAX];
    const ssize_t length = readlink(path.c_str(), buffer, sizeof buffer);
    return length > 0 && size_t(length) < sizeof buffer ? std::string(buffer, size_t(length)) : "";
}

void drop_last_part(std::string &path) {
    path.erase(path.rfind('/'));
}

// Follows the links of an absolute `path` as a program would see them whose root folder is `root`. What does
// not exist stays as it is written.
std::string resolve(const std::string &root, const std::string &path, const std::string &name) {
    std::string rest = path;
    std::string found;  // "" or "/part/part", below the root
    for (int links = 0; !rest.empty();) {
        const size_t start = rest.find_first_not_of('/');
        if (start == rest.npos) break;
        const size_t end = std::min(rest.find('/', start), rest.size());
        const std::string part = rest.substr(start, end - start);
        rest.erase(0, end);
        if (part == ".") continue;
        if (part == "..") {
            if (!found.empty()) drop_last_part(found);
            continue;
        }
        found.append("/").append(part);
        const std::string link = read_link(root + found);
        if (link.empty()) continue;
        if (++links > kMaxLinks) {
            errno = ELOOP;
            fail_system("find " + name);
        }
        if (link[0] == '/') {
            found.clear();
        } else {
            drop_last_part(found);
        }
        rest.insert(0, link);
    }
    return root + (found.empty() ? "/" : found);
}

}  // namespace

void set_root(Session &session) {
    if (session.root.empty()) {
        if (const char *root = secure_getenv("MORV_ROOT")) session.root = root;
    }
    if (session.root.empty()) return;
    char resolved[PATH_MAX];
    struct stat st;
    if (!realpath(session.root.c_str(), resolved) || stat(resolved, &st) != 0) {
        fail_system("use " + session.root + " as the system root");
    }
    if (!S_ISDIR(st.st_mode)) {
        errno = ENOTDIR;
        fail_system("use " + session.root + " as the system root");
    }
    clear_errors();
    if (MORVSysRootSet(resolved) != 0) fail_library("use " + session.root + " as the system root");
    session.root = resolved;
    if (session.root == "/") session.root.clear();
}

Target find_target(const Session &session, const std::string &name) {
    if (name.empty()) refuse("the name of a file is empty");
    if (name[0] == '/') return {name, resolve(session.root, name, name)};
    char folder[PATH_MAX];
    if (!getcwd(folder, sizeof folder)) fail_system("find the current folder");
    return {name, resolve("", std::string(folder) + "/" + name, name)};
}

std::string system_path(const Session &session, const std::string &path) {
    return resolve(session.root, path, path);
}

bool exists(const Target &target) {
    struct stat st;
    return stat(target.path.c_str(), &st) == 0;
}

std::string folder_of(const std::string &path) {
    const size_t slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

Fd open_file(const Target &target, bool may_be_missing) {
    clear_errors();
    Fd fd(open(target.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!fd && errno == ENOENT && may_be_missing) return fd;
    struct stat st;
    const bool known = fd && fstat(fd.get(), &st) == 0;
    if (!known || !S_ISREG(st.st_mode)) {
        MLIBErrSet(ERR_OPEN_FAILED);
        fail_library("read " + target.name);
    }
    return fd;
}

std::string read_content(const Target &target, const Fd &fd) {
    std::string content;
    if (!read_all(fd.get(), content)) {
        MLIBErrSet(ERR_READ_FAILED);
        fail_library("read " + target.name);
    }
    return content;
}

std::string read_content(const Target &target) {
    return read_content(target, open_file(target));
}

}  // namespace morvctl
