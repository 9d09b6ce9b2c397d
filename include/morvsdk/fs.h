/* Mounted file systems, from "/proc/mounts".
 *
 * Mount points and devices are named as the system names them; with a system root (file.h) "/proc/mounts"
 * and the devices are looked for below it. */
#ifndef MORVSDK_FS_H
#define MORVSDK_FS_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <morvsdk/list.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* States of a file system. */
enum {
    FS_STATE_UNKNOWN = 0, /* the superblock cannot be read */
    FS_STATE_CLEAN = 1,
    FS_STATE_ERRORS = 2 /* errors were found in it */
};

/* A mounted file system. */
typedef struct FS_INFO {
    char szDevice[128];     /* "/dev/md2" */
    char szMountPoint[128]; /* "/volume1" */
    char szType[32];        /* "ext4" */
    int32_t state;          /* FS_STATE_...: of ext2, ext3 and ext4 the superblock's; of others CLEAN */
    int32_t writable;       /* 0 when mounted read-only, else 1 */
} FS_INFO;

/* Reads the file system that is mounted at a path: the one mounted last where several are.
 *
 * ppInfo: gets the record; free it with FSInfoFree.
 *
 * Returns 1; 0 when nothing is mounted there; or -1 with ERR_BAD_PARAMETERS (null), ERR_OPEN_FAILED
 * ("/proc/mounts"), ERR_FORMAT_ERROR (a text of the line is longer than the record's) or
 * ERR_OUT_OF_MEMORY. */
MORV_API int FSInfoGet(const char *path, FS_INFO **ppInfo) MORV_NOEXCEPT;

/* Frees a record; null is ignored. */
MORV_API void FSInfoFree(FS_INFO *pInfo) MORV_NOEXCEPT;

/* Pushes all mount points onto a list, which may move: in the order of mounting, each once.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED or ERR_OUT_OF_MEMORY. */
MORV_API int FSPathEnum(MLIBSZLIST **ppList) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
