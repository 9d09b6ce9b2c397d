/* Internal functions of the error family. Exported, but without a promise of stability. */
#ifndef MORVSDK_INTERNAL_ERROR_H
#define MORVSDK_INTERNAL_ERROR_H

#include <morvsdk/error.h>

MORV_BEGIN_DECLS

/* Captures the current call stack into the error state, replacing the one held. */
MORV_API void MLIBIErrBackTraceSave(void) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
