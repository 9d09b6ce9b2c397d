/* The record store: records kept by key in one btree file.
 *
 *     MORVBDB *db = MORVBDbOpen(path, O_RDWR, 0);
 *     void *line = NULL;
 *     int size = 0;
 *     if (db && MORVBDbGet(db, "ALICE", 6, &line, &size) == 0)
 *         printf("%.*s\n", size, (const char *)line);
 *     MORVBDbFree(line);
 *     MORVBDbClose(db);
 *
 * Keys and values are byte strings with an explicit length in bytes, at least 1; nothing is added to them.
 * Keys are in byte order. The files hold native integers and are read only by machines of the same byte
 * order.
 *
 * Copying out. A function that hands out a record takes the address of a buffer pointer (null, or a block
 * from malloc) and the address of the buffer's size. It grows the buffer when the record is longer than the
 * size, copies the record and sets the size to the record's length, so the same buffer serves a series of
 * calls. The buffer stays the caller's: release it with MORVBDbFree or free. After a failure it is still
 * valid, with the contents unspecified.
 *
 * Reserved records. A key that begins with "#" belongs to the system: writing one removes every record with
 * that key first, also in a store with duplicates, and a walk can pass over them. Keys of ordinary records
 * must not begin with "#".
 *
 * Walking. A handle carries the direction of its next MORVBDbCursorGet:
 *
 *     MORVBDbCursorSetType(db, MORV_BDB_FIRST);
 *     while (MORVBDbCursorGet(db, 1, &key, &keySize, &value, &size) == 0) {
 *         ...
 *         MORVBDbCursorSetType(db, MORV_BDB_NEXT);
 *     }
 *     if (MLIBErrGet() != ERR_STORE_END) ... the walk failed
 *
 * Files. Changes reach the file when the store is closed, or before that when they are many, without a
 * promise for a crash in the middle: a store is a mirror that can be built anew. After a change or a
 * close that failed the file may be refused at the next opening, the records in it before included. On a
 * full file system a change may take seconds before it fails. Nothing is locked; callers keep writers
 * apart. Nothing is printed.
 *
 * Store files lie where everybody can write, so a file is looked through page by page when it is opened, and
 * one that is no sound store is refused with ERR_STORE_INVALID. A file that this process has found sound is
 * known again by its inode, size and times and not looked through until one of them changes. What cannot be
 * guarded against is another process that writes into the file or swaps it while it is being opened, writes
 * into it while it is open here, or writes through a memory mapping that leaves the times alone: it can make
 * the holder of a handle fail in any way. */
#ifndef MORVSDK_BDB_H
#define MORVSDK_BDB_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <stdint.h>

MORV_BEGIN_DECLS

struct __db;

/* An open store. */
typedef struct MORVBDB {
    struct __db *pDb;   /* the Berkeley DB 1.85 handle */
    int32_t cursorType; /* direction of the next MORVBDbCursorGet */
} MORVBDB;

/* Directions of a walk. */
enum {
    MORV_BDB_CURSOR = 1, /* the smallest key that is not less than the one in the caller's key buffer */
    MORV_BDB_FIRST = 2,
    MORV_BDB_LAST = 3,
    MORV_BDB_NEXT = 4, /* the default; on a handle that has not walked yet, the first record */
    MORV_BDB_PREV = 5  /* on a handle that has not walked yet, the last record */
};

/* The reserved keys, and how many of their bytes make up the key. Each value is an int32_t in native byte
 * order. MORV_BDB_DEPRECATED includes its terminating NUL, the others do not. */
#define MORV_BDB_SYNC_TIME "#MORV@SYNC@TIME"
#define MORV_BDB_SYNC_TIME_LENGTH 15
#define MORV_BDB_DEPRECATED "#MORV@DEPRECATED"
#define MORV_BDB_DEPRECATED_LENGTH 17
#define MORV_BDB_EXPIRE_TIME "#MORV@EXPIRE@TIME"
#define MORV_BDB_EXPIRE_TIME_LENGTH 17

