// The boundary between C++ that may throw on a failed allocation and everything that must not.
#pragma once

#include <morvsdk/errcodes.h>

#include <new>
#include <stdexcept>

namespace morv {

// Runs `body`, which answers an error code (0: done), and turns a failed allocation into one.
template <class F>
int no_throw(F &&body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc &) {
        return ERR_OUT_OF_MEMORY;
    } catch (const std::length_error &) {
        return ERR_OUT_OF_MEMORY;
    }
}

}  // namespace morv
