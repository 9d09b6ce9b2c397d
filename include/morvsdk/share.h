/* The share database: which folders are shared, and who may do what in them.
 *
 *     MORVSHARE *share = NULL;
 *     if (MORVShareGet("music", &share) == 0)
 *         printf("%s is %s; writers: %s\n", share->szName, share->szPath, share->szWriteList);
 *     MORVShareFree(share);
 *
 * Shares are the sections of the file-sharing configuration "/usr/morv/etc/smb.conf", but for the reserved
 * sections "global", "home" and "printers". They are read through a mirror, the record store (bdb.h)
 * "/tmp/.db.morvshare.0957", which is built anew whenever the file has changed.
 *
 * Names compare without regard to letter case. Rights lists hold users and, behind "@", groups, separated
 * by ",".
 *
 * Changes of the configuration take effect whole or not at all, and sections that are not the changed
 * share's stay byte for byte, as do comments and keys that the record does not know.
 *
 * Locks (file.h): readers take MORV_LOCK_SMB shared, changes take it exclusively, and every function waits
 * up to 5 seconds (ERR_LOCK_FAILED). The MORVShareDB... functions take none.
 *
 * "The mirror's codes" are those that user.h lists. */
#ifndef MORVSDK_SHARE_H
#define MORVSDK_SHARE_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <morvsdk/hash.h>
#include <morvsdk/list.h>
#include <stdint.h>
#include <stdio.h>

MORV_BEGIN_DECLS

struct MORVBDB;

/* ---- Records --------------------------------------------------------------------------------------- */

/* What everybody may do in a share (accessType). */
enum { MORV_SHARE_READ_ONLY = 1, MORV_SHARE_READ_WRITE = 2, MORV_SHARE_NO_ACCESS = 4 };

/* What FTP may not do (ftpFlags). */
enum { MORV_SHARE_FTP_NO_LIST = 1, MORV_SHARE_FTP_NO_MODIFY = 2, MORV_SHARE_FTP_NO_DOWNLOAD = 4 };

/* A share: one block from malloc, the texts behind the header in field order; an empty text is the block's
 * last byte. */
typedef struct MORVSHARE {
    char *szName;
    char *szComment;
    char *szPath;         /* absolute */
    char *szInvalidUsers; /* who is refused */
    char *szWriteList;    /* who may read and write */
    char *szReadList;     /* who may read */
    int32_t accessType;   /* MORV_SHARE_READ_ONLY... */
    int32_t browseable;   /* 1: listed to clients */
    int32_t ftpFlags;     /* mask of MORV_SHARE_FTP_... */
    uint32_t size;        /* bytes of the block */
    uint32_t allocated;   /* the same, or those of the buffer that a record was unpacked into */
} MORVSHARE;

/* Makes a record from the texts and numbers of another one, `spec`; its sizes are not looked at, and null
 * texts count as empty ones.
 *
 * Returns the record, to be freed with MORVShareFree; or null with
 *   ERR_BAD_PARAMETERS     spec, its name or its path is null, or a number is below 0
 *   ERR_INVALID_SHARENAME  the name is no valid share name
 *   ERR_INVALID_PATH  the path does not begin with "/"
 *   ERR_OUT_OF_MEMORY */
MORV_API MORVSHARE *MORVShareAlloc(const MORVSHARE *spec) MORV_NOEXCEPT;

/* Frees a record; null is ignored. */
MORV_API void MORVShareFree(MORVSHARE *share) MORV_NOEXCEPT;

/* Answers 1 for a valid share name: 1 to 32 UTF-8 characters, else as BlMLIBIsUserName. Else 0; no error is
 * set. */
MORV_API int BlMLIBIsShareName(const char *name) MORV_NOEXCEPT;

/* What stands against a name for a new share (ShareNameCheck). */
enum {
    MORV_SHARE_NAME_FREE = 0,
    MORV_SHARE_NAME_SERVICE = 1, /* the folder of a service that is enabled */
    MORV_SHARE_NAME_SYSTEM = 2,
    MORV_SHARE_NAME_USB = 10, /* the folder of a USB disk */
    MORV_SHARE_NAME_SATA = 18 /* the folder of an attached disk */
};

