/* Processes. */
#ifndef MORVSDK_PROC_H
#define MORVSDK_PROC_H

#include <morvsdk/export.h>

MORV_BEGIN_DECLS

/* Answers 1 when there is a process with that number, whoever owns it, else 0; no error is set. */
MORV_API int BlMLIBProcAlive(int pid) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
