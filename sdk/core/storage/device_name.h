// Names of devices.
#pragma once

#include <stdint.h>

#include <string_view>

namespace morv {

// The number behind a prefix: decimal digits to the end of the text, at most 2147483647. "/dev/md2" has one,
// "/dev/md2p1", "/dev/md-2" and "/dev/md" have none.
constexpr bool number_behind(std::string_view text, std::string_view prefix, int32_t &number) noexcept {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    if (text.empty()) return false;
    int64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return false;
        value = value * 10 + (c - '0');
        if (value > INT32_MAX) return false;
    }
    number = static_cast<int32_t>(value);
    return true;
}

// The number of an array.
constexpr bool array_number(std::string_view path, int32_t &number) noexcept {
    return number_behind(path, "/dev/md", number);
}

// What stands behind the last slash.
constexpr std::string_view last_name(std::string_view path) noexcept {
    return path.substr(path.rfind('/') + 1);
}

// The disk that a path names, or whose partition it names: "/dev/sda" for "/dev/sda3".
constexpr std::string_view without_partition(std::string_view path) noexcept {
    return path.substr(0, path.find_first_of("0123456789"));
}

// A device: "/dev/" and a name of the words that the kernel gives; none of them leads elsewhere.
constexpr bool is_device(std::string_view path) noexcept {
    return path.starts_with("/dev/") && path.size() > 5 && path.find("/.") == path.npos &&
           path.find("//") == path.npos && path.back() != '/';
}

}  // namespace morv
