#include "error/error_state.h"

extern "C" int MORVErrorGetLine(void) noexcept {
    return morv::error_state.line;
}
