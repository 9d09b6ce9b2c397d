// The whole content of a file in memory.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string_view>

namespace morv {

// Configuration files are small: one that fits the object itself costs no allocation. A zero byte stands
// behind the content, and the content may be written over: it is this object's copy.
class FileText {
  public:
    FileText() noexcept = default;
    ~FileText();
    FileText(const FileText &) = delete;
    FileText &operator=(const FileText &) = delete;

    // Reads the file at `path`. Answers 0, ERR_OPEN_FAILED (also for a folder) or ERR_OUT_OF_MEMORY.
    int load(const char *path) noexcept;

    // The same for a file that others may have made anything of: one that nobody writes to is empty and
    // does not hold up, and one of more than `most` bytes is ERR_READ_FAILED.
    int load_bounded(const char *path, size_t most) noexcept;

    // Reads what `fd` still holds. Answers 0, ERR_READ_FAILED, ERR_OUT_OF_MEMORY, or ERR_FORMAT_ERROR for
    // more than `most` bytes, of which no more are read.
    int load(int fd, size_t most = SIZE_MAX) noexcept;

    std::string_view view() const noexcept { return {data_, size_}; }
    char *data() noexcept { return data_; }

  private:
    bool grow() noexcept;

    static constexpr size_t kInline = size_t{32} * 1024;
    char inline_[kInline];
    char *data_ = inline_;
    size_t capacity_ = kInline;
    size_t size_ = 0;
};

// Whether an open file may be changed as a text: 0, ERR_STAT_FAILED, or ERR_OPEN_FAILED for a folder, a
// device or a pipe.
int check_regular(int fd) noexcept;

}  // namespace morv
