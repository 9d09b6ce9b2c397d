/* Processes. */
#ifndef MORVSDK_PROC_H
#define MORVSDK_PROC_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>

MORV_BEGIN_DECLS

/* Answers 1 when a process with that number runs, whoever owns it, else 0, also for one that has ended and
 * that nobody has waited for. With a system root (file.h) "/proc" below it is asked. No error is set. */
MORV_API int BlMLIBProcAlive(int pid) MORV_NOEXCEPT;

/* Finds the running processes with a name, in the order of their numbers.
 *
 * name: as "ps" has it, of at most 15 bytes; the first 15 of a longer one count
 * pids: gets their numbers, as many as there is room for
 * max:  numbers that pids has room for
 *
 * With a system root "/proc" below it is asked.
 * Returns how many are in pids, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED ("/proc" cannot be read) or
 * ERR_OUT_OF_MEMORY. */
MORV_API int MLIBPs(const char *name, int *pids, int max) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
