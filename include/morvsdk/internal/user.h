/* Internal functions of the user family. Exported, but without a promise of stability. */
#ifndef MORVSDK_INTERNAL_USER_H
#define MORVSDK_INTERNAL_USER_H

#include <morvsdk/user.h>

MORV_BEGIN_DECLS

/* Splits a passwd line, without its line feed, into its 7 fields, which may be empty. uid and gid are read as
 * atoi does; a number beyond the range of ids becomes the nearest one, never 0.
 * ppBuffer, pSize: a buffer that holds the record and its texts (null and 0, or from malloc), grown as
 * needed; free it with free(). The line must not lie in it. *ppPasswd receives the record, which does.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_FORMAT_ERROR (not exactly 7 fields) or ERR_OUT_OF_MEMORY. */
MORV_API int MORVUserDBPasswdUnpack(const char *line, void **ppBuffer, int *pSize,
                                    struct passwd **ppPasswd) MORV_NOEXCEPT;

/* The same for a shadow line of 9 fields; empty numbers are -1, an empty flag is 0. */
MORV_API int MORVUserDBShadowUnpack(const char *line, void **ppBuffer, int *pSize,
                                    struct spwd **ppShadow) MORV_NOEXCEPT;

/* Prints the passwd line of a user, with "x" for the password and the description encoded, into buffer of
 * size bytes. Null texts count as empty ones; the other fields are printed as they are. Returns its length
 * with the NUL, or -1 with ERR_BAD_PARAMETERS (null) or ERR_NOT_ENOUGH_MEMORY (buffer too small). */
MORV_API int MORVUserDBPack(const MORVUSER *user, char *buffer, int size) MORV_NOEXCEPT;

/* The steps of MORVUserDBBuild, for stores that are empty: the users of "/etc/passwd", and those of the
 * domain. Return 0, or -1 with the mirror's codes. The domain's are asked of "/usr/bin/getent -s winbind
 * passwd"; ERR_SYS_UNKNOWN when that is missing or fails. */
MORV_API int UserDBPasswdBuild(MORVUSERDB *db) MORV_NOEXCEPT;
MORV_API int UserDBDomainBuild(MORVUSERDB *db) MORV_NOEXCEPT;

/* A list of names against open mirrors; see MORVUserGetValidUserList. A null handle of the groups lets no
 * group pass. */
struct MORVGROUPDB;
MORV_API int MORVUserGetValidUserList2(MORVUSERDB *users, struct MORVGROUPDB *groups, const char *names,
                                       char **buffer, int *pSize) MORV_NOEXCEPT;

/* The character of a password salt for a number: its absolute value modulo 64 in "0-9A-Za-z./". */
MORV_API int MORVUserRandomNumMap2Seed(int number) MORV_NOEXCEPT;

/* The LM hash (DES) and the NT hash (MD4) of a password in UTF-8, 16 bytes each.
 *
 * The LM hash is made from the first 14 bytes of the upper-cased password in code page 850, the one that file
 * servers and their clients use for it by default. A password with other characters has no such form: then
 * the bytes of its UTF-8 count, with ASCII letters upper-cased, so that the hash still is that of a secret.
 * It is never the hash of the empty password, which some servers would let in; clients cannot log in with
 * it, they use the NT hash.
 *
 * Return 0, or -1 with ERR_BAD_PARAMETERS (null; for the NT hash also text that is not valid UTF-8) or
 * ERR_OUT_OF_MEMORY. */
MORV_API int MLIBSmbLmHash(const char *password, uint8_t hash[16]) MORV_NOEXCEPT;
MORV_API int MLIBSmbMd4Hash(const char *password, uint8_t hash[16]) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
