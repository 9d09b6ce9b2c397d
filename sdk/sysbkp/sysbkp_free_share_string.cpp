#include <morvsdk/internal/sysbkp.h>
#include <stdlib.h>

#include <initializer_list>

#include "core/base/fail.h"

extern "C" void MORVSysbkpIFreeShareString(MORVSYSBKPSHARE *share) noexcept {
    if (!share) {
        MLIBErrSetEx(ERR_BAD_PARAMETERS, MORV_STEM, __LINE__);
        return;
    }
    for (char **text : {&share->szName, &share->szPath, &share->szComment, &share->szReadWrite,
                        &share->szReadOnly, &share->szDenied}) {
        free(*text);
        *text = nullptr;
    }
}
