/* Processes. */
#ifndef MORVSDK_PROC_H
#define MORVSDK_PROC_H

#include <morvsdk/export.h>

MORV_BEGIN_DECLS

/* Answers 1 when a process with that number runs, whoever owns it, else 0, also for one that has ended and
 * that nobody has waited for. With a system root (file.h) "/proc" below it is asked. No error is set. */
MORV_API int BlMLIBProcAlive(int pid) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
