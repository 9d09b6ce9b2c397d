// A file, read from its beginning to its end through a buffer that holds what lies ahead.
//
//     FileWindow window;
//     if (int code = window.open(path)) return code;
//     while (window.fetch(12)) { use(window.ahead().substr(0, 12)); window.drop(12); }
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <unistd.h>

#include <string_view>

#include "core/base/guard.h"

namespace morv {

class FileWindow {
  public:
    // Answers 0, ERR_OPEN_FAILED (also for what is no regular file) or ERR_OUT_OF_MEMORY.
    int open(const char *path) noexcept;

    // Makes sure that at least `bytes` lie ahead. False at the end of the file, or when it cannot be read: see
    // code().
    bool fetch(size_t bytes) noexcept { return bytes <= end_ - begin_ || fill(bytes); }

    std::string_view ahead() const noexcept { return {buffer_.get() + begin_, end_ - begin_}; }
    void drop(size_t bytes) noexcept { begin_ += bytes; }

    // Passes over bytes that need not be ahead.
    void skip(int64_t bytes) noexcept;

    // The offset of what lies ahead, and the size of the file when it was opened, in bytes.
    int64_t offset() const noexcept { return offset_ - static_cast<int64_t>(end_ - begin_); }
    int64_t size() const noexcept { return size_; }

    // 0, ERR_READ_FAILED or ERR_OUT_OF_MEMORY
    int code() const noexcept { return code_; }

  private:
    bool fill(size_t bytes) noexcept;
    bool grow(size_t bytes) noexcept;

    UniqueFd fd_;
    MallocPtr<char> buffer_;
    size_t capacity_ = 0;
    size_t begin_ = 0, end_ = 0;  // what lies ahead, in the buffer
    int64_t offset_ = 0;          // of the buffer's end in the file
    int64_t size_ = 0;
    int code_ = 0;
};

}  // namespace morv
