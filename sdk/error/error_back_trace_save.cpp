#include <errno.h>
#include <execinfo.h>
#include <stdlib.h>

#include "error/error_state.h"

using morv::error_state;

extern "C" void MLIBIErrBackTraceSave(void) noexcept {
    const int saved = errno;
    // Those who fail in several threads at once must not free it twice.
    free(__atomic_exchange_n(&error_state.symbols, nullptr, __ATOMIC_ACQ_REL));
    error_state.depth = backtrace(error_state.frames, error_state.kMaxFrames);
    errno = saved;
}
