/* Internal functions of the group family. Exported, but without a promise of stability. */
#ifndef MORVSDK_INTERNAL_GROUP_H
#define MORVSDK_INTERNAL_GROUP_H

#include <grp.h>
#include <morvsdk/group.h>

MORV_BEGIN_DECLS

/* Splits a group line, without its line feed, at ":" and its member field at ",", into a record of the C
 * library. The gid is read as MORVUserDBPasswdUnpack reads a uid. Empty members, and fields behind the
 * fourth, are left out. ppBuffer, pSize: a buffer that holds the record and its texts (null and 0, or from
 * malloc), grown as needed; free it with free(). The line must not lie in it.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_FORMAT_ERROR (fewer than 4 fields) or ERR_OUT_OF_MEMORY. */
MORV_API int MORVGroupDBUnpack(const char *line, void **ppBuffer, int *pSize,
                               struct group **ppGroup) MORV_NOEXCEPT;

/* Makes a record of the C library of a group: password "x". Buffer, result and codes as MORVGroupDBUnpack;
 * also ERR_INVALID_GROUPNAME for a domain group (DOMAIN\name, or one without a local gid). */
MORV_API int MORVGroupToUnixGroup(const MORVGROUP *group, void **ppBuffer, int *pSize,
                                  struct group **ppUnix) MORV_NOEXCEPT;

/* Prints the group line of such a record, password "x", its members put in order as by
 * MORVUserGetValidUserList but without groups, into a buffer from malloc (null and 0 at first), grown as
 * needed.
 * Returns its length with the NUL, or -1 with ERR_BAD_PARAMETERS, ERR_OUT_OF_MEMORY, or the mirror's codes.
 * */
MORV_API int MORVGroupDBPackFromUnix(const struct group *group, char **ppBuffer, int *pSize) MORV_NOEXCEPT;

/* Adds the domain groups of "/usr/morv/etc/private/domain_group", one name a line, to the name store.
 * Returns 0, or -1 with ERR_OPEN_FAILED, ERR_READ_FAILED or the record store's codes. */
MORV_API int GroupDBDomainBuild(MORVGROUPDB *db) MORV_NOEXCEPT;

/* Rename "/etc/group_tmp" over "/etc/group" and "/etc/group_desc.tmp" over "/etc/group_desc", those that
 * exist; or remove both. Return 0, or -1 with ERR_RENAME_FAILED, or ERR_ACCESS_DENIED when one could not be
 * removed. */
MORV_API int GROUPIRenameTempFiles(void) MORV_NOEXCEPT;
MORV_API int GROUPIRemoveTempFiles(void) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