/* Services that own folders, as bits, with the key in "/etc/morvinfo.conf" whose value "yes" enables
 * each. */
enum {
    MORV_SERVICE_WEB = 1,           /* runweb: web */
    MORV_SERVICE_PHOTO = 2,         /* runphoto: photo */
    MORV_SERVICE_MEDIA = 4,         /* runmediaserver: music, video */
    MORV_SERVICE_NETBACKUP = 8,     /* runnetbackup: NetBackup */
    MORV_SERVICE_SURVEILLANCE = 16, /* runsurveillance: surveillance */
    MORV_SERVICE_AUDIO = 32         /* runaudio: music */
};

/* Looks whether a name is kept for the system. Letter case counts. Returns one of MORV_SHARE_NAME_..., or
 * -1 with ERR_BAD_PARAMETERS (null). */
MORV_API int ShareNameCheck(const char *name) MORV_NOEXCEPT;

/* ---- Reading --------------------------------------------------------------------------------------- */

/* Reads a share by name. *ppShare: null, or a record to be used again; free it with MORVShareFree.
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_NO_SUCH_SHARE, ERR_LOCK_FAILED, ERR_UNLOCK_FAILED, or the
 * mirror's codes. */
MORV_API int MORVShareGet(const char *name, MORVSHARE **ppShare) MORV_NOEXCEPT;

/* Push the names of shares onto a list, in upper-cased order and as they are spelled in the file.
 *
 * ppList: address of a list, which may move.
 *   MORVShareEnum           all; the selector, a mask of MORV_SHARE_READ_ONLY..., chooses by access type, 0
 *                           takes all
 *   MORVShareEnumByPrefix   those whose name begins with prefix, without regard to letter case
 *   MORVShareEnumByRegex    those whose name matches an extended regular expression of POSIX
 *   MORVShareEnumByMntPath  those whose folder is mountPath or lies below it
 *
 * Return the number of names pushed, or -1 with ERR_BAD_PARAMETERS (null, or no regular expression),
 * ERR_LOCK_FAILED, ERR_STORE_WALK_FAILED, ERR_OUT_OF_MEMORY, or the mirror's codes. */
MORV_API int MORVShareEnum(MLIBSZLIST **ppList, int selector) MORV_NOEXCEPT;
MORV_API int MORVShareEnumByPrefix(MLIBSZLIST **ppList, const char *prefix) MORV_NOEXCEPT;
MORV_API int MORVShareEnumByRegex(MLIBSZLIST **ppList, const char *pattern) MORV_NOEXCEPT;
MORV_API int MORVShareEnumByMntPath(MLIBSZLIST **ppList, const char *mountPath) MORV_NOEXCEPT;

/* Copies the path of a share to buffer of size bytes.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_NOT_ENOUGH_MEMORY (buffer too small), or the codes of
 * MORVShareGet. */
MORV_API int MORVSharePathGet(const char *name, char *buffer, int size) MORV_NOEXCEPT;

/* Fills a hash with the volume of each share: the name of the share, and the mount point ("/proc/mounts")
 * that its folder lies on. *ppHash may move.
 * Returns the number of shares, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED, or the codes of
 * MORVShareEnum. */
MORV_API int MORVShareVolumeMap(MLIBSZHASH **ppHash) MORV_NOEXCEPT;

/* Formats the rights of a user in a share: "NAME - RW", "NAME - RO" or "NAME - NA", into buffer of size
 * bytes. Entries of the user and of the groups that the user is in count alike: no access before read-write
 * before read-only; without an entry the access type of the share decides.
 * Returns the access as MORV_SHARE_..., or -1 with ERR_BAD_PARAMETERS, ERR_NOT_ENOUGH_MEMORY, or the codes
 * of the group database. */
MORV_API int ParseRights(const MORVSHARE *share, const char *userName, char *buffer, int size) MORV_NOEXCEPT;

/* Checks three rights lists against each other, groups taken as their members.
 * Returns 2 when a user is in lists of different rights, else 1 when one is met twice, else 0; or -1 with
 * ERR_OUT_OF_MEMORY or the codes of the group database. Null lists count as empty. */
MORV_API int UserCheckRights(const char *noAccess, const char *readWrite, const char *readOnly) MORV_NOEXCEPT;

