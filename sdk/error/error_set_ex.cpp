#include "error/error_state.h"

extern "C" void MLIBErrSetEx(int code, const char *file, int line) noexcept {
    morverrno = code;
    morv::error_state.file = file;
    morv::error_state.line = line;
    MLIBIErrBackTraceSave();
}
