// The blocking of addresses, beside floors that map the same files and compare eight bytes at a time.
#include <arpa/inet.h>
#include <fcntl.h>
#include <morvsdk/autoblock.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

#include "block_bench.h"

namespace bench {

std::string deny_records(int count) {
    std::string records;
    const auto now = uint32_t(time(nullptr));
    for (int i = 0; i < count; ++i) {
        const uint32_t record[] = {now, htonl(0x0A000001U + uint32_t(i))};
        records.append(reinterpret_cast<const char *>(record), sizeof record);
    }
    return records;
}

namespace {

constexpr size_t kWindow = 65536;
// In none of the lists.
constexpr char kStranger[] = "192.0.2.1";

struct BlockRoot {
    BlockRoot(const Place &place, const std::string &name, int attempts) : folder(place.folder + "/" + name) {
        for (const char *part : {"/etc", "/tmp", "/var/log"})
            std::filesystem::create_directories(folder + part);
        write_file(folder + "/etc/morvinfo.conf",
                   "autoblock_attempts=\"" + std::to_string(attempts) + "\"\nautoblock_attempt_min=\"60\"\n");
    }
    std::string deny() const { return folder + "/etc/morvIPs.deny"; }
    std::string failures() const { return folder + "/tmp/login_fail.list"; }

    std::string folder;
};

// How many records have the address: the bare pass.
int pass_bare(const std::string &path, int flags, int lock, uint32_t address) {
    const int fd = open(path.c_str(), flags | O_CLOEXEC);
    struct stat st;
    if (fd < 0 || flock(fd, lock) != 0 || fstat(fd, &st) != 0) give_up("block: " + path);
    int found = 0;
    for (off_t at = 0; at < st.st_size; at += off_t{kWindow}) {
        const size_t size = std::min(kWindow, size_t(st.st_size - at));
        const int protection = PROT_READ | ((flags & O_RDWR) ? PROT_WRITE : 0);
        void *const map = mmap(nullptr, size, protection, MAP_SHARED, fd, at);
        if (map == MAP_FAILED) give_up("block: mmap");
        const auto *const bytes = static_cast<const char *>(map);
        for (size_t i = 0; i + 8 <= size; i += 8) {
            uint32_t record[2];
            memcpy(record, bytes + i, 8);
            if (record[1] == address && record[0] != 0) ++found;
        }
        munmap(map, size);
    }
    close(fd);
    return found;
}

void compare_deny(const Place &place, int count) {
    const auto root = std::make_shared<BlockRoot>(place, "deny" + std::to_string(count), 3);
    write_file(root->deny(), deny_records(count));
    Comparison all("deny_" + std::to_string(count), "0");
    all.side("ours", [root](auto see) {
        use_root(root->folder);
        see(MORVAutoBlockIsDeniedIP(kStranger));
    });
    all.side("floor",
             [root](auto see) { see(pass_bare(root->deny(), O_RDONLY, LOCK_SH, inet_addr(kStranger))); });
}

void compare_count(const Place &place) {
    const auto root = std::make_shared<BlockRoot>(place, "count", 0);
    write_file(root->failures(), deny_records(100000));
    Comparison all("count_failure", "0");
    const auto prepare = [root] {
        if (truncate(root->failures().c_str(), 800000) != 0) give_up("block: truncate");
        use_root(root->folder);
        return 0;
    };
    all.side("ours", prepare, [](int, auto see) { see(MORVAutoBlockFailLoginSet(kStranger)); });
    all.side("floor", prepare, [root](int, auto see) {
        see(pass_bare(root->failures(), O_RDWR, LOCK_EX, inet_addr(kStranger)));
    });
}

void compare_bulk(const Place &place) {
    constexpr int kAddresses = 150000;
    const auto root = std::make_shared<BlockRoot>(place, "bulk", 3);
    std::vector<uint32_t> addresses;
    for (int i = 0; i < kAddresses; ++i)
        addresses.push_back(htonl(0x0A000001U + uint32_t(i) * 7919U % 0x1000000U));
    addresses.push_back(0);
    const std::string image = deny_records(kAddresses);
    const auto prepare = [root] {
        unlink(root->deny().c_str());
        use_root(root->folder);
        return 0;
    };
    Comparison all(std::string("block_150000_") + place.name, std::to_string(kAddresses));
    all.side("ours", prepare, [addresses](int, auto see) { see(MORVAutoBlockIPsAdd(addresses.data())); });
    all.side("floor", prepare, [root, image](int, auto see) {
        const std::string temporary = root->deny() + ".tmp";
        const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        const bool good = fd >= 0 && write(fd, image.data(), image.size()) == ssize_t(image.size()) &&
                          fsync(fd) == 0 && close(fd) == 0 &&
                          rename(temporary.c_str(), root->deny().c_str()) == 0;
        if (!good) give_up("block: " + temporary);
        see(int(image.size() / 8));
    });
}

void add() {
    for (const Place &place : places()) {
        if (!place.in_memory()) {
            for (const int count : {1000, 5000, 100000, 1000000})
                compare_deny(place, count);
            compare_count(place);
        }
        compare_bulk(place);
    }
}

const Area area(add);

}  // namespace

}  // namespace bench
