/* Internal functions of the share family. Exported, but without a promise of stability. */
#ifndef MORVSDK_INTERNAL_SHARE_H
#define MORVSDK_INTERNAL_SHARE_H

#include <morvsdk/share.h>

MORV_BEGIN_DECLS

/* Types of sections. */
enum { MORV_SECTION_SHARE = 1, MORV_SECTION_RESERVED = 2 };

/* Copies the name of a section out of its opening line (from the first "[" to the last "]", at most 495
 * bytes, the rest is left out) to buffer of size bytes. Returns its length, or -1 with ERR_BAD_PARAMETERS
 * (null, no opening line) or ERR_NOT_ENOUGH_MEMORY. */
MORV_API int ShareParseSectionName(const char *line, char *buffer, int size) MORV_NOEXCEPT;

/* MORV_SECTION_RESERVED or MORV_SECTION_SHARE, by the section's name; -1 with ERR_BAD_PARAMETERS (null). */
MORV_API int ShareSectionTypeGet(const char *name) MORV_NOEXCEPT;

/* The access type of everybody, from the keys of a section and its rights lists as they stand in the
 * record; a null list counts as empty. What names "@users" decides: the first of the lists in their order
 * here that does, else "guest ok" and "writeable", which are "yes" or "no" in any letter case. Keys that
 * say neither are logged, and the answer is MORV_SHARE_READ_ONLY. Returns MORV_SHARE_..., or -1 with
 * ERR_BAD_PARAMETERS (keys is null). */
MORV_API int ShareFTypeGetFromConf(const MLIBSZHASH *keys, const char *invalidUsers, const char *writeList,
                                   const char *readList) MORV_NOEXCEPT;

/* Makes a record from a section. Returns the record, to be freed with MORVShareFree, or null with
 * ERR_BAD_PARAMETERS, ERR_OPEN_FAILED (mirrors of users and groups), or the codes of MORVShareAlloc. */
MORV_API MORVSHARE *ShareAllocFromConf(const char *name, const MLIBSZHASH *keys) MORV_NOEXCEPT;

/* Packs a record for the store; null texts count as empty ones. Returns the packed value from malloc, its
 * bytes in *pSize; or null with ERR_BAD_PARAMETERS (null, no name, or a number below 0) or
 * ERR_OUT_OF_MEMORY. */
MORV_API void *MORVShareDBPack(const MORVSHARE *share, int *pSize) MORV_NOEXCEPT;

/* Unpacks a packed value of size bytes into *ppShare (null, or a record to be used again, in which the
 * value must not lie). Every size, offset and terminator is checked.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (also for bytes that are no packed record) or ERR_OUT_OF_MEMORY.
 * */
MORV_API int MORVShareDBUnpack(const void *packed, int size, MORVSHARE **ppShare) MORV_NOEXCEPT;

/* Walk the store and push the names of shares: all whose name matches a test, or, with an access mask (0:
 * any), all whose access type is in it. Return the number pushed, or -1 with ERR_BAD_PARAMETERS,
 * ERR_STORE_WALK_FAILED, ERR_OUT_OF_MEMORY, or the record store's codes. */
MORV_API int MORVShareDBEnumI(MORVSHAREDB *db, int (*matches)(const MORVSHARE *share, const void *argument),
                              const void *argument, MLIBSZLIST **ppList) MORV_NOEXCEPT;
MORV_API int MORVShareDBEnumTypeMatched(MORVSHAREDB *db, int accessMask, MLIBSZLIST **ppList) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
