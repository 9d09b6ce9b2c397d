// Packed share records: the values of the share store. Offsets of texts count from the record, which begins behind the
// leading zero; the layout is that of a machine with pointers of 4 bytes, on every machine.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string_view>

namespace morv {

inline constexpr size_t packed_lead = 4;   // the zero
inline constexpr size_t packed_texts = 4;  // six offsets, in field order
inline constexpr size_t packed_access = 28;
inline constexpr size_t packed_browseable = 32;
inline constexpr size_t packed_ftp = 36;
inline constexpr size_t packed_total = 40;   // bytes of the packed value
inline constexpr size_t packed_record = 44;  // the same less the zero's
inline constexpr size_t packed_header = 48;  // here the texts begin

inline constexpr size_t packed_text_count = 6;

// A packed record, looked at where it lies.
struct PackedShare {
    const char *texts[packed_text_count];
    int32_t access, browseable, ftp;

    const char *name() const noexcept { return texts[0]; }
    const char *path() const noexcept { return texts[2]; }

    // Only the one form that packing makes is taken: sizes that agree, a name, texts one behind the other up to the
    // last byte. Answers whether `packed` has it.
    bool read(std::string_view packed) noexcept;
};

}  // namespace morv
