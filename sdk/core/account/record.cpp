#include "core/account/record.h"

#include <limits.h>
#include <morvsdk/errcodes.h>
#include <stdlib.h>
#include <string.h>

namespace morv {

bool lies_in(const void *at, const void *block, int64_t size) noexcept {
    const auto from = reinterpret_cast<uintptr_t>(block);
    const auto where = reinterpret_cast<uintptr_t>(at);
    return block && where >= from && where - from < static_cast<uint64_t>(size);
}

int make_record(void **block, int32_t *size, size_t header, std::span<const char *const> texts,
                char **copies) noexcept {
    size_t needed = header;
    for (const char *text : texts) {
        if (!text) continue;
        if (lies_in(text, *block, *size)) return ERR_BAD_PARAMETERS;
        const size_t length = strlen(text);
        if (length == 0) continue;
        if (length >= INT32_MAX - needed) return ERR_OUT_OF_MEMORY;
        needed += length + 1;
    }
    if (needed == header) ++needed;

    void *const old = *block;
    const auto old_size = static_cast<size_t>(*size);
    if (!old || old_size < needed) {
        void *const made = malloc(needed);
        if (!made) return ERR_OUT_OF_MEMORY;
        *block = made;
        *size = static_cast<int32_t>(needed);
    }
    if (old) explicit_bzero(old, old_size);
    if (old != *block) free(old);

    char *at = static_cast<char *>(*block) + header;
    char *const last = static_cast<char *>(*block) + *size - 1;
    *last = '\0';
    for (const char *text : texts) {
        if (!text || !*text) {
            *copies++ = last;
            continue;
        }
        *copies++ = at;
        const size_t length = strlen(text) + 1;
        memcpy(at, text, length);
        at += length;
    }
    return 0;
}

bool is_domain_name(const char *name) noexcept {
    return strchr(name, '\\') != nullptr;
}

}  // namespace morv
