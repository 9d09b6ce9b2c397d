// The lists of sessions that services write, in folders that everybody can write.
#pragma once

#include "core/base/guard.h"
#include "core/file/file_text.h"

namespace morv {

inline constexpr size_t kMostSessionBytes = size_t{16} << 20;  // hundreds of thousands of sessions

// Opens and reads a list; `fd` stays empty when there is none.
// Links are not followed, and nothing is waited for. Answers 0, ERR_OPEN_FAILED (also for what is no regular file),
// ERR_STAT_FAILED, ERR_READ_FAILED (also for a longer one) or ERR_OUT_OF_MEMORY.
int load_session_list(const char *path, UniqueFd &fd, FileText &text) noexcept;

}  // namespace morv
