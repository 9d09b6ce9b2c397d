#include <morvsdk/internal/user.h>
#include <nettle/md4.h>
#include <string.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include "core/base/fail.h"

static void add_unit(md4_ctx *md4, unsigned unit) noexcept {
    const uint8_t bytes[] = {uint8_t(unit), uint8_t(unit >> 8)};
    md4_update(md4, sizeof bytes, bytes);
}

// The MD4 of the text in UTF-16, low bytes first. Answers whether the text is valid UTF-8.
static bool add_text(md4_ctx *md4, const char *text) noexcept {
    const auto *at = reinterpret_cast<const uint8_t *>(text);
    while (*at) {
        int32_t size = 0;
        UChar32 c;
        U8_NEXT(at, size, -1, c);
        if (c < 0) return false;
        at += size;
        if (U_IS_BMP(c)) {
            add_unit(md4, unsigned(c));
        } else {
            add_unit(md4, U16_LEAD(c));
            add_unit(md4, U16_TRAIL(c));
        }
    }
    return true;
}

extern "C" int MLIBSmbMd4Hash(const char *password, uint8_t hash[16]) noexcept {
    if (!password || !hash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    md4_ctx md4;
    md4_init(&md4);
    const bool valid = add_text(&md4, password);
    if (valid) md4_digest(&md4, MD4_DIGEST_SIZE, hash);
    explicit_bzero(&md4, sizeof md4);
    return valid ? 0 : MORV_FAIL(ERR_BAD_PARAMETERS, -1);
}
