/* The user database: who has an account.
 *
 *     MORVUSER *user = NULL;
 *     if (MORVUserGet("alice", &user) == 0)
 *         printf("%s lives in %s\n", user->szName, user->szHome);
 *     else
 *         ... MLIBErrGet() ...
 *     MORVUserFree(user);
 *
 * Users are kept in four files: "/etc/passwd", "/etc/shadow", "/etc/morvuser.conf" (privileges) and
 * "/usr/morv/etc/private/smbpasswd". They are read through a mirror, five record stores (bdb.h) under
 * "/tmp/.db.user", which is built anew whenever one of the files has changed.
 *
 * Names compare without regard to letter case. A name that contains a backslash (DOMAIN\user) is a domain
 * user's; such users are listed and read, never written.
 *
 * Changes (MORVUserSet, MORVUserSetMany, MORVUserSetPasswd, MORVUserDelete) take effect in all files or in
 * none: the new files are complete and on disk before the first of them is renamed into place, and what a
 * crash or a power loss interrupted between two renames is finished by the next call that takes the lock.
 * Lines that are not the changed user's stay byte for byte, in their order. No field may hold ":" (but for
 * the description, which is encoded) or a line feed, so that no field becomes another one.
 *
 * Locks (file.h): readers take MORV_LOCK_PW shared, changes take MORV_LOCK_PW | MORV_LOCK_GR | MORV_LOCK_SMB
 * (MORVUserSetPasswd MORV_LOCK_PW alone), and every function here waits up to 5 seconds (ERR_LOCK_FAILED).
 * A caller may hold the locks itself around several calls. The MORVUserDB... functions take none.
 *
 * Codes of all functions that open the mirror, called "the mirror's codes" below: ERR_OPEN_FAILED (a store or
 * a file of the users cannot be opened), ERR_ACCESS_DENIED, ERR_PATH_NOT_FOUND and ERR_STAT_FAILED (a file of
 * the users cannot be looked at), ERR_FORMAT_ERROR (a uid that is no number), ERR_RENAME_FAILED,
 * ERR_OUT_OF_MEMORY, and the record store's codes. */
#ifndef MORVSDK_USER_H
#define MORVSDK_USER_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <morvsdk/list.h>
#include <pwd.h>
#include <shadow.h>
#include <stdint.h>

MORV_BEGIN_DECLS

struct MORVBDB;

/* ---- Records --------------------------------------------------------------------------------------- */

/* Types of users, also as a mask. */
enum {
    MORV_USER_LOCAL = 1,
    MORV_USER_DOMAIN = 2,
    MORV_USER_DOMAIN_USED = 4 /* in masks: the domain users that shares and groups name */
};

enum { MORV_USER_NEVER_EXPIRES = -1 };

/* A user: one block from malloc, the texts behind the header. Texts are never null but where it says so. */
typedef struct MORVUSER {
    char *szName;
    char *szPassword; /* read: the stored hash, null for a domain user; to write: the hash unchanged, or a new
                         password in clear */
    uint32_t uid;
    uint32_t gid;             /* primary group */
    char *szDescription;      /* in clear; ":" is allowed */
    char *szHome;             /* home directory */
    char *szShell;            /* login shell */
    int32_t expireDay;        /* the last day of the account, in days since 1970-01-01; -1: never */
    int32_t noPasswordChange; /* 1: the user may not change the password */
    char *szExtra;            /* further text of "/etc/morvuser.conf" */
    int32_t type;             /* MORV_USER_LOCAL or MORV_USER_DOMAIN, by the name */
    int32_t privilege;        /* bit mask */
    int32_t allocated;        /* bytes of the block */
} MORVUSER;

/* Makes a record.
 *
 * ppUser: address of a record pointer that is null or holds a record, whose block is then used again and
 *         grown as needed. None of the texts may lie in that record.
 * Null texts count as empty ones, and empty ones are the last byte of the block; name must not be empty. So
 * szPassword is never null here: it is the readers of domain users who set it to null afterwards. The type
 * follows from the name.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS  ppUser is null, name is null or empty, or a text lies in the record to be used again
 *   ERR_OUT_OF_MEMORY   *ppUser is as it was */
