#include "error/error_state.h"

extern "C" const char *MORVErrorGetFile(void) noexcept {
    return morv::error_state.file;
}
