/* The walk over the records of a file of the blocking. Exported, but without a promise of stability. */
#ifndef MORVSDK_INTERNAL_AUTOBLOCK_H
#define MORVSDK_INTERNAL_AUTOBLOCK_H

#include <morvsdk/autoblock.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* What is done with each record; `argument` is that of the call. */
enum {
    AUTOBLOCK_CALL = 0,         /* the request's function is called; argument is handed on */
    AUTOBLOCK_COPY_BUT = 1,     /* copied to fd unless it has this address (argument: uint32_t *) */
    AUTOBLOCK_COPY_BUT_ALL = 2, /* the same for many (argument: uint32_t *, ended by 0) */
    AUTOBLOCK_CLEAR = 3,        /* made empty in place when it has this address (argument: uint32_t *) */
    AUTOBLOCK_FIND = 4          /* the walk ends at this address (argument: uint32_t *) */
};

typedef struct AUTOBLOCK_SCAN {
    int protection;   /* as for mmap(2) */
    int mapFlags;     /* as for mmap(2) */
    int operation;    /* AUTOBLOCK_... */
    int lock;         /* as for flock(2) */
    int openFlags;    /* as for open(2) */
    int64_t size;     /* bytes of the file to look at; what lies behind the last whole record is not */
    int64_t offset;   /* where to begin, in bytes */
    int64_t now;      /* seconds since the epoch */
    int64_t maxAge;   /* seconds; records as old are passed over. 0: none are */
    const char *path; /* in the system */
    int (*each)(MORV_AUTOBLOCK_IP *record, int fd, void *argument); /* answers 1 to end the walk */
} AUTOBLOCK_SCAN;

/* Walks over the records that are neither empty nor too old.
 *
 * fd: handed to the record function; where records are copied to
 *
 * Returns 1 when a record function ended it, else 0; for AUTOBLOCK_COPY_BUT 1 when the address was not there
 * and 0 when it was; or -1 with ERR_BAD_PARAMETERS, ERR_MAP_FAILED, ERR_READ_FAILED, ERR_WRITE_FAILED,
 * ERR_OUT_OF_MEMORY or a code of MORVAutoBlockFileOpen. */
MORV_API int AutoBlockIMmapProcess(const AUTOBLOCK_SCAN *request, int fd, void *argument) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
