// Blocks as bytes, put together without the library, and a file that exporters and importers work on.
#pragma once

#include <gtest/gtest.h>
#include <stdint.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/scratch.h"

namespace testing_support {

inline std::string word(uint32_t value) {
    return {char(value >> 24), char(value >> 16), char(value >> 8), char(value)};
}

// An item: a number or a text.
struct Part {
    std::string bytes;
    Part(int32_t number) : bytes(word(2) + word(4) + word(uint32_t(number))) {}
    Part(const char *text) : Part(std::string(text)) {}
    Part(const std::string &text)
        : bytes(word(1) + word(uint32_t(text.size() + 1)) + text + std::string(1, '\0')) {}
};

inline std::string body_of(const std::vector<Part> &parts) {
    std::string bytes;
    for (const Part &part : parts)
        bytes += part.bytes;
    return bytes;
}

inline std::string block_of(uint32_t id, const std::vector<Part> &parts) {
    const std::string body = body_of(parts);
    return word(id) + word(7) + word(uint32_t(body.size())) + body;
}

using Exporter = int (*)(int fd);
using Importer = int (*)(int fd, int version, int option);

// What an exporter writes behind other bytes, "" when it fails.
inline std::string exported(Exporter work) {
    char name[] = "/tmp/morv_block.XXXXXX";
    const int fd = mkstemp(name);
    EXPECT_EQ(write(fd, "before", 6), 6);
    const int result = work(fd);
    std::string bytes = read_file(name);
    EXPECT_EQ(lseek(fd, 0, SEEK_CUR), off_t(bytes.size()));
    close(fd);
    unlink(name);
    EXPECT_EQ(bytes.substr(0, 6), "before");
    return result == 0 ? bytes.substr(6) : "";
}

inline int imported(Importer work, const std::string &body, int version = 7) {
    char name[] = "/tmp/morv_block.XXXXXX";
    const int fd = mkstemp(name);
    EXPECT_EQ(write(fd, body.data(), body.size()), ssize_t(body.size()));
    lseek(fd, 0, SEEK_SET);
    const int result = work(fd, version, 0);
    close(fd);
    unlink(name);
    return result;
}

}  // namespace testing_support
