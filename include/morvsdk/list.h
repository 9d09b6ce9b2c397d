/* The string list: the container for a sequence of texts - names of users, groups, shares, keys, devices.
 *
 * A list is one block of memory that holds its header, its item pointers and its texts, so it is made with
 * one allocation, freed with one call and stored as one byte image. Functions that may have to grow the block
 * take the address of the caller's handle and store the moved block there:
 *
 *     MLIBSZLIST *list = PslMLIBSzListAlloc(512);
 *     if (!list || MLIBSzListPush(&list, "admin") < 0)
 *         ... MLIBErrGet() ...
 *     for (int i = 0; i < list->nItem; i++)
 *         puts(SzMLIBSzListGet(list, i));
 *     MLIBSzListFree(list);
 *
 * Order. A list is unsorted (SZLIST_MODE_NONE), or kept sorted by bytes (SZLIST_MODE_SORT), or kept sorted
 * without regard to letter case (SZLIST_MODE_CASESORT). A sorted list places what is inserted and is searched
 * by halving. The case-insensitive order is that of MLIBUnicodeUTF8StrCaseCmp (unicode.h): texts that are not
 * valid UTF-8 are equal to nothing, not even to themselves.
 *
 * Holes. Inserting beyond the end of an unsorted list leaves holes between: items that read as the empty
 * text, but take no room. Searches skip them; sorting drops them. An empty text that was stored may become a
 * hole at any time, so do not rely on finding one.
 *
 * Lifetime. The caller owns every list that it receives and frees it with MLIBSzListFree. Pointers to items
 * point into the block and are valid until the block is replaced or freed; MLIBSzListSet may write over the
 * text that it replaces, and what is inserted after MLIBSzListRemoveAll over any. A text passed in may lie in
 * the list itself, and the second list of a set operation may be the first.
 *
 * A list holds at most 2147483647 bytes; what would need more fails with ERR_OUT_OF_MEMORY. */
#ifndef MORVSDK_LIST_H
#define MORVSDK_LIST_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* Sort modes (fMode). */
enum {
    SZLIST_MODE_NONE = 0,     /* unsorted */
    SZLIST_MODE_SORT = 1,     /* kept sorted by bytes */
    SZLIST_MODE_CASESORT = 16 /* kept sorted without regard to letter case */
};

/* Where a set operation puts its result. */
enum {
    SZLIST_OP_INPLACE = 0, /* into the first list */
    SZLIST_OP_NEW = 0x1000 /* into a new list */
};

/* The block: this header, the item pointers growing upward, a free gap, the texts growing downward from the
 * end. The last byte of the block is always 0. Read the fields freely; change them through the functions
 * only. */
typedef struct MLIBSZLIST {
    uint32_t nSize;  /* bytes of the whole block */
    int32_t nItem;   /* items */
    int32_t nFree;   /* bytes of the free gap */
    uint32_t fMode;  /* SZLIST_MODE_... */
    char *EndofFree; /* the text stored last; the end of the block when none is stored */
    char *pszNull;   /* what a hole points to: the last byte of the block */
    __extension__ char *pszItem[];
} MLIBSZLIST;

/* An open record store (bdb.h). */
struct MORVBDB;

/* Makes an empty unsorted list.
 *
 * size: bytes of the block, header included; less than 512 (also a negative size) means 512.
 *
 * Returns the list, or null with ERR_OUT_OF_MEMORY. */
MORV_API MLIBSZLIST *PslMLIBSzListAlloc(int size) MORV_NOEXCEPT;

/* Frees the list; null is ignored. */
MORV_API void MLIBSzListFree(MLIBSZLIST *pList) MORV_NOEXCEPT;

/* Inserts a copy of sz before the item at index. Beyond the end, holes fill the places between; a sorted list
 * ignores index and uses the place that keeps it sorted. May replace *ppList.
 *
 * Returns the index that the new item has, or -1 with
 *   ERR_BAD_PARAMETERS  a null argument, or index is negative
 *   ERR_OUT_OF_MEMORY   the list could not grow; it is as it was */
MORV_API int MLIBSzListInsert(MLIBSZLIST **ppList, int index, const char *sz) MORV_NOEXCEPT;

