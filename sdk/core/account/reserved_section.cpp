#include "core/account/reserved_section.h"

#include <morvsdk/error.h>

namespace morv {

std::string lower_key(std::string_view key) {
    std::string lower(key);
    for (char &c : lower) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

int read_lines(Mirror &mirror, const char *section, std::vector<std::string> &lines) {
    lines.clear();
    if (ShareSectionTypeGet(section) != MORV_SECTION_RESERVED) return ERR_KEY_NOT_FOUND;
    std::string_view image;
    if (const int code = find_record(mirror.store[kShares], store_key(reserved_key(section)), &image))
        return code;
    const ListPtr list(MORVListDBUnpack(image.data(), static_cast<int>(image.size())));
    if (!list) return MLIBErrGet() == ERR_OUT_OF_MEMORY ? ERR_OUT_OF_MEMORY : ERR_STORE_INVALID;
    for (int i = 1; i < list->nItem; ++i)
        lines.emplace_back(list->pszItem[i]);
    return 0;
}

}  // namespace morv
