// Arrays and volumes in a scratch "/sys" and "/proc", beside a floor that only opens and reads the same files.
// The program answers the md driver's calls itself, at once.
#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <linux/major.h>
#include <linux/raid/md_u.h>
#include <morvsdk/raid.h>
#include <morvsdk/volume.h>
#include <stdarg.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>

#include "bench.h"

namespace {

constexpr unsigned long kSyncStatus = _IOC(_IOC_READ, MD_MAJOR, 0x60, 12);

}  // namespace

extern "C" __attribute__((visibility("default"))) int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void *const argument = va_arg(arguments, void *);
    va_end(arguments);
    if (request == GET_ARRAY_INFO) {
        auto *const array = static_cast<mdu_array_info_t *>(argument);
        memset(array, 0, sizeof *array);
        array->level = 6;
        array->raid_disks = 16;
        array->size = 1000000;
    } else if (request == BLKGETSIZE64) {
        *static_cast<uint64_t *>(argument) = uint64_t{14} * 1000000 * 1024;
    } else if (request == kSyncStatus) {
        memset(argument, 0, 12);
    } else {
        return int(syscall(SYS_ioctl, fd, request, argument));
    }
    return 0;
}

namespace bench {

namespace {

constexpr int kArrays = 32;
constexpr int kMembers = 16;
constexpr int kMountLines = 1000;

class StorageRoot {
  public:
    explicit StorageRoot(const Place &place) : folder_(place.folder + "/storage") {
        for (int i = 0; i < kArrays; ++i)
            add_array(i + 2);
        write("/proc/mounts", mounts());
    }

    std::string path(const std::string &system_path) const { return folder_ + system_path; }
    void use() const { use_root(folder_); }

  private:
    void write(const std::string &system_path, const std::string &content) const {
        std::filesystem::create_directories(std::filesystem::path(path(system_path)).parent_path());
        write_file(path(system_path), content);
    }

    void add_array(int number) const {
        const std::string name = "md" + std::to_string(number);
        // As much of a file system as is looked at: the superblock, in good order.
        std::string device(4096, '\0');
        device[1024 + 56] = '\x53';
        device[1024 + 57] = '\xef';
        device[1024 + 58] = 1;
        write("/dev/" + name, device);
        for (int i = 0; i < kMembers; ++i) {
            const std::string member =
                "/sys/block/" + name + "/md/dev-sd" + char('a' + i) + std::to_string(number);
            write(member + "/state", "in_sync\n");
            write(member + "/slot", std::to_string(i) + "\n");
        }
    }

    static std::string mounts() {
        std::string text;
        for (int i = 0; i < kMountLines; ++i) {
            const std::string number = std::to_string(i);
            if (i % (kMountLines / kArrays) == 0 && i / (kMountLines / kArrays) < kArrays) {
                const int volume = i / (kMountLines / kArrays) + 1;
                text +=
                    "/dev/md" + std::to_string(volume + 1) + " /volume" + std::to_string(volume) + " ext4";
            } else {
                text += "overlay /var/lib/containers/storage/overlay/" + number + "/merged overlay";
            }
            text += " rw,relatime,quota,usrquota,grpquota 0 0\n";
        }
        return text;
    }

    std::string folder_;
};

// ---- The floor -------------------------------------------------------------------------------------------

// Every byte is read, so that the reading cannot be left out.
size_t read_whole(int folder, const char *name) {
    char room[64 * 1024];
    const int fd = openat(folder, name, O_RDONLY | O_CLOEXEC);
    if (fd < 0) give_up(std::string("storage: ") + name);
    size_t all = 0;
    ssize_t got;
    while ((got = read(fd, room, sizeof room)) > 0)
        all += size_t(got);
    close(fd);
    return all;
}

void open_and_close(const std::string &path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) give_up("storage: " + path);
    close(fd);
}

template <class F>
void for_each_name(const std::string &folder, const char *prefix, F see) {
    DIR *const dir = opendir(folder.c_str());
    if (!dir) give_up("storage: " + folder);
    while (const dirent *entry = readdir(dir))
        if (strncmp(entry->d_name, prefix, strlen(prefix)) == 0) see(entry->d_name);
    closedir(dir);
}

int read_bare_array(const StorageRoot &root, const std::string &name) {
    int members = 0;
    const std::string folder = root.path("/sys/block/" + name + "/md");
    open_and_close(root.path("/dev/" + name));
    for_each_name(folder, "dev-", [&](const char *member) {
        members += read_whole(AT_FDCWD, (folder + "/" + member + "/state").c_str()) > 0;
    });
    return members;
}

// As many opens as the library is asked for: to see that an array runs, and to read it.
int read_bare_arrays(const StorageRoot &root) {
    int members = 0;
    std::vector<std::string> names;
    for_each_name(root.path("/sys/block"), "md", [&](const char *name) { names.emplace_back(name); });
    for (const std::string &name : names) {
        open_and_close(root.path("/dev/" + name));
        members += read_bare_array(root, name);
    }
    return members;
}

// Every volume's superblock is looked at, too.
int enumerate_bare(const StorageRoot &root) {
    read_whole(AT_FDCWD, root.path("/proc/mounts").c_str());
    std::vector<std::string> names;
    for_each_name(root.path("/sys/block"), "md", [&](const char *name) { names.emplace_back(name); });
    for (const std::string &name : names) {
        const std::string device = root.path("/dev/" + name);
        char superblock[64];
        const int fd = open(device.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0 || pread(fd, superblock, sizeof superblock, 1024) != ssize_t(sizeof superblock))
            give_up("storage: " + device);
        close(fd);
        read_bare_array(root, name);
        open_and_close(device);
    }
    return int(names.size());
}

// ---- The library -----------------------------------------------------------------------------------------

int read_arrays() {
    int members = 0;
    MLIBSZLIST *list = PslMLIBSzListAlloc(0);
    if (!list || RAIDPathEnum(&list) != 0) give_up("storage: RAIDPathEnum");
    for (int i = 0; i < list->nItem; ++i) {
        RAID_INFO *info = nullptr;
        if (RAIDInfoGet(list->pszItem[i], &info) != 1) give_up("storage: RAIDInfoGet");
        members += RAIDDiskCount(info->pDisks, RAID_DISK_IN_SYNC);
        RAIDInfoFree(info);
    }
    MLIBSzListFree(list);
    return members;
}

int enumerate_volumes() {
    VOLUME_INFO_LIST *list = nullptr;
    const int count = VolumeInfoEnum(&list);
    for (const VOLUME_INFO_LIST *node = list; node; node = node->pNext) {
        if (!node->pInfo->pFs || node->pInfo->pFs->state != FS_STATE_CLEAN || !node->pInfo->pRaids)
            give_up("storage: a volume without its file system or array");
    }
    VolumeInfoListFree(list);
    return count;
}

void add_storage(const Place &place) {
    static std::vector<StorageRoot> roots;
    roots.reserve(places().size());
    const StorageRoot &root = roots.emplace_back(place);
    compare(std::string("raid_read_") + place.name, text_of(kArrays * kMembers))
        .side("ours",
              [&root](auto see) {
                  root.use();
                  see(read_arrays());
              })
        .side("floor", [&root](auto see) { see(read_bare_arrays(root)); });
    compare(std::string("volume_enum_") + place.name, text_of(kArrays))
        .side("ours",
              [&root](auto see) {
                  root.use();
                  see(enumerate_volumes());
              })
        .side("floor", [&root](auto see) { see(enumerate_bare(root)); });
}

const Area area([] {
    for (const Place &place : places())
        add_storage(place);
});

}  // namespace

}  // namespace bench
