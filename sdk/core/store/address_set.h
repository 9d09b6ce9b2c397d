// A set of IPv4 addresses that is filled once and then asked for every record of a list.
#pragma once

#include <stdint.h>
#include <stdlib.h>

#include "core/base/bit_set.h"
#include "core/base/guard.h"

namespace morv {

class AddressSet {
  public:
    // Room for `count` addresses. Answers whether it could be had.
    bool allocate(size_t count) noexcept {
        // At most half full, so that a search is short.
        size_t slots = 16;
        while (slots / 2 < count) {
            if (slots > SIZE_MAX / 2 / sizeof(uint32_t)) return false;
            slots *= 2;
        }
        slots_.reset(static_cast<uint32_t *>(calloc(slots, sizeof(uint32_t))));
        mask_ = slots - 1;
        return slots_ && met_.allocate(slots);
    }

    // Holds the addresses of an array that ends with 0. Answers whether there was memory for it.
    bool fill(const uint32_t *addresses) noexcept {
        size_t count = 0;
        while (addresses[count] != 0)
            ++count;
        if (!allocate(count)) return false;
        for (size_t i = 0; i < count; ++i)
            add(addresses[i]);
        return true;
    }

    // Answers whether the address is a new one; 0 is none and never in the set.
    bool add(uint32_t address) noexcept {
        const size_t at = find(address);
        if (address == 0 || slots_.get()[at] == address) return false;
        slots_.get()[at] = address;
        return true;
    }

    // Whether the address is in the set. Those that were asked for and are in it are counted, each once.
    bool meet(uint32_t address) noexcept {
        const size_t at = find(address);
        if (address == 0 || slots_.get()[at] != address) return false;
        if (!met_.has(at)) {
            met_.add(at);
            ++met_count_;
        }
        return true;
    }
    size_t met() const noexcept { return met_count_; }

  private:
    // Where the address is, or would be put.
    size_t find(uint32_t address) const noexcept {
        // A network's addresses differ in few bits, and not in the low ones on every machine.
        size_t at = size_t(uint64_t{address} * 0x9E3779B97F4A7C15U >> 32) & mask_;
        while (slots_.get()[at] != 0 && slots_.get()[at] != address)
            at = (at + 1) & mask_;
        return at;
    }

    MallocPtr<uint32_t> slots_;
    size_t mask_ = 0;
    BitSet met_;
    size_t met_count_ = 0;
};

}  // namespace morv
