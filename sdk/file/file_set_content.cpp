#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "core/file/file_edit.h"

using namespace morv;

extern "C" int MORVFileSetContent(const char *path, const void *content, size_t size) noexcept {
    if (!path || (!content && size > 0)) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    FileEdit file;
    int code = file.open_unread(path, FileEdit::kMayCreate);
    if (code == 0) code = file.commit({static_cast<const char *>(content), size});
    return code == 0 ? 0 : MORV_FAIL(code, -1);
}
