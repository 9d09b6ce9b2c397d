// Backup files made byte by byte, without the library, and what its exporters and importers make of them.
#pragma once

#include <gtest/gtest.h>
#include <morvsdk/sysbkp.h>
#include <stdint.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <vector>

#include "support/fake_syslog.h"

namespace testing_support {

inline std::string be32(int64_t value) {
    std::string bytes;
    for (const int shift : {24, 16, 8, 0})
        bytes.push_back(static_cast<char>(value >> shift & 0xFF));
    return bytes;
}

// Items.
inline std::string number(int64_t value) {
    return be32(2) + be32(4) + be32(value);
}
inline std::string text(std::string_view value) {
    return be32(1) + be32(static_cast<int64_t>(value.size()) + 1) + std::string(value) + '\0';
}

// A block with a body of items.
inline std::string block(int64_t id, const std::string &body, int64_t version = 7) {
    return be32(id) + be32(version) + be32(static_cast<int64_t>(body.size())) + body;
}

// A whole file.
inline std::string backup(const std::string &blocks, int64_t mask = 0x37FFFFB) {
    return "MORV" + be32(1) + be32(mask) + blocks;
}

// Items for tables: each a number or a text.
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

// A file in memory with the position at its beginning.
class MemoryFile {
  public:
    explicit MemoryFile(std::string_view content = "") : fd(memfd_create("backup", MFD_CLOEXEC)) {
        EXPECT_EQ(pwrite(fd, content.data(), content.size(), 0), ssize_t(content.size()));
    }
    ~MemoryFile() { close(fd); }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    std::string content() const {
        std::string all(size_t(lseek(fd, 0, SEEK_END)), '\0');
        EXPECT_EQ(pread(fd, all.data(), all.size(), 0), ssize_t(all.size()));
        return all;
    }

    const int fd;
};

// What an exporter writes behind other bytes; "failed" when it says so.
inline std::string exported(Exporter exporter) {
    const MemoryFile file("before");
    lseek(file.fd, 0, SEEK_END);
    if (exporter(file.fd) != 0) return "failed";
    const off_t at = lseek(file.fd, 0, SEEK_CUR);
    const std::string all = file.content();
    EXPECT_EQ(at, off_t(all.size()));
    EXPECT_EQ(all.substr(0, 6), "before");
    return all.substr(6);
}

inline int imported(Importer importer, std::string_view body, int version = 7) {
    const MemoryFile file(body);
    logged.clear();
    return importer(file.fd, version, 0);
}

// Whether a person was told this since the last import, as a problem ("3") or a note ("6").
inline bool is_told(const char *priority, std::string_view line) {
    const std::string whole = std::string(priority) + " configuration backup: " + std::string(line) + "\n";
    return logged.find(whole) != std::string::npos;
}

// The problems and notes for a person since the last import, a line each.
inline std::string told() {
    constexpr std::string_view kMark = "configuration backup: ";
    std::string all;
    for (size_t at = 0; (at = logged.find(kMark, at)) != logged.npos;) {
        at += kMark.size();
        all += logged.substr(at, logged.find('\n', at) + 1 - at);
    }
    return all;
}

}  // namespace testing_support
