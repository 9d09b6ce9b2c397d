// The buffer through which integers go to and from a file.
#pragma once

#include <stddef.h>
#include <stdlib.h>

#include "core/base/guard.h"
#include "sysbkp/report.h"

namespace morv {

class RawInts {
  public:
    explicit RawInts(size_t bytes) noexcept {
        if (bytes > sizeof few_) {
            many_.reset(static_cast<char *>(malloc(bytes)));
            data_ = many_.get();
        }
    }
    explicit operator bool() const noexcept { return data_ != nullptr; }
    char *data() noexcept { return data_; }

  private:
    char few_[64];
    MallocPtr<char> many_;
    char *data_ = few_;
};

// Whether integers can be moved at all; if not, that is logged as the caller's line.
inline bool can_move(int fd, const void *words, int bytes, const char *stem, int line,
                     const char *function) noexcept {
    if (fd < 0 || !words || bytes <= 0) {
        log_text("%s:%d(%s) parameter error", stem, line, function);
        return false;
    }
    if (bytes % 4 != 0) log_text("%s:%d(%s) bytes error:[%d]", stem, line, function, bytes);
    return bytes % 4 == 0;
}

}  // namespace morv

// A line of the log with the source's name, the line and the function.
#define RAW_LOG(format, ...) \
    ::morv::log_text("%s:%d(%s) " format, MORV_STEM, __LINE__, __func__ __VA_OPT__(, ) __VA_ARGS__)