/* ---- Reserved sections ----------------------------------------------------------------------------- */

/* section: "global", "home" or "printers", in any letter case.
 *
 * MORVShareRSectionGet       puts the keys (in lower case) and values of the section into a hash, which may
 *                            move
 * MORVShareRSectionGetValue  copies one value to buffer of size bytes; the key in any case, cut off at the
 *                            first occurrence of cutAt when that is not null
 * MORVShareRSectionSet       replaces the whole section by the pairs of a hash, also in the file; comments
 *                            of its own go. The mirror then holds the pairs alone; built anew, also the
 *                            comments and blank lines that stand before the next section
 * MORVShareRSectionRemove    removes the section, also from the file
 *
 * Get answers 0, GetValue the value's length (0: no such key, the buffer is as it was), Set 1, Remove 0; or
 * -1 with
 *   ERR_BAD_PARAMETERS     null; a key or value that could not be read back: empty key, "=" in a key or a
 *                          mark of a comment or section before it, a line feed; in a value blanks or
 *                          quotes around it or a backslash at its end
 *   ERR_INVALID_SHARENAME  the section is not reserved (Set, Remove)
 *   ERR_KEY_NOT_FOUND      there is no such section
 *   ERR_NOT_ENOUGH_SPACE   the buffer is too small
 *   or the codes of MORVShareSet. */
MORV_API int MORVShareRSectionGet(const char *section, MLIBSZHASH **ppHash) MORV_NOEXCEPT;
MORV_API int MORVShareRSectionGetValue(const char *section, const char *key, const char *cutAt, char *buffer,
                                       int size) MORV_NOEXCEPT;
MORV_API int MORVShareRSectionSet(const char *section, const MLIBSZHASH *hash) MORV_NOEXCEPT;
MORV_API int MORVShareRSectionRemove(const char *section) MORV_NOEXCEPT;

/* ---- Changing -------------------------------------------------------------------------------------- */

/* Adds a share, or changes one. Takes MORV_LOCK_SMB and MORV_LOCK_EXPORTS.
 *
 * oldName: null to add; else the name of the share to change. A new name renames it, and a new path moves
 *          the folder and its lines in "/etc/exports". Paths are kept without "//", "/./" and "/" at the
 *          end; links on the way are followed when folders are compared.
 * share:   all that the share is to be. Entries of the rights lists that are no existing users or groups
 *          are left out; a list as MORVShareGet gives it stays as the file has it. When adding, the folder
 *          is made (0777) if it does not exist; so it is when the one to be moved is missing.
 *
 * "@users" in a list says what everybody may do, and so does accessType. Where the two contradict each
 * other the list counts, unless accessType alone was changed: then "@users" goes to the list that says the
 * same or, for no access, out of the lists. Without "@users", read-only and read-write are for guests, too,
 * and no access lets in who is in the write list or the read list, and nobody else.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS     a null record, a line feed in a text, numbers out of range, a path with "..", or
 *                          what the file could not say; a folder that is the system's ("/", "/etc",
 *                          "/usr"...; those in "/var/services" are not), or lies in or holds one; or the
 *                          folder to be moved is such a one, "/var/services/homes" or a mount point, or
 *                          another section of the file has its path there
 *   ERR_INVALID_SHARENAME  the name is not valid, or kept for the system
 *   ERR_INVALID_PATH  the path does not begin with "/"
 *   ERR_SHARE_EXISTS       another share has the new name, or a section of the file that is no share
 *   ERR_NO_SUCH_SHARE      there is no share oldName
 *   ERR_TOO_MANY_SHARES    the limit of the model ("maxshares") is reached
 *   ERR_CREATE_FAILED      the folder cannot be made: the one that it is to lie in is missing, or what has
 *                          its name is no folder
 *   ERR_LOCK_FAILED, ERR_UNLOCK_FAILED, ERR_NOT_ENOUGH_SPACE, ERR_WRITE_FAILED, ERR_RENAME_FAILED, the
 *   codes of ShareMove, or the mirror's codes
 * After a failure the configuration and the folder are as they were. */
MORV_API int MORVShareSet(const char *oldName, const MORVSHARE *share) MORV_NOEXCEPT;

