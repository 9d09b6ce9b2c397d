#include "support/fake_md.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/blkpg.h>
#include <linux/fs.h>
#include <linux/major.h>
#include <linux/raid/md_u.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <new>
#include <string>

namespace {

unsigned long failing_request = 0;
int failing_error = 0;

int answer(int error) {
    errno = error;
    return error ? -1 : 0;
}

bool read_text(const std::string &path, std::string &text) {
    char room[256];
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const ssize_t size = read(fd, room, sizeof room);
    close(fd);
    if (size < 0) return false;
    text.assign(room, size_t(size));
    return true;
}

long long read_number(const std::string &path) {
    std::string text;
    return read_text(path, text) ? atoll(text.c_str()) : 0;
}

bool write_text(const std::string &path, const std::string &text) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    const bool done = write(fd, text.data(), text.size()) == ssize_t(text.size());
    return close(fd) == 0 && done;
}

// The folder of an open device, and its name.
struct Device {
    std::string root, name, folder;

    bool find(int fd) {
        char link[64], target[4096];
        snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
        const ssize_t size = readlink(link, target, sizeof target);
        if (size <= 0) return false;
        const std::string path(target, size_t(size));
        const size_t at = path.rfind("/dev/");
        if (at == path.npos) return false;
        root = path.substr(0, at);
        name = path.substr(at + 5);
        folder = root + "/sys/block/" + name;
        return access((root + "/sys/block").c_str(), F_OK) == 0;
    }
};

int array_info(const Device &device, mdu_array_info_t &info) {
    std::string level;
    if (!read_text(device.folder + "/md/level", level)) return answer(ENODEV);
    memset(&info, 0, sizeof info);
    info.level = level.starts_with("linear") ? -1 : level.starts_with("raid") ? atoi(level.c_str() + 4) : -4;
    info.raid_disks = int(read_number(device.folder + "/md/raid_disks"));
    const long long size = read_number(device.folder + "/md/component_size");
    info.size = size > INT32_MAX ? -1 : int(size);
    return answer(0);
}

int sync_status(const Device &device, uint32_t *words) {
    std::string text;
    if (!read_text(device.folder + "/md/sync_status", text)) return answer(ENOTTY);
    return answer(sscanf(text.c_str(), "%u %u %u", words, words + 1, words + 2) == 3 ? 0 : EIO);
}

int change_partition(const Device &device, const blkpg_ioctl_arg &argument) {
    const auto &partition = *static_cast<const blkpg_partition *>(argument.data);
    const std::string name = device.name + std::to_string(partition.pno);
    const std::string folder = device.folder + "/" + name, node = device.root + "/dev/" + name;
    if (argument.op == BLKPG_ADD_PARTITION) {
        if (mkdir(folder.c_str(), 0755) != 0) return answer(EBUSY);
        const bool done = write_text(folder + "/partition", std::to_string(partition.pno) + "\n") &&
                          write_text(folder + "/start", std::to_string(partition.start / 512) + "\n") &&
                          write_text(folder + "/size", std::to_string(partition.length / 512) + "\n") &&
                          write_text(node, "");
        return answer(done ? 0 : EIO);
    }
    if (access(folder.c_str(), F_OK) != 0) return answer(ENXIO);
    if (access((folder + "/holders").c_str(), F_OK) == 0) return answer(EBUSY);
    for (const char *const file : {"/partition", "/start", "/size"})
        unlink((folder + file).c_str());
    unlink(node.c_str());
    return answer(rmdir(folder.c_str()) == 0 ? 0 : EIO);
}

int play(int fd, unsigned long request, void *argument) {
    Device device;
    const bool is_played = request == GET_ARRAY_INFO || request == testing_support::kSyncStatusRequest ||
                           request == BLKGETSIZE64 || request == BLKRASET || request == BLKPG;
    if (!is_played || !device.find(fd)) return int(syscall(SYS_ioctl, fd, request, argument));
    switch (request) {
        case GET_ARRAY_INFO:
            return array_info(device, *static_cast<mdu_array_info_t *>(argument));
        case testing_support::kSyncStatusRequest:
            return sync_status(device, static_cast<uint32_t *>(argument));
        case BLKGETSIZE64:
            *static_cast<uint64_t *>(argument) = uint64_t(read_number(device.folder + "/size")) * 512;
            return answer(0);
        case BLKRASET:
            return answer(write_text(device.folder + "/queue/read_ahead_kb",
                                     std::to_string(reinterpret_cast<uintptr_t>(argument) / 2) + "\n")
                              ? 0
                              : EIO);
        default:
            return change_partition(device, *static_cast<const blkpg_ioctl_arg *>(argument));
    }
}

}  // namespace

void testing_support::fail_ioctl(unsigned long request, int error) {
    failing_request = request;
    failing_error = error;
}

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void *const argument = va_arg(arguments, void *);
    va_end(arguments);
    if (failing_error != 0 && request == failing_request) return answer(failing_error);
    try {
        return play(fd, request, argument);
    } catch (const std::bad_alloc &) {
        return answer(ENOMEM);
    }
}
