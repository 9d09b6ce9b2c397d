/* The group database: which users belong together.
 *
 *     MORVGROUP *group = NULL;
 *     if (MORVGroupGet("users", &group) == 0)
 *         printf("%s: %s\n", group->szName, group->szMembers);
 *     MORVGroupFree(group);
 *
 * Groups are kept in "/etc/group", their descriptions in "/etc/group_desc". They are read through a mirror,
 * three record stores (bdb.h) under "/tmp/.db.group", which is built anew whenever one of the files has
 * changed.
 *
 * Names compare without regard to letter case. Local groups have ids from 65536 to 95536; a domain group,
 * from "/usr/morv/etc/private/domain_group", has no id (-1) and no members here, and is read, never written.
 *
 * Changes take effect in all files or in none, and lines of other groups stay byte for byte, as user.h says.
 * A member list holds existing users only, separated by ",".
 *
 * Locks (file.h): readers take MORV_LOCK_GR shared, changes the locks given with them, and every function
 * waits up to 5 seconds (ERR_LOCK_FAILED). The MORVGroupDB... functions take none.
 *
 * "The mirror's codes" are those that user.h lists. */
#ifndef MORVSDK_GROUP_H
#define MORVSDK_GROUP_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <morvsdk/list.h>
#include <stdint.h>

MORV_BEGIN_DECLS

struct MORVBDB;

/* ---- Records --------------------------------------------------------------------------------------- */

/* What stands in the place of a gid for a group without a local one. */
#define MORV_GROUP_NO_GID ((uint32_t)-1)

/* A group: one block from malloc, the texts behind the header. */
typedef struct MORVGROUP {
    char *szName;
    char *szPassword;  /* "x" */
    uint32_t gid;      /* when adding: 0 asks for a free one */
    char *szMembers;   /* user names separated by "," */
    int32_t allocated; /* bytes of the block */
} MORVGROUP;

/* Makes a record. *ppGroup: null, or a record whose block is used again and grown as needed; none of the
 * texts may lie in it. Null texts count as empty ones, a null password as "x".
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (ppGroup is null, name is null or empty, a text lies in the
 * record) or ERR_OUT_OF_MEMORY. */
MORV_API int MORVGroupAlloc(MORVGROUP **ppGroup, const char *name, uint32_t gid,
                            const char *members) MORV_NOEXCEPT;
MORV_API int MORVGroupAlloc2(MORVGROUP **ppGroup, const char *name, const char *password, uint32_t gid,
                             const char *members) MORV_NOEXCEPT;

/* Frees a record; null is ignored. */
MORV_API void MORVGroupFree(MORVGROUP *group) MORV_NOEXCEPT;

/* Answers 1 for a valid group name: 1 to 15 UTF-8 characters, else as BlMLIBIsUserName. Else 0; no error is
 * set. */
MORV_API int BlMLIBIsGroupName(const char *name) MORV_NOEXCEPT;

/* ---- Reading --------------------------------------------------------------------------------------- */

/* Types of groups, also as a mask. */
enum { MORV_GROUP_LOCAL = 1, MORV_GROUP_DOMAIN = 2 };

/* Reads a group by name, or by id (the first one where several have it). *ppGroup: null, or a record to be
 * used again; free it with MORVGroupFree.
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_NO_SUCH_GROUP, ERR_FORMAT_ERROR, ERR_LOCK_FAILED,
 * ERR_UNLOCK_FAILED, or the mirror's codes. */
MORV_API int MORVGroupGet(const char *name, MORVGROUP **ppGroup) MORV_NOEXCEPT;
MORV_API int MORVGroupGetByGID(uint32_t gid, MORVGROUP **ppGroup) MORV_NOEXCEPT;

/* Pushes the names of groups, in upper-cased order and as they are spelled in the files, onto a list. Left
 * out are local groups of the system: gid below 65536 but for "users", "administrators" and "http".
 *
 * ppList: address of a list, which may move.
 * mask:   of MORV_GROUP_...
 *
 * Returns the number of names pushed, or -1 with ERR_BAD_PARAMETERS, ERR_LOCK_FAILED, ERR_STORE_WALK_FAILED,
 * ERR_OUT_OF_MEMORY, or the mirror's codes. */
MORV_API int MORVGroupEnum(MLIBSZLIST **ppList, int mask) MORV_NOEXCEPT;

/* As MORVGroupEnum, those whose name begins with prefix, compared without regard to letter case. */
MORV_API int MORVGroupEnumByPrefix(MLIBSZLIST **ppList, int mask, const char *prefix) MORV_NOEXCEPT;

/* How many names MORVGroupEnum would push. Result and codes as MORVGroupEnum. */
MORV_API int MORVGroupTotalNum(int mask) MORV_NOEXCEPT;

/* Pushes the members of a group onto a list, in the order of the file. Every local user that MORVUserEnum
 * lists is a member of "users"; those whom the file does not name follow those it does.
 *
 * Returns the number of names pushed, or -1 with the codes of MORVGroupGet and, for "users", MORVUserEnum. */
MORV_API int MORVGroupListMember(const char *name, MLIBSZLIST **ppList) MORV_NOEXCEPT;

/* Reads the description of a group into buffer of size bytes.
 * Returns its length in bytes, 0 when the group has none; or -1 with ERR_BAD_PARAMETERS, ERR_NO_SUCH_GROUP,
 * ERR_NOT_ENOUGH_MEMORY (buffer too small), ERR_LOCK_FAILED, or the mirror's codes. */
MORV_API int MORVGroupDescGet(const char *name, char *buffer, int size) MORV_NOEXCEPT;

/* ---- Changing -------------------------------------------------------------------------------------- */

