#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/text/hash_text.h"
#include "core/text/list_guard.h"
#include "file/pair_lines.h"

using namespace morv;

// Whether the pair can be written at all.
static int check_pair(const char *section, const MLIBSZHASH *pair, const char *format) noexcept {
    return no_throw([&] {
        std::string text;
        return append_hash(text, section, pair, format);
    });
}

static int set_key(const char *path, const char *section, const char *key, const char *value,
                   const char *format, MLIBSZHASH *&hash) noexcept {
    // All that can be refused is refused before the section is made.
    if (MLIBSzHashSetValue(&hash, key, value) < 0) return -1;
    if (int code = check_pair(section, hash, format)) return MORV_FAIL(code, -1);
    PslSzHashRemoveAll(hash);

    const int added = ErrMLIBFileAddSection(path, section, hash, format);
    if (added < 0) return -1;
    if (added == 0) {
        // Comments stay in the file as they are; those that look like pairs would be written a second time.
        if (int code = read_section(path, section, "#;", &hash)) return MORV_FAIL(code, -1);
    }
    if (MLIBSzHashSetValue(&hash, key, value) < 0) return -1;
    return ErrMLIBFileSetSection(path, section, nullptr, hash, format);
}

extern "C" int ErrSetSecKeyVal(const char *path, const char *section, const char *key, const char *value,
                               const char *format) noexcept {
    if (!path || !section || !key || !value) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    HashPtr pairs(PshMLIBSzHashAlloc(1024));
    if (!pairs) return -1;
    MLIBSZHASH *hash = pairs.release();
    const int result = set_key(path, section, key, value, format, hash);
    MLIBSzHashFree(hash);
    return result;
}
