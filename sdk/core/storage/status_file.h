// Files by which programs of the appliance tell each other how things stand. They lie where everybody may
// have put something under their name.
#pragma once

#include "core/file/file_text.h"

namespace morv {

enum class Writers {
    kAny,
    kTrusted  // root and the user of this process: another's file counts as missing
};

// Reads a regular file; anything else in its place counts as missing. `path` is the system's. Answers 0, ERR_FILE_NOT_FOUND, ERR_OPEN_FAILED,
// ERR_FORMAT_ERROR (longer than `most` bytes) or ERR_OUT_OF_MEMORY.
int load_status(const char *path, Writers writers, size_t most, FileText &text) noexcept;

}  // namespace morv
