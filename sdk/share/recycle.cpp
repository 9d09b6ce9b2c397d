#include "share/recycle.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/attributes.h"
#include "core/file/sys_path.h"
#include "core/file/tree_walk.h"
#include "core/system/command.h"
#include "share/folders.h"

namespace morv {

namespace {

constexpr char kPidFile[] = "/tmp/cleanrecycle.pid";
constexpr char kBin[] = "#recycle";
constexpr char kStem[] = "recycle";

// Opens the pid file; nothing with errno ENOENT when it is missing and not to be made. It lies where
// everybody can write: what is not ours counts as missing. Others cannot open ours, so that nobody else can
// lock it.
UniqueFd open_pid_file(bool make) noexcept {
    const SysPath path(kPidFile);
    for (int tries = 0; tries < 2; ++tries) {
        UniqueFd fd(
            open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | (make ? O_CREAT : 0), 0600));
        struct stat st;
        const bool foreign = fd || errno == ELOOP || (make && errno == EACCES);
        if (!foreign) return fd;
        if (fd && fstat(fd.get(), &st) == 0 && S_ISREG(st.st_mode) && st.st_uid == geteuid() &&
            (st.st_mode & 077) == 0 && st.st_nlink == 1) {
            return fd;
        }
        if (make && unlink(path.c_str()) != 0) break;
    }
    if (!make) errno = ENOENT;
    return UniqueFd();
}

struct flock whole_file(int type) noexcept {
    struct flock lock = {};
    lock.l_type = short(type);
    lock.l_whence = SEEK_SET;
    return lock;
}

// The process that holds the lock, 0 for none. One in another process namespace has no number here: -1.
pid_t holder_of(int fd) noexcept {
    struct flock lock = whole_file(F_RDLCK);
    if (fcntl(fd, F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) return 0;
    return lock.l_pid > 0 ? lock.l_pid : -1;
}

struct Cleaning {
    const std::vector<std::string> &folders;
    const std::vector<std::string> &homes;
    int pid_file;
    std::vector<std::string> tmp_paths;  // of the volumes that were met

    void add(std::string path) {
        if (!path.empty() && std::find(tmp_paths.begin(), tmp_paths.end(), path) == tmp_paths.end())
            tmp_paths.push_back(std::move(path));
    }
};

// Makes the bin anew that was moved away, for the same people as before.
void renew_bin(int folder, int old_bin) noexcept {
    struct stat st;
    if (fstat(old_bin, &st) != 0 || mkdirat(folder, kBin, 0700) != 0) return;
    const UniqueFd bin = open_folder(folder, kBin);
    if (!bin || fchown(bin.get(), st.st_uid, st.st_gid) != 0 || !copy_attributes(old_bin, bin.get(), true) ||
        fchmod(bin.get(), st.st_mode & 07777) != 0) {
        // Not for others than before: whoever needs it makes another one.
        unlinkat(folder, kBin, AT_REMOVEDIR);
    }
}

// The path of an open folder, for tools; empty when it cannot be told.
std::string path_of(int folder) {
    char link[64], path[PATH_MAX];
    snprintf(link, sizeof link, "/proc/self/fd/%d", folder);
    const ssize_t length = readlink(link, path, sizeof path);
    return length <= 0 || size_t(length) >= sizeof path ? std::string() : std::string(path, size_t(length));
}

void move_bin(Cleaning &cleaning, int folder) {
    const UniqueFd bin = open_folder(folder, kBin);
    std::vector<TreeLevel> levels;
    if (!bin || open_level(bin.get(), kBin, levels) != 0 || levels[0].names.empty()) return;
    VolumeTmp tmp;
    char moved[NAME_MAX + 1];
    std::string tmp_path;
    int code = tmp.open(folder);
    if (code == 0 && (tmp_path = path_of(tmp.folder.get())).empty()) code = ERR_PATH_NOT_FOUND;
    if (code == 0) code = tmp.take(folder, kBin, kStem, moved);
    if (code != 0) {
        MORV_LOG(LOG_ERR, "Cannot move %s, morverr=0x%04X, errno=%d/%m", kBin, unsigned(code), errno);
        return;
    }
    renew_bin(folder, bin.get());
    cleaning.add(std::move(tmp_path));
}

// What a process that was ended has left on the folder's volume is to be removed, whether or not a bin is
// moved there.
void note_tmp(Cleaning &cleaning, int folder) {
    VolumeTmp tmp;
    if (tmp.open(folder, VolumeTmp::kLeave) == 0) cleaning.add(path_of(tmp.folder.get()));
}

void move_home_bins(Cleaning &cleaning, const std::string &homes) {
    // The folder of the homes may be reached through a link; a home may not.
    const UniqueFd all(open(homes.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::vector<TreeLevel> levels;
    if (!all || open_level(all.get(), "", levels) != 0) return;
    note_tmp(cleaning, all.get());
    while (const char *name = levels[0].take()) {
        const UniqueFd home = open_folder(all.get(), name);
        if (home) move_bin(cleaning, home.get());
    }
}

bool is_moved_bin(std::string_view name) noexcept {
    const std::string_view stem = kStem;
    if (!name.starts_with(stem) || name.size() < stem.size() + 2 || name[stem.size()] != '.') return false;
    return name.find_first_not_of("0123456789", stem.size() + 1) == name.npos;
}

// Also those that an earlier process was ended before.
void remove_bins(const std::string &tmp_path) {
    const UniqueFd tmp(open(tmp_path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    std::vector<TreeLevel> levels;
    if (!tmp || open_level(tmp.get(), "", levels) != 0) return;
    while (const char *name = levels[0].take()) {
        if (!is_moved_bin(name)) continue;
        const std::string path = tmp_path + "/" + name;
        if (run_tool("/bin/rm -Rf %s", {path}) != 0) MORV_LOG(LOG_ERR, "Cannot remove %s", path.c_str());
    }
}

void end_group(int) noexcept {
    kill(0, SIGKILL);
}

int prepare(void *context) noexcept {
    auto &cleaning = *static_cast<Cleaning *>(context);
    cleaning.pid_file = open_pid_file(true).release();
    if (cleaning.pid_file < 0) return ERR_WRITE_FAILED;
    struct flock lock = whole_file(F_WRLCK);
    if (fcntl(cleaning.pid_file, F_SETLK, &lock) != 0)
        return errno == EAGAIN || errno == EACCES ? ERR_OP_FAILURE : ERR_WRITE_FAILED;
    // A tool that runs is to end together with this process.
    struct sigaction action = {};
    action.sa_handler = end_group;
    sigaction(SIGTERM, &action, nullptr);
    const int code = run_tool("/bin/echo %u >%s", {unsigned(getpid()), SysPath(kPidFile).c_str()});
    return code == ERR_SYS_UNKNOWN ? ERR_WRITE_FAILED : code;
}

void clean(void *context) noexcept {
    auto &cleaning = *static_cast<Cleaning *>(context);
    // All bins are empty soon; what takes long comes after.
    no_throw([&] {
        for (const std::string &path : cleaning.folders) {
            const UniqueFd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (!folder) continue;
            note_tmp(cleaning, folder.get());
            move_bin(cleaning, folder.get());
        }
        for (const std::string &path : cleaning.homes)
            move_home_bins(cleaning, path);
        return 0;
    });
    no_throw([&] {
        for (const std::string &path : cleaning.tmp_paths)
            remove_bins(path);
        return 0;
    });
    if (ftruncate(cleaning.pid_file, 0) != 0) MORV_LOG(LOG_ERR, "Cannot empty %s, errno=%m", kPidFile);
}

// Sends a signal to the process that holds the lock, and to no other that has got its number meanwhile.
bool signal_holder(int fd, pid_t holder, int number) noexcept {
    const UniqueFd process(int(syscall(SYS_pidfd_open, holder, 0)));
    const bool exact = bool(process) || errno == ESRCH;
    if (holder_of(fd) != holder) return true;  // ended by itself
    if (!exact) return kill(holder, number) == 0 || errno == ESRCH;
    return syscall(SYS_pidfd_send_signal, process.get(), number, nullptr, 0) == 0 || errno == ESRCH;
}

bool wait_for_end(int fd, pid_t holder) noexcept {
    for (int i = 0; i < 500; ++i) {
        if (holder_of(fd) != holder) return true;
        usleep(10000);
    }
    return false;
}

}  // namespace

int start_cleaning(const std::vector<std::string> &folders, const std::vector<std::string> &homes) {
    Cleaning cleaning = {folders, homes, -1, {}};
    return start_background({prepare, clean, &cleaning});
}

int is_cleaning(int &code) noexcept {
    const UniqueFd fd = open_pid_file(false);
    if (fd) return holder_of(fd.get()) != 0;
    if (errno == ENOENT) return 0;
    code = errno == EACCES ? ERR_ACCESS_DENIED : ERR_OPEN_FAILED;
    return -1;
}

int stop_cleaning() noexcept {
    const UniqueFd fd = open_pid_file(false);
    if (!fd) return errno == ENOENT ? 0 : errno == EACCES ? ERR_ACCESS_DENIED : ERR_OPEN_FAILED;
    const pid_t holder = holder_of(fd.get());
    if (holder == 0) return 0;
    if (holder < 0 || !signal_holder(fd.get(), holder, SIGTERM)) return ERR_SYS_UNKNOWN;
    if (!wait_for_end(fd.get(), holder) &&
        (!signal_holder(fd.get(), holder, SIGKILL) || !wait_for_end(fd.get(), holder))) {
        return ERR_SYS_UNKNOWN;
    }
    // The number in the file is out of date, unless there is a new process.
    struct flock lock = whole_file(F_WRLCK);
    if (fcntl(fd.get(), F_SETLK, &lock) == 0 && ftruncate(fd.get(), 0) != 0) return ERR_WRITE_FAILED;
    return 0;
}

}  // namespace morv
