#include <execinfo.h>
#include <stdlib.h>

#include "error/error_state.h"

using morv::error_state;

extern "C" void MLIBIErrBackTraceSave(void) noexcept {
    free(error_state.symbols);
    error_state.symbols = nullptr;
    error_state.depth = backtrace(error_state.frames, error_state.kMaxFrames);
}
