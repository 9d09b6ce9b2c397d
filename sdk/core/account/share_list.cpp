#include "core/account/share_list.h"

#include <morvsdk/error.h>

#include <algorithm>

namespace morv {

int push_names(const std::string &names, MLIBSZLIST **list, int *count) noexcept {
    int pushed = 0;
    for (size_t at = 0; at < names.size(); at = names.find('\0', at) + 1, ++pushed) {
        if (MLIBSzListPush(list, names.c_str() + at) < 0) return MLIBErrGet();
    }
    *count = pushed;
    return 0;
}

bool lies_below(std::string_view path, std::string_view top) noexcept {
    while (!top.empty() && top.back() == '/')
        top.remove_suffix(1);
    return path.starts_with(top) && (path.size() == top.size() || path[top.size()] == '/');
}

int read_share(Mirror &mirror, const std::string &key, MORVSHARE **share) {
    std::string_view packed;
    const int code = find_record(mirror.store[kShares], store_key(key), &packed);
    if (code) return code == ERR_KEY_NOT_FOUND ? int{ERR_NO_SUCH_SHARE} : code;
    if (MORVShareDBUnpack(packed.data(), static_cast<int>(packed.size()), share) == 0) return 0;
    return MLIBErrGet() == ERR_BAD_PARAMETERS ? int{ERR_STORE_INVALID} : MLIBErrGet();
}

}  // namespace morv