MORV_API int MORVUserAlloc(MORVUSER **ppUser, const char *name, const char *password, uint32_t uid,
                           uint32_t gid, const char *description, const char *home, const char *shell,
                           int32_t expireDay, int32_t noPasswordChange, const char *extra,
                           int32_t privilege) MORV_NOEXCEPT;

/* Frees a record; null is ignored. The block is overwritten first, for the password in it; what the caller
 * let szPassword point to elsewhere is the caller's. */
MORV_API void MORVUserFree(MORVUSER *user) MORV_NOEXCEPT;

/* Answers 1 for a valid user name: 1 to 64 UTF-8 characters; ASCII letters, digits, ".", "-", "_" and blanks
 * and any character beyond ASCII; no blank or "-" at the start, no blank at the end. Else 0; no error is
 * set. */
MORV_API int BlMLIBIsUserName(const char *name) MORV_NOEXCEPT;

/* ---- Reading --------------------------------------------------------------------------------------- */

/* Reads a user by name. *ppUser: null, or a record to be used again; free it with MORVUserFree.
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null), ERR_INVALID_USERNAME (empty), ERR_NO_SUCH_USER,
 * ERR_FORMAT_ERROR (a line of the user's is malformed), ERR_LOCK_FAILED, ERR_UNLOCK_FAILED, or the mirror's
 * codes. */
MORV_API int MORVUserGet(const char *name, MORVUSER **ppUser) MORV_NOEXCEPT;

/* The same by user id; the first one where several users have it. */
MORV_API int MORVUserGetByUID(uint32_t uid, MORVUSER **ppUser) MORV_NOEXCEPT;

/* Pushes the names of users, in upper-cased order, onto a list, as they are spelled in the files. Left out
 * are local users with a uid below 1024 (the system's), and the guest account, uid 1025, when guest support
 * is off ("guestsupport" in "/etc.defaults/morvinfo.conf" is "no"; read once per process).
 *
 * ppList: address of a list, which may move.
 * mask:   of MORV_USER_...; the domain users in use are pushed first.
 *
 * Returns the number of names pushed, or -1 with ERR_BAD_PARAMETERS (null, or no bit of the mask is set),
 * ERR_LOCK_FAILED, ERR_STORE_WALK_FAILED, ERR_OUT_OF_MEMORY, or the mirror's codes. */
MORV_API int MORVUserEnum(MLIBSZLIST **ppList, int mask) MORV_NOEXCEPT;

/* As MORVUserEnum, those whose name begins with prefix, compared without regard to letter case. */
MORV_API int MORVUserEnumByPrefix(MLIBSZLIST **ppList, int mask, const char *prefix) MORV_NOEXCEPT;

/* Pushes the domain users that the rights lists of shares or the member lists of groups name, each once.
 * Returns how many, or -1 with ERR_BAD_PARAMETERS, ERR_OUT_OF_MEMORY or the codes of MLIBFileReadLines. */
MORV_API int MORVPushDUserUsed(MLIBSZLIST **ppList) MORV_NOEXCEPT;

/* How many names MORVUserEnum would push. mask must have bit 1 or 2 set. Result and codes as MORVUserEnum. */
MORV_API int MORVUserTotalNum(int mask) MORV_NOEXCEPT;

/* How many users may still be added: "maxaccounts" of "/etc.defaults/morvinfo.conf" less the users that
 * there are; 0 when the value is empty. May be below 0. A failure answers -1 and sets a code:
 * ERR_KEY_NOT_FOUND (no such key: no limit), ERR_OPEN_FAILED, or a code of MORVUserTotalNum. */
MORV_API int MORVConfGetUserLimit(void) MORV_NOEXCEPT;

/* The privilege mask of a user; 0 for "guest", 31 for "admin", 3 for domain users. -1 with the codes of
 * MORVUserGet. */
