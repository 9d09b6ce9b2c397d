#include "core/file/last_line.h"

#include <errno.h>

#include "core/file/file_append.h"

namespace morv {

int end_last_line(const char *path) noexcept {
    FileAppend file;
    const int code = file.open(path);
    if (code != 0) return errno == ENOENT ? 0 : code;
    return file.text().empty() || file.text().ends_with('\n') ? 0 : file.append("\n");
}

}  // namespace morv
