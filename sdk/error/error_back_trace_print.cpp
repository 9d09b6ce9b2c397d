#include <stdio.h>

#include "error/error_state.h"

extern "C" void MORVErrorBackTracePrint(void) noexcept {
    char **const symbols = morv::error_symbols();
    for (int i = 0; symbols && i < morv::error_state.depth; ++i) {
        printf("%s\n", symbols[i]);
    }
}
