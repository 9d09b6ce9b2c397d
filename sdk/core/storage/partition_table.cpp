#include "core/storage/partition_table.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/blkpg.h>
#include <morvsdk/errcodes.h>
#include <string.h>
#include <sys/ioctl.h>

#include "core/base/guard.h"
#include "core/file/sys_path.h"
#include "core/storage/logged_command.h"

namespace morv {

namespace {

// A DOS table has 32 bits for a sector.
constexpr uint64_t kMostOfDos = UINT32_MAX;

int tell_kernel(int disk, int operation, const Partition &partition) noexcept {
    blkpg_partition place = {};
    place.start = static_cast<long long>(partition.start * 512);
    place.length = static_cast<long long>(partition.size * 512);
    place.pno = partition.number;
    blkpg_ioctl_arg argument = {};
    argument.op = operation;
    argument.datalen = sizeof place;
    argument.data = &place;
    if (ioctl(disk, BLKPG, &argument) == 0) return 0;
    return errno == EBUSY ? ERR_DEVICE_BUSY : ERR_SYS_UNKNOWN;
}

int open_disk(const Disk &disk, UniqueFd &fd) noexcept {
    fd.reset(open(SysPath(disk.device.c_str()).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return fd ? 0 : ERR_OPEN_FAILED;
}

}  // namespace

int check_unused(const std::string &device) noexcept {
    // With O_EXCL the kernel opens a block device only when nobody else has claimed it.
    const UniqueFd fd(open(SysPath(device.c_str()).c_str(), O_RDONLY | O_EXCL | O_CLOEXEC | O_NONBLOCK));
    if (fd) return 0;
    return errno == EBUSY ? ERR_DEVICE_BUSY : ERR_OPEN_FAILED;
}

int write_empty_table(const Disk &disk) noexcept {
    const char *const label = disk.size > kMostOfDos ? "label: gpt" : "label: dos";
    return MORV_RUN("/bin/echo %s | /sbin/sfdisk --no-reread --no-tell-kernel %s > /dev/null 2>&1",
                    {label, SysPath(disk.device.c_str()).c_str()});
}

int add_partition(const Disk &disk, const Partition &partition) {
    UniqueFd fd;
    if (const int code = open_disk(disk, fd)) return code;
    const uint64_t unit = disk.sector_size / 512;
    const std::string place = "start=" + std::to_string(partition.start / unit) +
                              ", size=" + std::to_string(partition.size / unit) + ", type=raid";
    const int code =
        MORV_RUN("/bin/echo %s | /sbin/sfdisk --no-reread --no-tell-kernel --append %s > /dev/null 2>&1",
                 {place, SysPath(disk.device.c_str()).c_str()});
    return code ? code : tell_kernel(fd.get(), BLKPG_ADD_PARTITION, partition);
}

int remove_partitions(const Disk &disk, const std::vector<Partition> &partitions) {
    UniqueFd fd;
    if (const int code = open_disk(disk, fd)) return code;
    size_t removed = 0;
    int code = 0;
    while (code == 0 && removed < partitions.size()) {
        code = tell_kernel(fd.get(), BLKPG_DEL_PARTITION, partitions[removed]);
        if (code == 0) ++removed;
    }
    if (code == 0) {
        const std::string device = SysPath(disk.device.c_str()).c_str();
        std::vector<CommandValue> values = {device};
        std::string format = "/sbin/sfdisk --no-reread --no-tell-kernel --delete %s";
        for (const Partition &partition : partitions) {
            values.emplace_back(partition.number);
            format += " %d";
        }
        format += " > /dev/null 2>&1";
        code = MORV_RUN(format.c_str(), values);
    }
    if (code == 0) return 0;
    while (removed > 0)
        tell_kernel(fd.get(), BLKPG_ADD_PARTITION, partitions[--removed]);
    return code;
}

}  // namespace morv
