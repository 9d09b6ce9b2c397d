#include "core/storage/block_device.h"

#include <errno.h>
#include <morvsdk/errcodes.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>

#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/system/sysfs.h"
#include "core/text/trim.h"

namespace morv {

namespace {

constexpr std::string_view kFolder = "/sys/block/";

int read_number(const std::string &path, uint64_t &number) {
    char room[32];
    std::string_view line;
    const int code = read_attribute(path.c_str(), room, line);
    if (code == ERR_OPEN_FAILED && (errno == ENOENT || errno == ENOTDIR)) return ERR_PATH_NOT_FOUND;
    if (code) return code;
    line = trim_blanks(line);
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    return error == std::errc() && end == line.data() + line.size() ? 0 : ERR_FORMAT_ERROR;
}

// Slashes in names of devices are "!" in names of folders.
std::string sysfs_name(std::string_view device) {
    std::string name(device.substr(5));
    std::replace(name.begin(), name.end(), '/', '!');
    return name;
}

std::string device_of(std::string name) {
    std::replace(name.begin(), name.end(), '!', '/');
    return "/dev/" + name;
}

bool is_digit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// "sda" for "sda3", "nvme0n1" for "nvme0n1p3"; empty for what ends in no digit.
std::string name_of_disk(std::string_view partition) {
    size_t size = partition.size();
    while (size > 0 && is_digit(partition[size - 1]))
        --size;
    if (size == 0 || size == partition.size()) return {};
    if (size > 1 && partition[size - 1] == 'p' && is_digit(partition[size - 2])) --size;
    return std::string(partition.substr(0, size));
}

// The folder of a disk or partition, and of the disk that it is or lies on.
int find_folder(const char *device, std::string &folder, std::string &disk_name, uint64_t &size) {
    if (!is_device(device)) return ERR_BAD_PARAMETERS;
    const std::string name = sysfs_name(device);
    disk_name = name;
    folder = std::string(kFolder) + name;
    int code = read_number(folder + "/size", size);
    if (code != ERR_PATH_NOT_FOUND) return code;
    disk_name = name_of_disk(name);
    if (disk_name.empty()) return code;
    folder = std::string(kFolder) + disk_name + "/" + name;
    return read_number(folder + "/size", size);
}

int read_partitions(const std::string &folder, const std::string &disk_name,
                    std::vector<Partition> &partitions) {
    std::vector<std::string> names;
    if (const int code = list_names(folder.c_str(), disk_name, names)) return code;
    for (const std::string &name : names) {
        const std::string path = std::string(folder).append("/").append(name);
        Partition partition = {device_of(name), 0, 0, 0};
        uint64_t number;
        int code = read_number(path + "/partition", number);
        if (code == ERR_PATH_NOT_FOUND) continue;
        if (code == 0) code = read_number(path + "/start", partition.start);
        if (code == 0) code = read_number(path + "/size", partition.size);
        if (code) return code;
        if (number > INT32_MAX) return ERR_FORMAT_ERROR;
        partition.number = int(number);
        partitions.push_back(std::move(partition));
    }
    return 0;
}

}  // namespace

const Partition *Disk::find(int number) const noexcept {
    const auto at = std::find_if(partitions.begin(), partitions.end(),
                                 [&](const Partition &partition) { return partition.number == number; });
    return at == partitions.end() ? nullptr : &*at;
}

int read_device_size(const char *device, uint64_t &sectors) {
    std::string folder, disk_name;
    return find_folder(device, folder, disk_name, sectors);
}

int read_disk(const char *device, Disk &disk) {
    std::string folder, disk_name;
    uint64_t size;
    if (const int code = find_folder(device, folder, disk_name, size)) return code;
    folder = std::string(kFolder) + disk_name;
    const auto has_folder = [&](const char *name) {
        return access(SysPath((folder + name).c_str()).c_str(), F_OK) == 0;
    };
    disk = {device_of(disk_name), has_folder("/md") || has_folder("/dm"), 0, 512, {}};
    if (const int code = read_number(folder + "/size", disk.size)) return code;
    if (read_number(folder + "/queue/logical_block_size", disk.sector_size) != 0 || disk.sector_size < 512 ||
        disk.sector_size % 512 != 0) {
        disk.sector_size = 512;
    }
    return read_partitions(folder, disk_name, disk.partitions);
}

}  // namespace morv