MORV_API int MORVUserPrivilegeGet(const char *name) MORV_NOEXCEPT;

/* ---- Changing -------------------------------------------------------------------------------------- */

/* Adds a user, or changes one.
 *
 * oldName: null to add; else the name of the user to change. When user->szName is another name the user is
 *          renamed, and the member lists of groups, the rights lists of shares and
 *          "/usr/morv/etc/afpd.conf" follow.
 * user:    all that the user is to be. szPassword is a password in clear, or, when the user exists, the
 *          stored hash to keep the password. An empty home or shell becomes "/var/services/homes/NAME" and
 *          "/bin/csh". When adding, uid 0 asks for a free one, and the user becomes a member of the group
 *          "users" where there is one. A home below "/var/services/homes" is made (0711, the user's own) when
 *          that folder exists.
 *
 * "root", "admin" and "guest" can be changed, not renamed.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS    a null record; ":" or a line feed in a field; a uid that another user has
 *   ERR_INVALID_USERNAME  the name is not valid, is a domain user's, or renames a user who must keep the name
 *   ERR_USER_EXISTS       another user has the new name
 *   ERR_NO_SUCH_USER      there is no user oldName
 *   ERR_TOO_MANY_USERS    the limit of the model is reached, or no uid is free
 *   ERR_FORMAT_ERROR      a line of the user's is malformed
 *   ERR_CREATE_FAILED, ERR_NOT_ENOUGH_SPACE  the home cannot be made
 *   ERR_SYS_UNKNOWN       this system's crypt cannot make MD5 hashes
 *   ERR_LOCK_FAILED, ERR_WRITE_FAILED, or the mirror's codes
 * and all files are as they were. After these the change stands, or will:
 *   ERR_RENAME_FAILED     some files are in place; the next call that gets the locks renames the others
 *   ERR_WRITE_FAILED      with MORV_DURABLE, when only a folder could not be synced
 *   ERR_UNLOCK_FAILED     a lock could not be given up
 * A password is refused (ERR_BAD_PARAMETERS) when it is longer than 511 bytes, is not valid UTF-8 or holds
 * a line feed. */
MORV_API int MORVUserSet(const char *oldName, const MORVUSER *user) MORV_NOEXCEPT;

/* Changes the user user->szName, or adds the user when there is none. Result and codes as MORVUserSet. */
MORV_API int MORVUserSetOne(const MORVUSER *user) MORV_NOEXCEPT;

/* Adds many users, or changes those that exist, in one change of the files: all or none.
 *
 * users:    `count` records, each as for MORVUserSetOne
 * pFailed:  null, or receives the index of the record that was refused; -1 when no single one is the reason
 *
 * Result and codes as MORVUserSet; a name given twice is ERR_USER_EXISTS. */
MORV_API int MORVUserSetMany(const MORVUSER *const *users, int count, int *pFailed) MORV_NOEXCEPT;

/* Gives a local user a new password. Returns 0, or -1 with ERR_BAD_PARAMETERS (null), ERR_NO_SUCH_USER,
 * ERR_LOCK_FAILED, and the codes of MORVUserSet. */
MORV_API int MORVUserSetPasswd(const char *name, const char *password) MORV_NOEXCEPT;

/* Removes a local user, also from the member lists of groups, the rights lists of shares and
 * "/usr/morv/etc/afpd.conf". The home folder stays.
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null), ERR_INVALID_USERNAME ("root", "admin", "guest" and domain
 * users cannot be deleted), ERR_NO_SUCH_USER, and the codes of MORVUserSet. */
MORV_API int MORVUserDelete(const char *name) MORV_NOEXCEPT;

/* ---- Expiry ---------------------------------------------------------------------------------------- */

/* Turns a date "yyyy/mm/dd" into a day number (days since 1970-01-01).
 * Month and day may be of one digit, as MORVUserExpiredDateGet prints them.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null; or, which is logged too, no such date, or one before
 * 1970). */
