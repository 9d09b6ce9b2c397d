#include <morvsdk/internal/hash.h>

#include <string>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/text/hash_text.h"

using namespace morv;

extern "C" int ErrMLIBIFileHash2File(FILE *stream, const char *section, const MLIBSZHASH *hash,
                                     const char *format) noexcept {
    if (!stream) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] {
        std::string text;
        if (int failed = append_hash(text, section, hash, format)) return failed;
        return fwrite(text.data(), 1, text.size(), stream) == text.size() ? 0 : int{ERR_WRITE_FAILED};
    });
    return code == 0 ? 0 : MORV_FAIL(code, -1);
}
