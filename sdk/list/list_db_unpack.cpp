#include <morvsdk/list.h>

#include <algorithm>

#include "core/base/fail.h"
#include "list/list_image.h"

namespace {

using namespace morv;

struct Image {
    const char *bytes;
    int64_t size;
    int64_t items;
    int64_t texts;  // where the string area begins

    uint32_t field(int64_t at) const noexcept { return load_native32(bytes + at); }
    int64_t item(int64_t index) const noexcept { return field(image_header + index * image_slot); }
    int64_t null() const noexcept { return size - 1; }
};

// Whether the fields fit together and each item is a text of its own inside the string area.
bool sound(const Image &image) noexcept {
    if (image.field(image_size) != image.size || image.field(image_null) != image.null()) return false;
    if (image.bytes[image.null()] != '\0') return false;
    if (image.field(image_mode) > INT32_MAX) return false;  // it would read as a failure
    const int64_t gap = image.texts - image_header - image.items * image_slot;
    if (image.items < 0 || image.texts > image.size || gap < 0 || image.field(image_free) != gap)
        return false;
    if (image.texts == image.size && gap == 0) return false;  // offsets would lie over the closing zero

    // Texts share no bytes, so together they fit into the area. Without that, a small image could name one
    // long text so often that a copy of the list had no room for it.
    int64_t left = image.size - image.texts;
    for (int64_t i = 0; i < image.items; ++i) {
        const int64_t at = image.item(i);
        if (at == image.null()) continue;
        if (at < image.texts || at > image.null()) return false;
        left -= static_cast<int64_t>(strnlen(image.bytes + at, static_cast<size_t>(left))) + 1;
        if (left < 0) return false;
    }
    return true;
}

}  // namespace

extern "C" MLIBSZLIST *MORVListDBUnpack(const void *pImage, int size) noexcept {
    if (!pImage || size <= image_header) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    Image image{static_cast<const char *>(pImage), size, 0, 0};
    image.items = static_cast<int32_t>(image.field(image_items));
    image.texts = image.field(image_texts);
    if (!sound(image)) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);

    // Pointers wider than offsets may need more than the gap; then the texts move up.
    const int64_t texts = image.size - image.texts;
    const int64_t needed = list_header + image.items * list_slot + std::max<int64_t>(texts, 1);
    MLIBSZLIST *const list = list_make_block(std::max(needed, image.size));
    if (!list) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    if (texts > 0) list_store(list, image.bytes + image.texts, texts);
    char *const end = list_end(list);
    for (int64_t i = 0; i < image.items; ++i)
        list->pszItem[i] = end - (image.size - image.item(i));
    list->nItem = static_cast<int32_t>(image.items);
    list->nFree -= static_cast<int32_t>(image.items * list_slot);
    list->fMode = image.field(image_mode);
    return list;
}
