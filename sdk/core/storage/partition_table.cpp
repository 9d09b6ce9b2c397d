#include "core/storage/partition_table.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/blkpg.h>
#include <morvsdk/errcodes.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>

#include "core/base/guard.h"
#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/logged_command.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

namespace morv {

namespace {

int tell_kernel(int disk, int operation, const Partition &partition) noexcept {
    blkpg_partition place = {};
    place.start = int64_t(partition.start) * 512;
    place.length = int64_t(partition.size) * 512;
    place.pno = partition.number;
    blkpg_ioctl_arg argument = {};
    argument.op = operation;
    argument.datalen = sizeof place;
    argument.data = &place;
    if (ioctl(disk, BLKPG, &argument) == 0) return 0;
    return errno == EBUSY ? ERR_DEVICE_BUSY : ERR_SYS_UNKNOWN;
}

int wipe(const std::string &device) noexcept {
    return MORV_RUN("/sbin/wipefs -a %s > /dev/null 2>&1", {SysPath(device.c_str()).c_str()});
}

// "/dev/sda3", but "/dev/nvme0n1p3".
std::string partition_device(const Disk &disk, int number) {
    const char last = disk.device.back();
    return disk.device + (last >= '0' && last <= '9' ? "p" : "") + std::to_string(number);
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

bool has_gpt(const Disk &disk) noexcept {
    constexpr std::string_view kSignature = "EFI PART";
    char found[kSignature.size()];
    UniqueFd fd;
    return open_disk(disk, fd) == 0 &&
           pread(fd.get(), found, sizeof found, static_cast<off_t>(disk.sector_size)) ==
               ssize_t(sizeof found) &&
           kSignature == std::string_view(found, sizeof found);
}

int write_empty_table(const Disk &disk) noexcept {
    const char *const label = disk.size > kMostOfDos ? "label: gpt" : "label: dos";
    if (const int code = wipe(disk.device)) return code;
    return MORV_RUN("/bin/echo %s | /sbin/sfdisk --no-reread --no-tell-kernel %s > /dev/null 2>&1",
                    {label, SysPath(disk.device.c_str()).c_str()});
}

int add_partition(const Disk &disk, const Partition &wanted) {
    UniqueFd fd;
    if (const int code = open_disk(disk, fd)) return code;
    // The table counts in the disk's own sectors.
    const uint64_t unit = disk.sector_size / 512;
    const uint64_t start = (wanted.start + unit - 1) / unit, end = (wanted.start + wanted.size) / unit;
    if (end <= start) return ERR_DISK_TOO_SMALL;
    const Partition partition = {partition_device(disk, wanted.number), wanted.number, start * unit,
                                 (end - start) * unit};
    const std::string place =
        "start=" + std::to_string(start) + ", size=" + std::to_string(end - start) + ", type=raid";
    if (const int code =
            MORV_RUN("/bin/echo %s | /sbin/sfdisk --no-reread --no-tell-kernel --append %s > /dev/null 2>&1",
                     {place, SysPath(disk.device.c_str()).c_str()})) {
        return code;
    }
    int code = tell_kernel(fd.get(), BLKPG_ADD_PARTITION, partition);
    if (code == 0) {
        // What lay in this place before would come back: a superblock of an old array, for one.
        code = wipe(partition.device);
        if (code) tell_kernel(fd.get(), BLKPG_DEL_PARTITION, partition);
    }
    if (code) {
        MORV_RUN("/sbin/sfdisk --no-reread --no-tell-kernel --delete %s %d > /dev/null 2>&1",
                 {SysPath(disk.device.c_str()).c_str(), partition.number});
    }
    return code;
}

int read_entries(const Disk &disk, std::vector<Entry> &entries) {
    constexpr int kNoTable = 1;
    const uint64_t unit = disk.sector_size / 512;
    std::string table;
    int status = 0;
    const int code = capture_tool(table, "/sbin/sfdisk --dump %s 2>/dev/null",
                                  {SysPath(disk.device.c_str()).c_str()}, &status);
    if (code && status != kNoTable) return code;
    entries.clear();
    for (const std::string_view line : Lines(table)) {
        // "/dev/sda3 : start=     6281416, size=    10000000, type=fd"
        constexpr std::string_view kStart = " : start=";
        const size_t at = line.find(kStart);
        if (at == line.npos) continue;
        const std::string_view device = line.substr(0, at);
        const size_t digits = device.find_last_not_of("0123456789") + 1;
        Entry entry = {-1, 0};
        number_behind(device.substr(digits), "", entry.number);
        uint64_t start = 0;
        const std::string_view number = trim_blanks(line.substr(at + kStart.size()));
        std::from_chars(number.data(), number.data() + number.size(), start);
        entry.start = start * unit;
        entries.push_back(entry);
    }
    return 0;
}

int remove_partitions(const Disk &disk, const std::vector<Partition> &partitions, Table table) {
    UniqueFd fd;
    if (const int code = open_disk(disk, fd)) return code;
    // Everything that takes memory comes before the first change.
    const std::string device = SysPath(disk.device.c_str()).c_str();
    std::vector<CommandValue> values = {device};
    std::string format = "/sbin/sfdisk --no-reread --no-tell-kernel --delete %s";
    // All are named by naming none; logical ones go with the one that they lie in.
    for (size_t i = 0; i < partitions.size() && table == Table::kNamed; ++i) {
        values.emplace_back(partitions[i].number);
        format += " %d";
    }
    format += " > /dev/null 2>&1";

    size_t removed = 0;
    int code = 0;
    while (code == 0 && removed < partitions.size()) {
        code = tell_kernel(fd.get(), BLKPG_DEL_PARTITION, partitions[removed]);
        if (code == 0) ++removed;
    }
    if (code == 0 && table != Table::kNone) code = MORV_RUN(format.c_str(), values);
    if (code == 0) return 0;
    while (removed > 0)
        tell_kernel(fd.get(), BLKPG_ADD_PARTITION, partitions[--removed]);
    return code;
}

}  // namespace morv
