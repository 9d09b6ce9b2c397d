#include "core/system/sysfs.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <unistd.h>

#include <algorithm>

#include "core/base/guard.h"
#include "core/file/sys_path.h"

namespace morv {

int list_names(const char *folder, std::string_view prefix, std::vector<std::string> &names) {
    names.clear();
    const DirPtr dir(opendir(SysPath(folder).c_str()));
    if (!dir && (errno == ENOENT || errno == ENOTDIR)) return 0;
    if (!dir) return errno == ENOMEM ? ERR_OUT_OF_MEMORY : ERR_UNKNOWN;
    for (;;) {
        errno = 0;
        const dirent *const entry = readdir(dir.get());
        if (!entry) break;
        const std::string_view name = entry->d_name;
        if (name.starts_with(prefix) && name != "." && name != "..") names.emplace_back(name);
    }
    if (errno != 0) return ERR_UNKNOWN;
    std::sort(names.begin(), names.end());
    return 0;
}

int read_attribute(const char *path, std::span<char> room, std::string_view &line) noexcept {
    const UniqueFd fd(open(SysPath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd) return ERR_OPEN_FAILED;
    ssize_t got;
    do {
        got = read(fd.get(), room.data(), room.size());
    } while (got < 0 && errno == EINTR);
    if (got <= 0) return ERR_READ_FAILED;
    line = {room.data(), size_t(got)};
    line = line.substr(0, line.find('\n'));
    return 0;
}

}  // namespace morv