MORV_API int MORVUserExpiredDateFill(const char *text, int32_t *pDay) MORV_NOEXCEPT;

/* Prints a day number as "yyyy/m/d" into buffer of size bytes; 16 are enough for every day.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null, or day below 0) or ERR_NOT_ENOUGH_MEMORY (buffer too
 * small). */
MORV_API int MORVUserExpiredDateGet(int32_t day, char *buffer, int size) MORV_NOEXCEPT;

/* Answers 1 when an account that expires on that day is expired now: from local midnight at the end of the
 * day. Else 0, as for every day below 0. The time zone is the one of "/etc/TZ", which becomes the process's
 * (environment variable "TZ"). */
MORV_API int MORVUserIsExpired(int32_t expireDay) MORV_NOEXCEPT;

/* The same for a user by name; 0 for one without an expiry day. -1 with the codes of MORVUserGet. */
MORV_API int MORVUserCheckExpired(const char *name) MORV_NOEXCEPT;

/* ---- Lists of names -------------------------------------------------------------------------------- */

/* Puts a list of users and groups in order: the items of `names`, separated by ",", that are existing users
 * or, behind "@", existing groups. Blanks around items go, as do empty and repeated items and "nobody"; names
 * are compared without regard to letter case and written as the account spells them; the order stays.
 *
 * buffer: address of a buffer pointer, null or from malloc; the caller frees it
 * pSize:  address of the buffer's size in bytes; grown as needed
 *
 * Returns the number of items, or -1 with ERR_BAD_PARAMETERS, ERR_OUT_OF_MEMORY, or the mirrors' codes. */
MORV_API int MORVUserGetValidUserList(const char *names, char **buffer, int *pSize) MORV_NOEXCEPT;

/* ---- The mirror ------------------------------------------------------------------------------------ */

/* The five stores of an open mirror. Made by the functions below only. */
typedef struct MORVUSERDB {
    struct MORVBDB *pName;   /* upper-cased name -> passwd line */
    struct MORVBDB *pUid;    /* uid as "%06d" -> upper-cased name; several users may share one */
    struct MORVBDB *pSmb;    /* upper-cased name -> smbpasswd line */
    struct MORVBDB *pMisc;   /* upper-cased name -> line of "/etc/morvuser.conf" */
    struct MORVBDB *pShadow; /* upper-cased name -> shadow line */
} MORVUSERDB;

/* Keys and values of the stores include their terminating NUL. Names are upper-cased with
 * MLIBUnicodeUTF8StrUpper. The uid store holds the uid that was handed out last, an int32_t, under this
 * key, without its NUL: */
#define MORV_USERDB_CURRENT_UID "#CURRENT_UID"
#define MORV_USERDB_CURRENT_UID_LENGTH 12

/* Opens the mirror "/tmp/.db.user", built anew when it is missing, damaged or does not agree with the files.
 * Returns a handle for MORVUserDBClose, or null with the mirror's codes. */
MORV_API MORVUSERDB *MORVUserDBOpen(void) MORV_NOEXCEPT;

/* Opens the stores prefix + suffix, and builds them when one is missing or damaged. *ppDb: null, or a handle,
 * which is closed and replaced on success.
 * Returns 1 when they were built, 0 when they were there, -1 with ERR_BAD_PARAMETERS or the mirror's codes.
 * */
MORV_API int MORVUserDBOpenFile(MORVUSERDB **ppDb, const char *prefix) MORV_NOEXCEPT;

/* Looks whether an open mirror still agrees with the files, and replaces the handle when not, or when another
 * process has replaced the stores.
 * Returns 1 when the mirror was built anew or opened again, 0 when it was current, -1 with
 * ERR_BAD_PARAMETERS, ERR_KEY_NOT_FOUND (a store has lost its marks), or the mirror's codes. */
MORV_API int MORVUserDBCheckAndRebuild(MORVUSERDB **ppDb) MORV_NOEXCEPT;

