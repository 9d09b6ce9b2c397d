// The lists of sessions that services write, in folders that everybody can write.
#pragma once

#include "core/base/guard.h"
#include "core/file/file_text.h"

namespace morv {

// Opens and reads a list; `fd` stays empty when there is none. One that is too long to be a list is moved aside.
// Links are not followed, and nothing is waited for. Answers 0, ERR_OPEN_FAILED (also for what is no regular file),
// ERR_STAT_FAILED, ERR_READ_FAILED or ERR_OUT_OF_MEMORY.
int load_session_list(const char *path, UniqueFd &fd, FileText &text) noexcept;

}  // namespace morv
