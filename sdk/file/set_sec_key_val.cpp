#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "core/text/key_lines.h"
#include "core/text/pair_format.h"
#include "file/list_guard.h"

using namespace morv;

extern "C" int ErrSetSecKeyVal(const char *path, const char *section, const char *key, const char *value,
                               const char *format) noexcept {
    // All that can be refused is refused before the section is made.
    if (!path || !section || !key || !value || !is_one_line(key) || !is_one_line(value) ||
        !is_pair_format(format)) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    HashPtr empty(PshMLIBSzHashAlloc(1024));
    if (!empty) return -1;
    MLIBSZHASH *hash = empty.release();
    int result = ErrMLIBFileAddSection(path, section, hash, format);
    if (result == 0) result = MLIBFileGetSection(path, section, &hash);
    if (result >= 0) {
        result = MLIBSzHashSetValue(&hash, key, value) < 0
                     ? -1
                     : ErrMLIBFileSetSection(path, section, nullptr, hash, format);
    }
    MLIBSzHashFree(hash);
    return result;
}