/* Builds the mirror anew beside the live one and renames it over that. Returns 0, or -1 with the mirror's
 * codes. */
MORV_API int MORVUserDBRebuild(void) MORV_NOEXCEPT;

/* Fills the five stores from the files. Returns 0, or -1 with ERR_BAD_PARAMETERS or the mirror's codes. */
MORV_API int MORVUserDBBuild(MORVUSERDB *db) MORV_NOEXCEPT;

/* Closes the stores and frees the handle. Returns 0, or -1 with ERR_BAD_PARAMETERS (null). */
MORV_API int MORVUserDBClose(MORVUSERDB *db) MORV_NOEXCEPT;

/* Reads the user with that upper-cased name; *ppUser as for MORVUserGet.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_NO_SUCH_USER, ERR_FORMAT_ERROR, ERR_OUT_OF_MEMORY, or the
 * record store's codes. */
MORV_API int MORVUserDBGet(MORVUSERDB *db, const char *upperName, MORVUSER **ppUser) MORV_NOEXCEPT;

/* Reads the next user of a walk over the name store. The direction is that of MORVBDbCursorSetType on
 * db->pName.
 * Returns 0, or -1 with ERR_STORE_END behind the last one, and the codes of MORVUserDBGet. */
MORV_API int MORVUserDBGetByCursor(MORVUSERDB *db, MORVUSER **ppUser) MORV_NOEXCEPT;

/* Writes a user into the stores; the files are written by MORVUserDBDump and MORVUserRenameTmpFiles.
 *
 * oldUpperName: null for a new user, else the upper-cased name of the user to replace; oldLength is its
 * length
 *               in bytes without the NUL
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_INVALID_USERNAME, ERR_NO_SUCH_USER, ERR_USER_EXISTS,
 * ERR_FORMAT_ERROR, or the record store's codes. After a failure some stores may be written: close the
 * handle, and have the mirror built anew. */
MORV_API int MORVUserDBSet(MORVUSERDB *db, const char *oldUpperName, int oldLength,
                           const MORVUSER *user) MORV_NOEXCEPT;

/* Removes the user with that upper-cased name from the stores.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_NO_SUCH_USER, ERR_ID_NOT_FOUND (the uid store does not have
 * the user, the others are changed), or the record store's codes. */
MORV_API int MORVUserDBDelete(MORVUSERDB *db, const char *upperName) MORV_NOEXCEPT;

/* Writes what the stores hold as new versions of the four files, beside them and with their owner and mode:
 * "/usr/morv/etc/private/smbpasswd.tmp", "/etc/shadow.tmp", "/etc/passwd.tmp", "/etc/morvuser.conf.tmp".
 * Lines that the stores do not hold (comments, "+" lines, too few fields) and the order of all lines are
 * kept. A file that would not change gets no new version.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_STORE_INVALID (a file has changed since the stores were
 * built), ERR_OPEN_FAILED, ERR_WRITE_FAILED, ERR_OUT_OF_MEMORY, or the record store's codes; no new version
 * is left behind. */
MORV_API int MORVUserDBDump(MORVUSERDB *db) MORV_NOEXCEPT;

/* A uid that no user has, 1024 to 3072, searched for from the one handed out last on.
 * Returns it, or -1 with ERR_BAD_PARAMETERS, ERR_TOO_MANY_USERS or the record store's codes. */
MORV_API int MORVUserDBGetFreeUid(MORVUSERDB *db) MORV_NOEXCEPT;

/* Renames the new versions that exist over the files, in the order smbpasswd, shadow, passwd, morvuser.conf.
 * Returns 0, or -1 with ERR_RENAME_FAILED at the first that could not be renamed (logged). */
MORV_API int MORVUserRenameTmpFiles(void) MORV_NOEXCEPT;

/* Removes the new versions; one that cannot be removed is logged. Returns 0, or -1 with ERR_ACCESS_DENIED
 * when one is left. */
MORV_API int MORVUserRemoveTmpFiles(void) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
