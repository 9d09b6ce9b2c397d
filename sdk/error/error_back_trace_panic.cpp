#include <stdio.h>
#include <syslog.h>

#include "core/base/guard.h"
#include "core/file/sys_path.h"
#include "error/error_state.h"

extern "C" void MORVErrorBackTracePanic(void) noexcept {
    char **const symbols = morv::error_symbols();
    if (!symbols) return;
    const int depth = morv::error_state.depth;

    if (morv::FilePtr console{fopen(morv::SysPath("/dev/console").c_str(), "we")}) {
        for (int i = 0; i < depth; ++i) {
            fprintf(console.get(), "%s\n", symbols[i]);
        }
    }
    for (int i = 0; i < depth; ++i) {
        syslog(LOG_ERR, "%s\n", symbols[i]);
    }
}