/* Removes a share, its folder and its lines in "/etc/exports". The folder is moved into "@tmp" of its
 * volume and removed there by a process in the background. A folder that MORVShareSet would not move stays;
 * so do its exports when another section of the file has its path there.
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_NO_SUCH_SHARE, or the codes of MORVShareSet: nothing was
 * changed then; or with the codes of MORVShareMove2Tmp: the share is gone, but the folder is where it
 * was. */
MORV_API int MORVShareDelete(const char *name) MORV_NOEXCEPT;

/* ---- Folders --------------------------------------------------------------------------------------- */

/* Moves the folder `from` to `to`, which must not exist: by a rename on the same volume, else by a copy of
 * everything in it with owner, mode, times, extended attributes and access lists, holes and hard links,
 * after which `from` goes to "@tmp" of its volume to be removed in the background. Symbolic links are
 * copied, not followed. What is written into the folder meanwhile may not be in the copy.
 *
 * While files are copied, "/tmp/sharecopy.info" says how far: the key COPY_FILE_SIZE holds the bytes copied
 * so far. It is removed at the end. The copy is made beside `to` as "." NAME ".sharecopy"; one that a
 * killed process has left there is removed by the next call for the same `to`.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS     null, or `to` lies in `from`
 *   ERR_INVALID_PATH
 *   ERR_PATH_NOT_FOUND     there is no folder `from`
 *   ERR_FILE_EXISTS        there is something called `to`
 *   ERR_LOCK_FAILED        another process copies to `to`
 *   ERR_DEVICE_BUSY        something is mounted in `from`, which a copy would leave out
 *   ERR_NOT_ENOUGH_SPACE, ERR_READ_FAILED, ERR_WRITE_FAILED, ERR_ACCESS_DENIED, ERR_CREATE_FAILED,
 *   ERR_RENAME_FAILED, ERR_SYS_UNKNOWN or ERR_OUT_OF_MEMORY
 * After a failure `from` is as it was and `to` is gone. When the process is killed `from` is whole, or `to`
 * is and `from` is in "@tmp"; a part of `to` is never there. */
MORV_API int ShareMove(const char *from, const char *to) MORV_NOEXCEPT;

/* The same without removing `from`, and always by a copy. */
MORV_API int ShareDirCopy(const char *from, const char *to) MORV_NOEXCEPT;

/* Moves a folder into "@tmp" of the volume that it lies on (made for its owner alone when it is missing),
 * under its own name and ".%ld" with a unique number, and removes it there in the background.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_INVALID_PATH, ERR_PATH_NOT_FOUND, ERR_ACCESS_DENIED,
 * ERR_CREATE_FAILED, ERR_RENAME_FAILED or ERR_SYS_UNKNOWN (no process could be started; the folder is then
 * back in its place). */
MORV_API int MORVShareMove2Tmp(const char *path) MORV_NOEXCEPT;

/* The recycle bins: "#recycle" in the folder of every share and in every user's home.
 *
 * MORVShareRecycleClean           starts a process that empties all of them, by way of "@tmp" of their
 *                                 volumes; its number is in "/tmp/cleanrecycle.pid" while it runs
 * MORVShareRecycleCleanStop       ends that process; the next one removes what it has left in "@tmp"
 * MORVShareRecycleCleanStatusGet  answers 1 while it runs, else 0
 *
 * Clean and Stop return 0 (also when there is nothing to stop). All return -1 on a failure, with
 * ERR_OP_FAILURE (the bins are being emptied already), ERR_SYS_UNKNOWN (no process could be started or
 * ended), ERR_WRITE_FAILED, ERR_OPEN_FAILED or ERR_ACCESS_DENIED (the pid file is another user's),
 * ERR_OUT_OF_MEMORY, or the codes of MORVShareEnum. */
MORV_API int MORVShareRecycleClean(void) MORV_NOEXCEPT;
MORV_API int MORVShareRecycleCleanStop(void) MORV_NOEXCEPT;
MORV_API int MORVShareRecycleCleanStatusGet(void) MORV_NOEXCEPT;

/* ---- The mirror ------------------------------------------------------------------------------------ */

