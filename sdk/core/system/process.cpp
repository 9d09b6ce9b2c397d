#include "core/system/process.h"

#include <errno.h>
#include <morvsdk/errcodes.h>
#include <poll.h>
#include <stdio.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>

#include "core/file/sys_path.h"
#include "core/system/sysfs.h"
#include "core/text/fields.h"

namespace morv {

namespace {

std::string_view read_of(int pid, const char *file, std::span<char> room) noexcept {
    char path[64];
    snprintf(path, sizeof path, "/proc/%d/%s", pid, file);
    std::string_view line;
    return read_attribute(path, room, line) == 0 ? line : std::string_view();
}

struct Stat {
    std::string_view name;
    char state = '\0';  // none: it is no such line
};

// Takes "1234 (name) S ..." apart, where the name may hold anything.
Stat parse_stat(std::string_view line) noexcept {
    const size_t begin = line.find(" (");
    const size_t end = line.rfind(") ");
    if (begin == line.npos || end == line.npos || end < begin + 2 || end + 2 >= line.size()) return {};
    return {line.substr(begin + 2, end - begin - 2), line[end + 2]};
}

bool runs(const Stat &stat) noexcept {
    return stat.state != '\0' && stat.state != 'Z' && stat.state != 'X';
}

}  // namespace

bool is_running(int pid) noexcept {
    if (pid <= 0) return false;
    char room[512];
    const Stat stat = parse_stat(read_of(pid, "stat", room));
    if (stat.state) return runs(stat);
    // Others' processes may be hidden.
    return !has_system_root() && (kill(pid, 0) == 0 || errno == EPERM);
}

int find_processes(std::string_view name, std::vector<int> &pids) {
    constexpr size_t kMostName = 15;
    pids.clear();
    const DirPtr dir(opendir(SysPath("/proc").c_str()));
    if (!dir) return errno == ENOMEM ? ERR_OUT_OF_MEMORY : ERR_OPEN_FAILED;
    for (;;) {
        errno = 0;
        const dirent *const entry = readdir(dir.get());
        if (!entry) break;
        const std::string_view number = entry->d_name;
        const char *const end = number.data() + number.size();
        int pid = 0;
        if (std::from_chars(number.data(), end, pid).ptr != end || pid <= 0) continue;
        char room[512];
        errno = 0;
        const std::string_view line = read_of(pid, "stat", room);
        // One that ends meanwhile is none, nor is one that is hidden. Others must not seem to have ended.
        if (line.empty() && errno != 0 && errno != ENOENT && errno != ESRCH && errno != EACCES &&
            errno != EPERM) {
            return ERR_OPEN_FAILED;
        }
        const Stat stat = parse_stat(line);
        if (stat.name == name.substr(0, kMostName) && runs(stat)) pids.push_back(pid);
    }
    if (errno != 0) return ERR_OPEN_FAILED;
    std::sort(pids.begin(), pids.end());
    return 0;
}

int read_pid_file(const char *path) noexcept {
    char room[32];
    std::string_view line;
    if (read_attribute(path, room, line) != 0) return 0;
    const int64_t number = leading_number(line);
    return number > 1 && number <= INT32_MAX ? static_cast<int>(number) : 0;
}

int reload_daemon(const char *pid_file, std::string_view name) noexcept {
    Process daemon;
    char room[64];
    if (!daemon.open(read_pid_file(pid_file)) || daemon.name(room).find(name) == std::string_view::npos)
        return 0;
    return daemon.signal(SIGHUP) ? 1 : -1;
}

bool Process::open(int pid) noexcept {
    if (pid <= 1 || has_system_root()) return false;
    pid_ = pid;
    fd_.reset(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    return fd_ || errno != ESRCH;
}

std::string_view Process::name(std::span<char> room) const noexcept {
    return read_of(pid_, "comm", room);
}

std::string_view Process::arguments(std::span<char> room) const noexcept {
    return read_of(pid_, "cmdline", room);
}

std::string_view Process::program(std::span<char> room) const noexcept {
    char link[64];
    snprintf(link, sizeof link, "/proc/%d/exe", pid_);
    const ssize_t size = readlink(SysPath(link).c_str(), room.data(), room.size());
    return size < 0 || size_t(size) >= room.size() ? std::string_view()
                                                   : std::string_view(room.data(), size_t(size));
}

bool Process::signal(int number) const noexcept {
    const long done =
        fd_ ? syscall(SYS_pidfd_send_signal, fd_.get(), number, nullptr, 0) : kill(pid_, number);
    return done == 0 || errno == ESRCH;
}

bool Process::wait(int milliseconds) const noexcept {
    constexpr int kStep = 20;
    for (int waited = 0; is_running(pid_); waited += kStep) {
        if (waited >= milliseconds) return false;
        pollfd ended = {fd_.get(), POLLIN, 0};
        if (poll(&ended, fd_ ? 1 : 0, kStep) > 0) return true;
    }
    return true;
}

}  // namespace morv