/* Opens the store at path.
 *
 * flags:      as for open(2): O_RDONLY or O_RDWR (O_WRONLY counts as that); with O_CREAT to create a file
 *             that does not exist, O_EXCL to insist on that, O_TRUNC to empty a store that does exist
 * duplicates: 1 when a key may have several records: an existing file must have been made so. With 0 an
 *             existing file keeps its own setting.
 *
 * A file that exists is never replaced, whatever it holds; O_TRUNC empties only a sound store or an empty
 * file, and none through a symbolic link. A new file gets mode 0666 less the umask; for root, an opened
 * file is given mode 0666 whole. Opening never blocks on a FIFO, and creates nothing through a symbolic
 * link. The descriptor is closed on exec.
 *
 * Returns a handle for MORVBDbClose, or null with
 *   ERR_BAD_PARAMETERS    path is null or empty
 *   ERR_OUT_OF_MEMORY
 *   ERR_STORE_INVALID     the file is empty, damaged or no record store, or lacks the duplicates asked for;
 *                         or flags ask for O_TRUNC with O_RDONLY, or for no access
 *   ERR_ACCESS_DENIED     no permission
 *   ERR_NOT_ENOUGH_SPACE  the file system is full
 *   ERR_FILE_NOT_FOUND    no such file, and no O_CREAT
 *   ERR_OPEN_FAILED       anything else, among it a path that is no regular file */
MORV_API MORVBDB *MORVBDbOpen(const char *path, int flags, int duplicates) MORV_NOEXCEPT;

/* Writes the changes to the file and releases the handle, also when writing fails.
 *
 * Returns 0, also when writing failed: then the reason is logged and, for these, the error state is set:
 *   ERR_DISK_IO_FAILED, ERR_INTERRUPTED, ERR_NOT_ENOUGH_SPACE, ERR_READ_ONLY_FS
 * Returns -1 only with
 *   ERR_BAD_PARAMETERS  db is null */
MORV_API int MORVBDbClose(MORVBDB *db) MORV_NOEXCEPT;

/* Copies out the value of a key; the first one where the key has several.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS     a null argument, keyLength below 1 or *pSize below 0
 *   ERR_KEY_NOT_FOUND      no such key
 *   ERR_OUT_OF_MEMORY
 *   ERR_DISK_IO_FAILED, ERR_INTERRUPTED, ERR_STORE_READ_FAILED  the store could not be read */
MORV_API int MORVBDbGet(MORVBDB *db, const void *key, int keyLength, void **ppValue,
                        int *pSize) MORV_NOEXCEPT;

/* Stores a record. A store without duplicates replaces the value of a key that it has; one with duplicates
 * adds a record, unless the key is a reserved one.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS  a null argument, or a length below 1
 *   ERR_DISK_IO_FAILED, ERR_INTERRUPTED, ERR_NOT_ENOUGH_SPACE, ERR_STORE_WRITE_FAILED  the put failed
 * and -1 with the error state as it was when the removal of a reserved record's old value failed. */
MORV_API int MORVBDbSet(MORVBDB *db, const void *key, int keyLength, const void *value,
                        int valueLength) MORV_NOEXCEPT;

/* Removes every record with the key.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS  a null argument, or keyLength below 1
 *   ERR_KEY_NOT_FOUND   no such key
 *   ERR_DISK_IO_FAILED, ERR_INTERRUPTED, ERR_NOT_ENOUGH_SPACE, ERR_STORE_DELETE_FAILED  the removal failed */
MORV_API int MORVBDbDelete(MORVBDB *db, const void *key, int keyLength) MORV_NOEXCEPT;

/* Sets the direction of the next MORVBDbCursorGet, MORV_BDB_CURSOR to MORV_BDB_PREV.
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS: db is null, or there is no such direction. */
MORV_API int MORVBDbCursorSetType(MORVBDB *db, int type) MORV_NOEXCEPT;

