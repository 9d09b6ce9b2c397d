#include "core/storage/md_array.h"

#include <errno.h>
#include <linux/fs.h>
#include <linux/major.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>

#include "core/storage/device_name.h"
#include "core/system/sysfs.h"
#include "core/text/trim.h"

namespace morv {

namespace {

// The appliance's own call of the md driver.
struct SyncStatus {
    uint32_t active;  // not 0: a resync is running
    uint32_t done;    // 0 while that is not known
    uint32_t total;
};
constexpr unsigned long kSyncStatus = _IOR(MD_MAJOR, 0x60, SyncStatus);

int ioctl_code() noexcept {
    return errno == ENODEV ? ERR_PATH_NOT_FOUND : ERR_UNKNOWN;
}

RAID_REBUILD make_rebuild(bool active, uint32_t done, uint32_t total) noexcept {
    if (!active) return {RAID_REBUILD_NONE, {0, 0}};
    if (done == 0) return {RAID_REBUILD_PENDING, {0, 0}};
    return {RAID_REBUILD_RUNNING, {static_cast<int32_t>(done), static_cast<int32_t>(total)}};
}

// A number at the beginning of `text`, which then begins behind it.
bool take_number(std::string_view &text, uint64_t &number) noexcept {
    text = trim_blanks(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return false;
    text.remove_prefix(size_t(end - text.data()));
    return true;
}

// One of the files of a resync; `missing` where there is none, as for levels without redundancy.
int read_sync_file(int32_t number, const char *name, std::span<char> room, std::string_view missing,
                   std::string_view &line) noexcept {
    char path[64];
    snprintf(path, sizeof path, "/sys/block/md%d/md/%s", number, name);
    const int code = read_attribute(path, room, line);
    if (code == ERR_OPEN_FAILED && errno == ENOENT) line = missing;
    return code == 0 || line.data() == missing.data() ? 0 : ERR_UNKNOWN;
}

int read_sync_files(int fd, RAID_REBUILD &rebuild) noexcept {
    int32_t number;
    char action_room[32], completed_room[64];
    std::string_view action, completed;
    if (!md_number(fd, number) || read_sync_file(number, "sync_action", action_room, "idle", action) != 0 ||
        read_sync_file(number, "sync_completed", completed_room, "none", completed) != 0) {
        return ERR_UNKNOWN;
    }
    rebuild = parse_sync(action, completed);
    return 0;
}

}  // namespace

bool md_number(int fd, int32_t &number) noexcept {
    char link[64], target[4096];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t size = readlink(link, target, sizeof target);
    if (size <= 0 || size_t(size) == sizeof target) return false;
    return number_behind(last_name({target, size_t(size)}), "md", number);
}

int md_description(int fd, mdu_array_info_t &array) noexcept {
    return ioctl(fd, GET_ARRAY_INFO, &array) == 0 ? 0 : ioctl_code();
}

int md_size(int fd, uint64_t &bytes) noexcept {
    return ioctl(fd, BLKGETSIZE64, &bytes) == 0 ? 0 : ioctl_code();
}

RAID_REBUILD parse_sync(std::string_view action, std::string_view completed) noexcept {
    const std::string_view word = trim_blanks(action);
    const bool active = !word.empty() && word != "idle" && word != "frozen";
    uint64_t done = 0, total = 0;
    if (!take_number(completed, done) || !(completed = trim_blanks(completed)).starts_with('/') ||
        (completed.remove_prefix(1), !take_number(completed, total))) {
        done = total = 0;
    }
    while (done > INT32_MAX || total > INT32_MAX) {
        done /= 2;
        total /= 2;
    }
    // The kernel counts in steps of a sixteenth: a resync of known length that has none done yet does run.
    if (total > 0 && done == 0) done = 1;
    return make_rebuild(active, uint32_t(done), uint32_t(total));
}

int md_rebuild(int fd, RAID_REBUILD &rebuild) noexcept {
    SyncStatus status = {};
    if (ioctl(fd, kSyncStatus, &status) == 0) {
        rebuild = make_rebuild(status.active != 0, status.done, status.total);
        return 0;
    }
    // Other kernels than the appliance's do not know the call.
    if (errno == ENOTTY || errno == EINVAL) return read_sync_files(fd, rebuild);
    return ioctl_code();
}

uint64_t md_component_size(const mdu_array_info_t &array, int32_t number) noexcept {
    if (array.size < 0) {
        char path[64], room[32];
        std::string_view line;
        uint64_t kib;
        snprintf(path, sizeof path, "/sys/block/md%d/md/component_size", number);
        if (read_attribute(path, room, line) == 0 && take_number(line, kib) && kib <= UINT64_MAX / 1024)
            return kib * 1024;
    }
    return static_cast<uint64_t>(int64_t{array.size} * 1024);
}

}  // namespace morv
