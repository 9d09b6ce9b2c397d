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

std::string read_content(const Target &target) {
    const Fd fd(open(target.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat st;
    if (!fd || fstat(fd.get(), &st) != 0) {
        MLIBErrSet(ERR_OPEN_FAILED);
        fail_library("read " + target.name);
    }
    if (!S_ISREG(st.st_mode)) {
        MLIBErrSet(ERR_OPEN_FAILED);
        errno = 0;
        fail_library("read " + target.name);
    }
    std::string content;
    char buffer[65536];
    for (;;) {
        const ssize_t got = read(fd.get(), buffer, sizeof buffer);
        if (got == 0) return content;
        if (got < 0) {
            MLIBErrSet(ERR_READ_FAILED);
            fail_library("read " + target.name);
        }
        content.append(buffer, size_t(got));
    }
}

}  // namespace morvctl
