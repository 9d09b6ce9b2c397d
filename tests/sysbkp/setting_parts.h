// Blocks as tables of items, and one exporter or importer at a time.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/backup_file.h"
#include "support/scratch.h"

namespace setting_blocks {

using namespace testing_support;

// An item: a number or a text.
struct Part {
    std::string bytes;
    Part(int32_t value) : bytes(number(value)) {}
    Part(const char *value) : bytes(text(value)) {}
    Part(const std::string &value) : bytes(text(value)) {}
};

inline std::string body_of(const std::vector<Part> &parts) {
    std::string bytes;
    for (const Part &part : parts)
        bytes += part.bytes;
    return bytes;
}

inline std::string block_of(int64_t id, const std::vector<Part> &parts) {
    return block(id, body_of(parts));
}

using Exporter = int (*)(int fd);
using Importer = int (*)(int fd, int version, int option);

// A file in memory with the position at its end.
struct Memory {
    explicit Memory(const std::string &content) : fd(memfd_create("block", MFD_CLOEXEC)) {
        EXPECT_EQ(write(fd, content.data(), content.size()), ssize_t(content.size()));
    }
    ~Memory() { close(fd); }
    Memory(const Memory &) = delete;
    Memory &operator=(const Memory &) = delete;
    const int fd;
};

// What an exporter writes behind other bytes, "" when it fails.
inline std::string exported(Exporter work) {
    const Memory file("before");
    if (work(file.fd) != 0) return "";
    const off_t end = lseek(file.fd, 0, SEEK_CUR);
    EXPECT_EQ(lseek(file.fd, 0, SEEK_END), end);
    std::string bytes(size_t(end), '\0');
    EXPECT_EQ(pread(file.fd, bytes.data(), bytes.size(), 0), end);
    EXPECT_EQ(bytes.substr(0, 6), "before");
    return bytes.substr(6);
}

inline int imported(Importer work, const std::string &body, int version = 7) {
    const Memory file(body);
    return work(file.fd, version, 0);
}

}  // namespace setting_blocks
