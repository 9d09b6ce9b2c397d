#include <errno.h>
#include <morvsdk/error.h>
#include <stdio.h>

extern "C" void MLIBErrPrint(void) noexcept {
    const int code = errno;
    const int index = code >> 8;
    if ((code & 0xFF) != 0 || index < 0 || index >= errNum) return;
    if (const char *name = rgszErrMsg[index]) puts(name);
}
