// Integers in byte strings: loaded and stored, never cast over.
#pragma once

#include <stdint.h>
#include <string.h>

namespace morv {

inline uint32_t load_be32(const void *at) noexcept {
    uint8_t b[4];
    memcpy(b, at, sizeof b);
    return uint32_t{b[0]} << 24 | uint32_t{b[1]} << 16 | uint32_t{b[2]} << 8 | b[3];
}

inline void store_be32(void *at, uint32_t value) noexcept {
    const uint8_t b[4] = {uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8), uint8_t(value)};
    memcpy(at, b, sizeof b);
}

inline uint16_t load_be16(const void *at) noexcept {
    uint8_t b[2];
    memcpy(b, at, sizeof b);
    return uint16_t(b[0] << 8 | b[1]);
}

inline void store_be16(void *at, uint16_t value) noexcept {
    const uint8_t b[2] = {uint8_t(value >> 8), uint8_t(value)};
    memcpy(at, b, sizeof b);
}

inline uint16_t load_le16(const void *at) noexcept {
    uint8_t b[2];
    memcpy(b, at, sizeof b);
    return uint16_t(b[0] | b[1] << 8);
}

inline uint32_t load_native32(const void *at) noexcept {
    uint32_t value;
    memcpy(&value, at, sizeof value);
    return value;
}

inline void store_native32(void *at, uint32_t value) noexcept {
    memcpy(at, &value, sizeof value);
}

}  // namespace morv