/* Moves to the next record in the handle's direction, and copies out its key and value.
 *
 * skipReserved: 1 to pass over reserved records. Where that happens at MORV_BDB_FIRST or MORV_BDB_LAST, the
 *               handle's direction becomes MORV_BDB_NEXT or MORV_BDB_PREV; in all other cases a walk
 *               leaves it.
 * ppKey:        in direction MORV_BDB_CURSOR also the key to start from, of *pKeySize bytes
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS  a null argument or a negative size, or no key to start from in direction
 *                       MORV_BDB_CURSOR
 *   ERR_STORE_END       there is no further record
 *   ERR_OUT_OF_MEMORY
 *   ERR_DISK_IO_FAILED, ERR_INTERRUPTED, ERR_STORE_READ_FAILED  the store could not be read */
MORV_API int MORVBDbCursorGet(MORVBDB *db, int skipReserved, void **ppKey, int *pKeySize, void **ppValue,
                              int *pValueSize) MORV_NOEXCEPT;

/* Releases a buffer that was copied out. Null is ignored. */
MORV_API void MORVBDbFree(void *buffer) MORV_NOEXCEPT;

/* Copies out the sync time: the modification time, in seconds since the epoch, of the system file that the
 * records were built from. *ppBuffer (null, or a block from malloc) becomes a block of the record's 4
 * bytes, an int32_t in native byte order.
 *
 * Returns 0, or -1 as MORVBDbGet; ERR_STORE_READ_FAILED also when the record does not hold 4 bytes. */
MORV_API int MORVBDbConfSyncTimeGet(MORVBDB *db, void **ppBuffer) MORV_NOEXCEPT;

/* Stores the sync time. Returns 0, or -1 as MORVBDbSet. */
MORV_API int MORVBDbConfSyncTimeSet(MORVBDB *db, int32_t syncTime) MORV_NOEXCEPT;

/* Whether the stored sync time differs from fileTime, the present modification time of the mirrored file.
 *
 * Returns 1 when it differs, 0 when it is equal, or -1 as MORVBDbConfSyncTimeGet: ERR_KEY_NOT_FOUND when the
 * store has no sync time. */
MORV_API int MORVBDbIsNeedToRebuild(MORVBDB *db, int32_t fileTime) MORV_NOEXCEPT;

/* The deprecation mark: 0 in a live store, 1 when a newer file has taken the store's place and the store has
 * to be opened again.
 *
 * Returns the mark, or -1 as MORVBDbConfSyncTimeGet, also when the store has none. */
MORV_API int MORVBDbDeprecatedGet(MORVBDB *db) MORV_NOEXCEPT;

/* Stores the deprecation mark. Returns 0, or -1 as MORVBDbSet. */
MORV_API int MORVBDbDeprecatedSet(MORVBDB *db, int32_t flag) MORV_NOEXCEPT;

/* Copies out the time, in seconds since the epoch, at which the records of domain accounts were last
 * refreshed, the way MORVBDbConfSyncTimeGet does. */
MORV_API int MORVBDbDomainExpireTimeGet(MORVBDB *db, void **ppBuffer) MORV_NOEXCEPT;

/* Stores the current time as that time. Returns 0, or -1 as MORVBDbSet. */
MORV_API int MORVBDbDomainExpireTimeSet(MORVBDB *db) MORV_NOEXCEPT;

/* Removes that time. Returns 0, also when there was none, or -1 as MORVBDbDelete. */
MORV_API int MORVBDbDomainExpireTimeDelete(MORVBDB *db) MORV_NOEXCEPT;

/* Whether the records of domain accounts have to be refreshed: 1 when the last refresh is more than five
 * minutes (301 seconds or more) ago or the store does not know of one, else 0; 0 also when the store cannot
 * be read, with the error state set. Never -1. */
MORV_API int MORVBDbIsNeedToDomainRebuild(MORVBDB *db) MORV_NOEXCEPT;

/* Grows a buffer to at least `needed` bytes: does nothing when *ppBuffer is not null and *pSize is enough,
 * else reallocates the block and sets *pSize to `needed`. On success *ppBuffer is never null; on failure
 * block and size are as they were.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS  a null argument, or a negative size
 *   ERR_OUT_OF_MEMORY */
MORV_API int MORVCheckAndRealloc(void **ppBuffer, int *pSize, int needed) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
