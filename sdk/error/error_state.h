// The process-wide error state beside the exported words.
#pragma once

#include <morvsdk/internal/error.h>

namespace morv {

struct ErrorState {
    static constexpr int kMaxFrames = 64;

    const char *file;
    int32_t line;
    void *frames[kMaxFrames];
    int32_t depth;
    char **symbols;  // one allocation, as backtrace_symbols makes it
};

extern ErrorState error_state;

// The texts of the captured frames, `error_state.depth` of them; null when there are none. They are made when
// they are first asked for: translating a stack costs ten times what walking it does, and few errors are
// ever printed.
char **error_symbols() noexcept;

}  // namespace morv
