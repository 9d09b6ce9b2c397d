/* The error state: what went wrong last, where, and how the program got there.
 *
 * Every function of the library that fails sets one process-wide error state and then returns its failure
 * value (-1, 0 or a null pointer, as its own header says). The caller reads the state:
 *
 *     if (MLIBFileSetKeyValue(path, "hostname", name, NULL) < 0)
 *         fprintf(stderr, "code 0x%04X, set in %s line %d\n",
 *                 MLIBErrGet(), MORVErrorGetFile(), MORVErrorGetLine());
 *
 * A successful call does not reset the state: look at it only after a failure. The state is plain data
 * without a lock; a program with threads calls the library from one of them. */
#ifndef MORVSDK_ERROR_H
#define MORVSDK_ERROR_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* The last error code set; ERR_SUCCESS at load. Read it with MLIBErrGet. */
extern MORV_API int32_t morverrno;

/* The last error of the volume layer; kept apart from morverrno. */
extern MORV_API int32_t volerr;

/* The last-error words of the disk and RAID families; 0 at load. */
extern MORV_API int32_t gDiskErr;
extern MORV_API int32_t gRaidErr;

/* The number of entries of rgszErrMsg. */
extern MORV_API const int32_t errNum;

/* The name of each error code, indexed by code >> 8; null for an index without a name. Codes beyond the end
 * of the table are valid too, so compare the index with errNum first. */
extern MORV_API const char *const rgszErrMsg[145];

/* The last error code set; ERR_SUCCESS (0) before any failure. */
MORV_API int MLIBErrGet(void) MORV_NOEXCEPT;

/* Sets the error code, forgets file and line, and captures the call stack. */
MORV_API void MLIBErrSet(int code) MORV_NOEXCEPT;

/* Sets the error code with the place that reports it, and captures the call stack (the innermost 64 frames).
 *
 * file: name of the source file without extension, or null. It is kept as given, not copied, so it must
 *       live as long as the process: pass a literal.
 * line: line in that file. */
MORV_API void MLIBErrSetEx(int code, const char *file, int line) MORV_NOEXCEPT;

/* The file passed to the last MLIBErrSetEx; null before the first, and after MLIBErrSet. Not to be freed. */
MORV_API const char *MORVErrorGetFile(void) MORV_NOEXCEPT;

/* The line passed to the last MLIBErrSetEx; 0 before the first, and after MLIBErrSet. */
MORV_API int MORVErrorGetLine(void) MORV_NOEXCEPT;

/* Prints on standard output the name of the error code that the caller has stored in errno, and a line feed.
 * It reads errno, not the error state. Prints nothing when errno is no code of the table. */
MORV_API void MLIBErrPrint(void) MORV_NOEXCEPT;

/* Creates the log file at path, or empties it, and syncs it to disk. A null path or a file that cannot be
 * opened is ignored; no error is set. */
MORV_API void MLIBErrLogInitial(const char *path) MORV_NOEXCEPT;

/* Appends message and a line feed to the log file at path, creating it if needed, and syncs it to disk.
 *
 * message is the format of the print call: a "%" in it is interpreted. Never pass text from outside.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS  path or message is null
 *   ERR_OPEN_FAILED     the file cannot be opened
 *   ERR_WRITE_FAILED    the message could not be written, flushed or synced
 * After a crash the file may lack the last message or end in a part of it. */
MORV_API int MLIBErrLogSet(const char *path, const char *message) MORV_NOEXCEPT;

/* Writes the call stack of the last error to standard output, a frame a line, innermost first. */
MORV_API void MORVErrorBackTracePrint(void) MORV_NOEXCEPT;

/* Writes the call stack of the last error to the console device and to the system log (priority "err"). It
 * does not end the process. A console that cannot be opened is skipped. */
MORV_API void MORVErrorBackTracePanic(void) MORV_NOEXCEPT;

/* The value of volerr. */
MORV_API int MORVVolGetErr(void) MORV_NOEXCEPT;

/* Stores code into volerr and touches nothing else. */
MORV_API void MORVVolISetErr(int code) MORV_NOEXCEPT;

/* Releases the texts of the captured call stack, if any are held. */
MORV_API void fini_error_bt(void) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
