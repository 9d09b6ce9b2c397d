#include "core/account/packed_share.h"

#include <string.h>

#include <initializer_list>

#include "core/base/bytes.h"

namespace morv {

bool PackedShare::read(std::string_view packed) noexcept {
    const size_t size = packed.size();
    const auto field = [&](size_t at) { return load_native32(packed.data() + at); };
    if (size <= packed_header || field(0) != 0) return false;
    if (field(packed_total) != size || field(packed_record) != size - packed_lead) return false;
    for (const size_t number : {packed_access, packed_browseable, packed_ftp}) {
        if (field(number) > INT32_MAX) return false;
    }
    size_t next = packed_header;
    for (size_t i = 0; i < packed_text_count; ++i) {
        const size_t at = size_t{field(packed_texts + 4 * i)} + packed_lead;
        texts[i] = packed.data() + size - 1;
        if (at == size - 1 && i > 0) continue;
        if (at != next || at >= size - 1) return false;
        const size_t length = strnlen(packed.data() + at, size - at);
        if (length == 0 || length == size - at) return false;
        texts[i] = packed.data() + at;
        next = at + length + 1;
    }
    access = int32_t(field(packed_access));
    browseable = int32_t(field(packed_browseable));
    ftp = int32_t(field(packed_ftp));
    return next == size;
}

}  // namespace morv
