#include <errno.h>
#include <morvsdk/internal/share.h>
#include <string.h>

#include <string_view>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/text/case.h"
#include "core/text/trim.h"

using namespace morv;

// Whether the group that everybody is in is an item of a rights list.
static bool names_everybody(const char *list) noexcept {
    std::string_view rest(list ? list : "");
    for (;;) {
        const size_t comma = rest.find(',');
        const std::string_view item = trim_blanks(rest.substr(0, comma));
        char text[32] = {};  // what equals the name is not longer, in whatever letters
        if (item.size() < sizeof text) {
            memcpy(text, item.data(), item.size());
            if (case_equal(text, "@users")) return true;
        }
        if (comma == rest.npos) return false;
        rest.remove_prefix(comma + 1);
    }
}

extern "C" int ShareFTypeGetFromConf(const MLIBSZHASH *keys, const char *invalidUsers, const char *writeList,
                                     const char *readList) noexcept {
    if (!keys) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (names_everybody(invalidUsers)) return MORV_SHARE_NO_ACCESS;
    if (names_everybody(writeList)) return MORV_SHARE_READ_WRITE;
    if (names_everybody(readList)) return MORV_SHARE_READ_ONLY;

    const char *const guest = SzMLIBSzHashGetValue(keys, "guest ok");
    const char *const writeable = SzMLIBSzHashGetValue(keys, "writeable");
    const auto are = [&](const char *guest_is, const char *writeable_is) {
        return guest && writeable && ascii_equal(guest, guest_is) && ascii_equal(writeable, writeable_is);
    };
    if (are("yes", "yes")) return MORV_SHARE_READ_WRITE;
    if (are("yes", "no")) return MORV_SHARE_READ_ONLY;
    if (are("no", "no")) return MORV_SHARE_NO_ACCESS;
    MORV_LOG(LOG_ERR, "errno=%d unknown error!! guest ok = %s, writeable = %s", errno, guest ? guest : "NULL",
             writeable ? writeable : "NULL");
    return MORV_SHARE_READ_ONLY;
}