/* Inserts a copy of sz at the end (in a sorted list: at its place). Result and errors as MLIBSzListInsert. */
MORV_API int MLIBSzListPush(MLIBSZLIST **ppList, const char *sz) MORV_NOEXCEPT;

/* Inserts a copy of sz at the front (in a sorted list: at its place). Result and errors as
 * MLIBSzListInsert. */
MORV_API int MLIBSzListUnshift(MLIBSZLIST **ppList, const char *sz) MORV_NOEXCEPT;

/* The item at index, "" for a hole; or null with ERR_BAD_PARAMETERS for a null list or an index outside
 * it. */
MORV_API const char *SzMLIBSzListGet(const MLIBSZLIST *pList, int index) MORV_NOEXCEPT;

/* Replaces the item at index by a copy of sz. A sorted list is sorted anew. May replace *ppList.
 *
 * Returns the index that the item has afterwards, or -1 with
 *   ERR_BAD_PARAMETERS  a null argument, an index outside the list; and always for a list in
 *                       SZLIST_MODE_CASESORT, although the item was replaced and the list sorted: look it
 *                       up with MLIBSzListCaseFind
 *   ERR_OUT_OF_MEMORY   the list could not grow; it is as it was */
MORV_API int MLIBSzListSet(MLIBSZLIST **ppList, int index, const char *sz) MORV_NOEXCEPT;

/* Removes the item at index.
 *
 * Returns its text, which stays readable inside the block until the list grows, is emptied or freed; or null
 * with ERR_BAD_PARAMETERS for a null or empty list or an index outside it. */
MORV_API char *SzMLIBSzListRemove(MLIBSZLIST *pList, int index) MORV_NOEXCEPT;

/* Removes the first item; result and errors as SzMLIBSzListRemove. */
MORV_API char *SzMLIBSzListShift(MLIBSZLIST *pList) MORV_NOEXCEPT;

/* Removes the last item; result and errors as SzMLIBSzListRemove. */
MORV_API char *SzMLIBSzListPop(MLIBSZLIST *pList) MORV_NOEXCEPT;

/* Empties the list; it keeps its block and its mode. Returns the list; null is returned as given. */
MORV_API MLIBSZLIST *MLIBSzListRemoveAll(MLIBSZLIST *pList) MORV_NOEXCEPT;

/* Finds the item that equals sz byte for byte: by halving in SZLIST_MODE_SORT, else the first one.
 *
 * Returns its index; -1 without an error when there is none; or -1 with
 *   ERR_BAD_PARAMETERS  a null argument, or the list is in SZLIST_MODE_CASESORT */
MORV_API int MLIBSzListFind(const MLIBSZLIST *pList, const char *sz) MORV_NOEXCEPT;

/* Finds the item that equals sz without regard to letter case: by halving in SZLIST_MODE_CASESORT, else the
 * first one.
 *
 * Returns its index; -1 without an error when there is none; or -1 with
 *   ERR_BAD_PARAMETERS  a null argument, or the list is in SZLIST_MODE_SORT */
MORV_API int MLIBSzListCaseFind(const MLIBSZLIST *pList, const char *sz) MORV_NOEXCEPT;

/* Sorts an unsorted list and keeps it sorted from then on.
 *
 * mode: SZLIST_MODE_SORT or SZLIST_MODE_CASESORT drops the holes and sorts; the order of equal items is open,
 * and texts that are not valid UTF-8 come last in the case-insensitive order. SZLIST_MODE_NONE changes no
 * order.
 *
 * The list's mode becomes `mode` in every case. A list that is sorted already is only relabelled: to sort it
 * otherwise, pass SZLIST_MODE_NONE first. A null list sets ERR_BAD_PARAMETERS. */
MORV_API void MLIBSzListSortItems(MLIBSZLIST *pList, int mode) MORV_NOEXCEPT;

/* The list's mode, or -1 with ERR_BAD_PARAMETERS for a null list. */
MORV_API int MLIBSzListSorted(const MLIBSZLIST *pList) MORV_NOEXCEPT;

