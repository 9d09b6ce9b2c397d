// How an exported function reports a failure: it sets the error state with its own file stem and line, and
// returns its failure value.
//
//     if (!path) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
#pragma once

#include <morvsdk/error.h>
#include <stddef.h>

namespace morv {

template <size_t N>
struct FileStem {
    char text[N] = {};

    // `name` is a file name without its folder; the stem ends at its last dot.
    consteval FileStem(const char (&name)[N]) {
        size_t end = N - 1;
        for (size_t i = 0; i < N - 1; ++i) {
            if (name[i] == '.') end = i;
        }
        for (size_t i = 0; i < end; ++i)
            text[i] = name[i];
    }
};

template <FileStem S>
inline constexpr FileStem stem_storage = S;

}  // namespace morv

// The stem of the current source file, as a text that lives as long as the library.
#define MORV_STEM (::morv::stem_storage<::morv::FileStem(__FILE_NAME__)>.text)

#define MORV_FAIL(code, result) (MLIBErrSetEx((code), MORV_STEM, __LINE__), (result))
