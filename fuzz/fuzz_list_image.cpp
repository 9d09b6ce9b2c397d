// The byte image of a string list: whatever the bytes, a list that is made of them stays inside its block.
#include <morvsdk/internal/list.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > 1 << 20) return 0;
    MLIBSZLIST *list = MORVListDBUnpack(data, static_cast<int>(size));
    if (!list) return 0;

    // Read every item, pack, unpack: the same list.
    char *const image = MORVListDBPack(list, static_cast<int>(list->nSize));
    if (!image) abort();
    MLIBSZLIST *const copy = MORVListDBUnpack(image, static_cast<int>(list->nSize));
    if (!copy || copy->nItem != list->nItem) abort();
    for (int i = 0; i < list->nItem; ++i) {
        if (strcmp(SzMLIBSzListGet(list, i), SzMLIBSzListGet(copy, i)) != 0) abort();
    }
    free(image);

    // What changes the block must keep it sound as well.
    if (list->nItem > 0) {
        MLIBSzListSet(&list, 0, "x");
        MLIBSzListPush(&list, SzMLIBSzListGet(list, list->nItem / 2));
        MLIBSzListCaseFind(list, SzMLIBSzListGet(list, list->nItem - 1));
    }
    list = PslMLIBISzListExpand(list);
    if (!list) abort();
    if (PslMLIBSzListOr(&list, copy, SZLIST_OP_INPLACE)) PslMLIBSzListSub(list, copy, SZLIST_OP_INPLACE);
    MLIBSzListSortItems(list, SZLIST_MODE_NONE);
    MLIBSzListSortItems(list, SZLIST_MODE_CASESORT);
    MLIBSzListFree(copy);
    MLIBSzListFree(list);
    return 0;
}
