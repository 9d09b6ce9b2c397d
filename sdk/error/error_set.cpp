#include "error/error_state.h"

extern "C" void MLIBErrSet(int code) noexcept {
    morverrno = code;
    morv::error_state.file = nullptr;
    morv::error_state.line = 0;
    MLIBIErrBackTraceSave();
}
