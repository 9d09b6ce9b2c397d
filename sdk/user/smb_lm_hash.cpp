#include <morvsdk/internal/user.h>
#include <nettle/des.h>
#include <string.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include "core/base/fail.h"

namespace {

constexpr int kMost = 14;  // bytes that count
constexpr const char *kCodePage = "ibm-850";

// The first characters of `text` upper-cased, one for one as the method has it ("ß" stays): enough for the
// bytes that count. Answers the number of UTF-16 units, or -1 for what is not UTF-8.
int upper_units(const char *text, UChar (&units)[2 * kMost]) noexcept {
    const auto *at = reinterpret_cast<const uint8_t *>(text);
    int length = 0;
    for (int i = 0; i < kMost && *at; ++i) {
        int32_t size = 0;
        UChar32 c;
        U8_NEXT(at, size, -1, c);
        if (c < 0) return -1;
        at += size;
        U16_APPEND_UNSAFE(units, length, u_toupper(c));
    }
    return length;
}

// The bytes in the code page, zeros behind them. Answers whether there are such; *code as of the
// allocation.
bool to_code_page(const char *text, char (&bytes)[kMost], int *code) noexcept {
    UChar units[2 * kMost];
    const int length = upper_units(text, units);
    bool written = false;
    if (length >= 0) {
        UErrorCode error = U_ZERO_ERROR;
        UConverter *const converter = ucnv_open(kCodePage, &error);
        ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
        ucnv_fromUChars(converter, bytes, kMost, units, length, &error);
        written = U_SUCCESS(error);
        if (error == U_MEMORY_ALLOCATION_ERROR) *code = ERR_OUT_OF_MEMORY;
        ucnv_close(converter);
    }
    explicit_bzero(units, sizeof units);
    return written;
}

void upper_ascii(const char *text, char (&bytes)[kMost]) noexcept {
    memset(bytes, 0, sizeof bytes);
    for (int i = 0; i < kMost && text[i]; ++i)
        bytes[i] = text[i] >= 'a' && text[i] <= 'z' ? char(text[i] - 'a' + 'A') : text[i];
}

bool is_ascii(const char *text) noexcept {
    while (uint8_t(*text - 1) < 0x7F)
        ++text;
    return *text == '\0';
}

// The fixed text encrypted with 7 bytes, spread over the upper 7 bits of the 8 bytes of a key.
void encrypt_half(const char *half, uint8_t *out) noexcept {
    uint64_t bits = 0;
    for (int i = 0; i < 7; ++i)
        bits = bits << 8 | uint8_t(half[i]);
    uint8_t key[DES_KEY_SIZE];
    for (int i = 0; i < DES_KEY_SIZE; ++i)
        key[i] = uint8_t(bits >> (49 - 7 * i) << 1);
    des_ctx des;
    des_set_key(&des, key);  // it answers whether the key is a weak one: an empty half gives one, rightly
    des_encrypt(&des, DES_BLOCK_SIZE, out, reinterpret_cast<const uint8_t *>("KGS!@#$%"));
    explicit_bzero(&des, sizeof des);
    explicit_bzero(key, sizeof key);
    explicit_bzero(&bits, sizeof bits);
}

}  // namespace

extern "C" int MLIBSmbLmHash(const char *password, uint8_t hash[16]) noexcept {
    if (!password || !hash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    char bytes[kMost] = {};
    int code = 0;
    if (is_ascii(password) || !to_code_page(password, bytes, &code)) upper_ascii(password, bytes);
    if (!code) {
        encrypt_half(bytes, hash);
        encrypt_half(bytes + kMost / 2, hash + 8);
    }
    explicit_bzero(bytes, sizeof bytes);
    return code ? MORV_FAIL(code, -1) : 0;
}
