// Backup files made byte by byte, without the library.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>

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

}  // namespace testing_support
