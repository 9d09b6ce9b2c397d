#include <morvsdk/list.h>

#include "core/base/fail.h"
#include "list/list_image.h"

namespace {

using namespace morv;

uint32_t offset(const MLIBSZLIST *list, const char *at) noexcept {
    return static_cast<uint32_t>(at - reinterpret_cast<const char *>(list));
}

}  // namespace

extern "C" char *MORVListDBPack(const MLIBSZLIST *pList, int size) noexcept {
    if (!pList || size <= 0 || static_cast<uint32_t>(size) != pList->nSize) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    }
    // The gap carries no meaning; zeroes keep what was in memory there out of the store.
    char *const image = static_cast<char *>(calloc(1, pList->nSize));
    if (!image) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);

    const uint32_t texts = offset(pList, pList->EndofFree);
    const int64_t gap = texts - image_header - pList->nItem * image_slot;
    store_native32(image + image_size, pList->nSize);
    store_native32(image + image_items, static_cast<uint32_t>(pList->nItem));
    store_native32(image + image_free, static_cast<uint32_t>(gap));
    store_native32(image + image_mode, pList->fMode);
    store_native32(image + image_texts, texts);
    store_native32(image + image_null, offset(pList, pList->pszNull));
    for (int i = 0; i < pList->nItem; ++i)
        store_native32(image + image_header + i * image_slot, offset(pList, pList->pszItem[i]));
    // With no text stored yet, the block still ends in its zero.
    memcpy(image + texts, pList->EndofFree, pList->nSize - texts);
    return image;
}
