#include <stdlib.h>

#include "error/error_state.h"

extern "C" void fini_error_bt(void) noexcept {
    free(morv::error_state.symbols);
    morv::error_state.symbols = nullptr;
}