/* The open mirror. Made by the functions below only. */
typedef struct MORVSHAREDB {
    /* Upper-cased name with its NUL -> packed record; "#" and the upper-cased name of a reserved section with
     * its NUL -> its lines, a packed list (list.h) whose first item is the name. */
    struct MORVBDB *pShare;
} MORVSHAREDB;

/* Opens the mirror, built anew when it is missing, damaged or does not agree with the file.
 * Returns a handle for MORVShareDBClose, or null with the mirror's codes. */
MORV_API MORVSHAREDB *MORVShareDBOpen(void) MORV_NOEXCEPT;

/* Opens the store at path, and builds it when it is missing or damaged. *ppDb: null, or a handle, which is
 * closed and replaced on success. Returns 1 when it was built, 0 when it was there, -1 with
 * ERR_BAD_PARAMETERS or the mirror's codes. */
MORV_API int MORVShareDBOpenFile(MORVSHAREDB **ppDb, const char *path) MORV_NOEXCEPT;

/* As MORVUserDBCheckAndRebuild. */
MORV_API int MORVShareDBCheckAndRebuild(MORVSHAREDB **ppDb) MORV_NOEXCEPT;

/* Fills the store from an open configuration file. A section that cannot be understood is left out. Returns
 * 0, or -1 with ERR_BAD_PARAMETERS, ERR_READ_FAILED, ERR_STAT_FAILED, ERR_OPEN_FAILED (mirrors of users and
 * groups), ERR_OUT_OF_MEMORY, or the record store's codes. */
MORV_API int MORVShareDBBuild(FILE *configuration, MORVSHAREDB *db) MORV_NOEXCEPT;

/* Closes the store and frees the handle. Returns 0, or -1 with ERR_BAD_PARAMETERS (null). */
MORV_API int MORVShareDBClose(MORVSHAREDB *db) MORV_NOEXCEPT;

/* Reads the packed record of the share with that upper-cased name into a buffer (null and 0 at first, or
 * from malloc), grown as needed. Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_NO_SUCH_SHARE, or the record
 * store's codes. */
MORV_API int MORVShareDBGet(MORVSHAREDB *db, const char *upperName, void **ppBuffer,
                            int *pSize) MORV_NOEXCEPT;

/* The next share of a walk in the direction of MORVBDbCursorSetType on db->pShare, reserved records
 * skipped. Result and codes as MORVBDbCursorGet. */
MORV_API int MORVShareDBCursorGet(MORVSHAREDB *db, void **ppKey, int *pKeySize, void **ppBuffer,
                                  int *pSize) MORV_NOEXCEPT;

/* Removes a share. Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_NO_SUCH_SHARE, or the record store's
 * codes. */
MORV_API int MORVShareDBDelete(MORVSHAREDB *db, const char *upperName) MORV_NOEXCEPT;

/* Answers 1 when there is such a share, 0 when not, -1 with ERR_BAD_PARAMETERS or the record store's
 * codes. */
MORV_API int MORVShareDBCheckExists(MORVSHAREDB *db, const char *upperName) MORV_NOEXCEPT;

/* Writes a share into the store. oldUpperName: null to add, else the upper-cased name of the share to
 * replace. Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_SHARE_EXISTS (another share has the name of
 * spec), ERR_NO_SUCH_SHARE, the codes of MORVShareAlloc, or the record store's codes. */
MORV_API int MORVShareDBSet(MORVSHAREDB *db, const char *oldUpperName, const MORVSHARE *spec) MORV_NOEXCEPT;

/* Writes what the store holds to "/usr/morv/etc/smb.conf" and marks the store as built from it. Sections
 * whose record is unchanged stay byte for byte, as do those that no record can be made of; keys and
 * comments that the record does not know stay, too; a new section is appended. Records are written as
 * MORVShareSet writes them, and the store holds them so afterwards.
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (also: a line feed in a text), ERR_STORE_INVALID (the file is
 * not the one that the store was built from: nothing that another tool has done is undone; or the store
 * holds what is no share), ERR_OPEN_FAILED, ERR_WRITE_FAILED, ERR_RENAME_FAILED, ERR_OUT_OF_MEMORY, or the
 * record store's codes. */
MORV_API int MORVShareDBDump(MORVSHAREDB *db) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
