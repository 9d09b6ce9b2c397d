// What is mounted where: "/proc/mounts" as it was at one moment. Nothing else reads that file.
#pragma once

#include <syslog.h>

#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "core/file/file_text.h"

namespace morv {

// A line. Views the file's text; escapes are decoded.
struct Mount {
    std::string_view device;
    std::string_view point;    // absolute, without "." and ".."
    std::string_view type;     // "" where the line ends before it
    std::string_view options;  // "rw,relatime"

    // Whether one of the options is `word`: "ro" is not one of "rw,errors=remount-ro".
    bool has_option(std::string_view word) const noexcept;
};

// Turns the escapes of a field, "\040" for a blank, into the bytes that they stand for, in place. Answers
// the shorter text.
std::string_view decode_mount_field(std::span<char> field) noexcept;

// Takes a line apart and decodes its fields in place; false for one that names no mount point.
bool parse_mount(std::span<char> line, Mount &mount) noexcept;

// Logs that "/proc/mounts" will not open, and answers ERR_OPEN_FAILED.
int mounts_not_opened(int priority) noexcept;

class Mounts {
  public:
    // Reads "/proc/mounts". Answers 0, ERR_OPEN_FAILED, which it logs, or ERR_OUT_OF_MEMORY. May throw
    // std::bad_alloc.
    int load(int priority = LOG_DEBUG);

    // In the order of the file, which is that of mounting.
    std::span<const Mount> all() const noexcept { return mounts_; }

    // What is mounted at a path: the last one, which hides those below it. Null for nothing.
    const Mount *at(std::string_view point) const noexcept;

    // The mount point that an absolute path lies on; empty when none is known.
    std::string_view find(std::string_view path) const noexcept;

  private:
    std::unique_ptr<FileText> text_;
    std::vector<Mount> mounts_;
};

}  // namespace morv