/* The set operations.
 *
 * flag: SZLIST_OP_INPLACE changes A and returns it; SZLIST_OP_NEW leaves A as it is and returns a new list.
 *
 * B may be unsorted or, if A is sorted, in A's mode. Two unsorted lists are compared by bytes; where one list
 * is sorted the comparison is by that list's mode. In the tables A and B stand for the items of the list,
 * without holes.
 *
 * They return the result, or null with
 *   ERR_BAD_PARAMETERS  a null list, another flag, lists sorted in different modes; or both lists are in
 *                       SZLIST_MODE_CASESORT and a text that is compared is not valid UTF-8
 *   ERR_OUT_OF_MEMORY   an allocation failed
 * After a failure a list that was to be changed in place is valid, but may hold a part of the result. */

/* The intersection: the items of A that are in B too, in A's order.
 *
 *   B unsorted            compared by bytes. A new list holds each item once for every equal item of B, and
 *                         is unsorted; in place A keeps its mode.
 *   A unsorted, B sorted  found by B's mode; the result is unsorted.
 *   both sorted           equal items pair off one to one; a new list holds B's spelling. The result has
 *                         A's mode. */
MORV_API MLIBSZLIST *PslMLIBSzListAnd(MLIBSZLIST *pListA, const MLIBSZLIST *pListB, int flag) MORV_NOEXCEPT;

/* The union. In place it may replace *ppListA; after a failure *ppListA is the list to go on with.
 *
 *   both unsorted         A, then the items of B that are not in A. In place an item that B holds twice is
 *                         added once.
 *   A sorted, B unsorted  A and the items of B not found in A. In place A stays sorted and what B holds
 *                         twice is added once; a new list is unsorted: first A, then B's.
 *   A unsorted, B sorted  in place the items of A that are not found in B, then B; a new list holds B first.
 *   both sorted           equal items pair off one to one and A's spelling is taken; the result has A's
 *                         mode. */
MORV_API MLIBSZLIST *PslMLIBSzListOr(MLIBSZLIST **ppListA, const MLIBSZLIST *pListB, int flag) MORV_NOEXCEPT;

/* The difference: the items of A that are not in B, in A's order.
 *
 *   both unsorted         every copy of an item of B goes.
 *   A sorted, B unsorted  each item of B takes away one equal item by A's mode; a new list is unsorted.
 *   A unsorted, B sorted  what B's mode finds in B goes, every copy of it; the result is unsorted.
 *   both sorted           each item of B takes away one equal item; the result has A's mode. */
MORV_API MLIBSZLIST *PslMLIBSzListSub(MLIBSZLIST *pListA, const MLIBSZLIST *pListB, int flag) MORV_NOEXCEPT;

/* Makes the byte image of a list, as the record store keeps it: nSize bytes, the block with every pointer
 * replaced by its offset. All integers are 4 bytes in the machine's order: nSize, nItem, nFree (the gap of
 * the image), fMode, the offsets of EndofFree and pszNull, then one offset for each item; the texts stand
 * where they stand in the block.
 *
 * size: the list's nSize.
 *
 * Returns the image, to be freed with free(); or null with
 *   ERR_BAD_PARAMETERS  a null list, or size is not its nSize
 *   ERR_OUT_OF_MEMORY   the allocation failed */
MORV_API char *MORVListDBPack(const MLIBSZLIST *pList, int size) MORV_NOEXCEPT;

/* Makes a list of an image. The bytes are checked: no image, however damaged, makes a list that reads beyond
 * itself.
 *
 * size: bytes of the image. The list is larger where the machine's pointers are wider than the offsets and
 * the gap has no room for the difference.
 *
 * Returns the list, to be freed with MLIBSzListFree; or null with
 *   ERR_BAD_PARAMETERS  a null image, a size that is not the image's own, or bytes that are no image
 *   ERR_OUT_OF_MEMORY   the allocation failed */
MORV_API MLIBSZLIST *MORVListDBUnpack(const void *pImage, int size) MORV_NOEXCEPT;

/* Stores the image of a list in a record store under "#" and the section's name in upper case (byte by byte,
 * by the locale), terminating zero included: "share" becomes the 7 bytes of "#SHARE".
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS  a null argument
 *   ERR_OUT_OF_MEMORY   an allocation failed
 *   or the code of MORVBDbSet. A failure to pack or to store is also written to the system log. */
MORV_API int MORVListDBSet(struct MORVBDB *pHandle, const char *szSection,
                           const MLIBSZLIST *pList) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
