/* Internal functions of the string list. Exported, but without a promise of stability. */
#ifndef MORVSDK_INTERNAL_LIST_H
#define MORVSDK_INTERNAL_LIST_H

#include <morvsdk/list.h>

MORV_BEGIN_DECLS

/* Replaces the list by one in a block of twice the size, without the bytes that removals have left behind,
 * and frees the old one. Returns the new list; or null with ERR_BAD_PARAMETERS (null list) or
 * ERR_OUT_OF_MEMORY, and pList is as it was. */
MORV_API MLIBSZLIST *PslMLIBISzListExpand(MLIBSZLIST *pList) MORV_NOEXCEPT;

/* Drops the holes and keeps the order of the other items. A null list sets ERR_BAD_PARAMETERS. */
MORV_API void MLIBISzListClean(MLIBSZLIST *pList) MORV_NOEXCEPT;

/* Searches the sorted items low to high (0 to nItem - 1 for all) by halving.
 *
 * caseless: 0 compares bytes, else without regard to letter case; a text that is not valid UTF-8 ends that
 * search.
 *
 * Returns the index of an equal item, or the bitwise complement of the place where sz belongs: -1 in an empty
 * list. A null argument or a range outside the list gives -1 with ERR_BAD_PARAMETERS. */
MORV_API int MLIBISzListFind(const MLIBSZLIST *pList, int high, int low, const char *sz,
                             int caseless) MORV_NOEXCEPT;

/* The comparators of the two orders, for qsort and bsearch over items: each argument is the address of a
 * pointer to a text. They return less than 0, 0 or more than 0. Texts that are not valid UTF-8 come last in
 * the case-insensitive order, by their bytes. */
MORV_API int MLIBISzListStrcmp(const void *pItemA, const void *pItemB) MORV_NOEXCEPT;
MORV_API int MLIBISzListUTF8StrCasecmp(const void *pItemA, const void *pItemB) MORV_NOEXCEPT;

/* Prints the list with its addresses on standard output. A null list sets ERR_BAD_PARAMETERS. */
MORV_API void MLIBISzListDump(const MLIBSZLIST *pList) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
