// A set of small numbers, for marking what has been dealt with.
#pragma once

#include <stdint.h>
#include <stdlib.h>

#include "core/base/guard.h"

namespace morv {

class BitSet {
  public:
    // Room for the numbers 0 to count - 1. Answers whether it could be had.
    bool allocate(size_t count) noexcept {
        words_.reset(static_cast<uint64_t *>(calloc(count / 64 + 1, sizeof(uint64_t))));
        return words_ != nullptr;
    }
    bool has(size_t n) const noexcept { return (words_.get()[n / 64] >> n % 64 & 1) != 0; }
    void add(size_t n) noexcept { words_.get()[n / 64] |= uint64_t{1} << n % 64; }

  private:
    MallocPtr<uint64_t> words_;
};

}  // namespace morv
