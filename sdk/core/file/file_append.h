// Adding to the end of a file in place. What could not be written whole is taken back.
#pragma once

#include <sys/types.h>

#include <string_view>

#include "core/base/guard.h"
#include "core/file/file_text.h"

namespace morv {

class FileAppend {
  public:
    // Opens and reads the target. Answers 0, ERR_OPEN_FAILED (also for what is no regular file),
    // ERR_STAT_FAILED, ERR_READ_FAILED or ERR_OUT_OF_MEMORY.
    int open(const char *path) noexcept;

    std::string_view text() const noexcept { return text_.view(); }

    // Answers 0 when the content is on disk, else ERR_WRITE_FAILED.
    int append(std::string_view content) noexcept;

  private:
    UniqueFd fd_;
    FileText text_;
};

}  // namespace morv
