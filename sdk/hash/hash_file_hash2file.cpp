#include <morvsdk/internal/hash.h>

#include <string>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/text/pair_format.h"

namespace {

int section_text(std::string &text, const char *section, const MLIBSZHASH *hash, const char *format) {
    // A format that cannot be expanded is refused for an empty hash too.
    if (int code = morv::append_pair(text, format, "", "")) return code;
    text.clear();
    if (section) text.append("[").append(section).append("]\n");
    if (!hash) return 0;
    for (int32_t i = 0; i < hash->nBucket; ++i) {
        const MLIBSZHASHBUCKET &bucket = hash->bucket[i];
        if (!bucket.pszKey) continue;
        if (int code = morv::append_pair(text, format, bucket.pszKey, bucket.pszValue)) return code;
    }
    return 0;
}

int write_section(FILE *stream, const char *section, const MLIBSZHASH *hash, const char *format) {
    std::string text;
    if (int code = section_text(text, section, hash, format)) return code;
    return fwrite(text.data(), 1, text.size(), stream) == text.size() ? 0 : ERR_WRITE_FAILED;
}

}  // namespace

extern "C" int ErrMLIBIFileHash2File(FILE *stream, const char *section, const MLIBSZHASH *hash,
                                     const char *format) noexcept {
    if (!stream || !morv::is_pair_format(format)) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::no_throw([&] { return write_section(stream, section, hash, format); });
    return code == 0 ? 0 : MORV_FAIL(code, -1);
}