/* Writes the description of a local group (lock: MORV_LOCK_GR). An empty text removes it.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null, a line feed), ERR_NO_SUCH_GROUP, and the codes of
 * MORVGroupSet. */
MORV_API int MORVGroupDescSet(const char *name, const char *text) MORV_NOEXCEPT;

/* Adds a group, or changes one (locks: MORV_LOCK_PW, MORV_LOCK_GR and MORV_LOCK_SMB).
 *
 * oldName: null to add, else the name of the group to change. When group->szName is another name the group is
 *          renamed, and its description and the rights lists of shares ("@" and the name) follow.
 * group:   all that the group is to be. Members that are no existing users are left out.
 *
 * The groups that the system has by itself (gid below 65536) keep their name and gid.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS     a null record; ":" or a line feed in a field; a gid that another group has or that
 *                          lies outside 65536 to 95536, or that a
 *                          group of the system is to get
 *   ERR_INVALID_GROUPNAME  the name is not valid, or renames a group that must keep it
 *   ERR_GROUP_EXISTS       another group has the new name
 *   ERR_NO_SUCH_GROUP      there is no local group oldName
 *   ERR_TOO_MANY_GROUPS    the limit of the model ("maxgroups") is reached, or no gid is free
 *   ERR_LOCK_FAILED, ERR_UNLOCK_FAILED, ERR_WRITE_FAILED, ERR_RENAME_FAILED, or the mirror's codes
 * After a failure all files are as they were. */
MORV_API int MORVGroupSet(const char *oldName, const MORVGROUP *group) MORV_NOEXCEPT;

/* Removes a local group, also from the rights lists of shares (locks: MORV_LOCK_GR and MORV_LOCK_SMB).
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null), ERR_INVALID_GROUPNAME (a group of the system: gid below
 * 65536), ERR_NO_SUCH_GROUP, and the codes of MORVGroupSet. */
MORV_API int MORVGroupDelete(const char *name) MORV_NOEXCEPT;

/* ---- The mirror ------------------------------------------------------------------------------------ */

/* The three stores of an open mirror. Made by the functions below only. Keys and values include their NUL. */
typedef struct MORVGROUPDB {
    struct MORVBDB *pName; /* upper-cased name -> group line */
    struct MORVBDB *pId;   /* gid as "%06d" -> upper-cased name; several groups may share one */
    struct MORVBDB *pDesc; /* upper-cased name -> line of "/etc/group_desc" */
} MORVGROUPDB;

/* Key of the gid that was handed out last, an int32_t in the id store, without its NUL. */
#define MORV_GROUPDB_CURRENT_GID "#CURRENT_GID"
#define MORV_GROUPDB_CURRENT_GID_LENGTH 12

/* As their counterparts in user.h, on "/tmp/.db.group" and the files of the groups. */
MORV_API MORVGROUPDB *MORVGroupDBOpen(void) MORV_NOEXCEPT;
MORV_API int MORVGroupDBOpenFile(MORVGROUPDB **ppDb, const char *prefix) MORV_NOEXCEPT;
MORV_API int MORVGroupDBCheckAndRebuild(MORVGROUPDB **ppDb) MORV_NOEXCEPT;
MORV_API int MORVGroupDBRebuild(void) MORV_NOEXCEPT;
MORV_API int MORVGroupDBBuild(MORVGROUPDB *db) MORV_NOEXCEPT;
MORV_API int MORVGroupDBClose(MORVGROUPDB *db) MORV_NOEXCEPT;

/* Reads the group with that upper-cased name; *ppGroup as for MORVGroupGet.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_NO_SUCH_GROUP, ERR_FORMAT_ERROR, ERR_OUT_OF_MEMORY, or the
 * record store's codes. */
MORV_API int MORVGroupDBGet(MORVGROUPDB *db, const char *upperName, MORVGROUP **ppGroup) MORV_NOEXCEPT;

/* Reads the next group of a walk over the name store; see MORVUserDBGetByCursor. */
MORV_API int MORVGroupDBGetByCursor(MORVGROUPDB *db, MORVGROUP **ppGroup) MORV_NOEXCEPT;

/* Writes a local group into the name and id stores. oldUpperName: null for a new group, else the
 * upper-cased name of the group to replace, oldLength its length in bytes without the NUL. The description
 * of a group that is renamed goes with it.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_INVALID_GROUPNAME, ERR_NO_SUCH_GROUP, ERR_GROUP_EXISTS, or
 * the record store's codes. */
MORV_API int MORVGroupDBSet(MORVGROUPDB *db, const char *oldUpperName, int oldLength,
                            const MORVGROUP *group) MORV_NOEXCEPT;

/* Removes the group with that upper-cased name from the stores. Result and codes as MORVUserDBDelete, with
 * ERR_NO_SUCH_GROUP. */
MORV_API int MORVGroupDBDelete(MORVGROUPDB *db, const char *upperName) MORV_NOEXCEPT;

/* Writes what the stores hold to the files "/etc/group" and "/etc/group_desc", through "/etc/group_tmp" and
 * "/etc/group_desc.tmp", and marks the stores as built from them. What the stores do not hold stays, as with
 * MORVUserDBDump.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_STORE_INVALID (a file has changed since the stores were
 * built from it:
 * nothing is written), ERR_OPEN_FAILED, ERR_WRITE_FAILED, ERR_RENAME_FAILED, ERR_OUT_OF_MEMORY, or the
 * record store's codes. */
MORV_API int MORVGroupDBDump(MORVGROUPDB *db) MORV_NOEXCEPT;

/* A gid that no group has, 65536 to 95536, searched for from the one handed out last on.
 * Returns it, or -1 with ERR_BAD_PARAMETERS, ERR_TOO_MANY_GROUPS or the record store's codes. */
MORV_API int MORVGroupDBGetFreeGid(MORVGROUPDB *db) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
