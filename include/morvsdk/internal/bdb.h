/* Functions of the record store that speak in Berkeley DB's own items. Exported, but without a promise of
 * stability. */
#ifndef MORVSDK_INTERNAL_BDB_H
#define MORVSDK_INTERNAL_BDB_H

#include <db_185.h>
#include <morvsdk/bdb.h>

MORV_BEGIN_DECLS

/* Copies an item out into the caller's buffer, as the top of bdb.h describes.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS  a null argument, an item with a length but no data, or a negative size
 *   ERR_OUT_OF_MEMORY   also for an item whose length no int holds */
MORV_API int DBTCopyOut(const DBT *item, void **ppBuffer, int *pSize) MORV_NOEXCEPT;

/* Fills an item with a pointer and a length. The data is neither copied nor changed, and must live as long as
 * the item is used.
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS: item or data is null, or length is negative. */
MORV_API int DBTSet(DBT *item, const void *data, int length) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
