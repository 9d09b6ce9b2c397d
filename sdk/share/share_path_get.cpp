#include <string.h>

#include "core/account/named_lines.h"
#include "core/account/share_list.h"
#include "core/base/fail.h"
#include "core/base/log.h"

using namespace morv;

static int copy_path(Mirror &mirror, const char *name, char *buffer, int size) {
    std::string key;
    std::string_view packed;
    PackedShare share;
    if (!upper_name(name, key)) return ERR_NO_SUCH_SHARE;
    const int code = find_record(mirror.store[kShares], store_key(key), &packed);
    if (code) return code == ERR_KEY_NOT_FOUND ? int{ERR_NO_SUCH_SHARE} : code;
    if (!share.read(packed)) return ERR_STORE_INVALID;
    const size_t length = strlen(share.path());
    if (length >= size_t(size)) return ERR_NOT_ENOUGH_MEMORY;
    memcpy(buffer, share.path(), length + 1);
    return 0;
}

extern "C" int MORVSharePathGet(const char *name, char *buffer, int size) noexcept {
    if (!name || !buffer || size < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = read_shares([&](Mirror &mirror) { return copy_path(mirror, name, buffer, size); });
    if (code == 0) return 0;
    if (code == ERR_NO_SUCH_SHARE) MORV_LOG(LOG_ERR, "Cannot get the path of %s.", name);
    return MORV_FAIL(code, -1);
}
