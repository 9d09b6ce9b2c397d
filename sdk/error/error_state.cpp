#include "error/error_state.h"

#include <execinfo.h>

namespace morv {

ErrorState error_state;

char **error_symbols() noexcept {
    if (!error_state.symbols && error_state.depth > 0) {
        error_state.symbols = backtrace_symbols(error_state.frames, error_state.depth);
    }
    return error_state.symbols;
}

}  // namespace morv
