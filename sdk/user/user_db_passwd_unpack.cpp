#include <morvsdk/internal/user.h>

#include "core/account/line_record.h"
#include "core/base/fail.h"
#include "core/text/fields.h"

extern "C" int MORVUserDBPasswdUnpack(const char *line, void **ppBuffer, int *pSize,
                                      struct passwd **ppPasswd) noexcept {
    if (!ppPasswd) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    char *fields[7];
    if (int code = morv::cut_line(line, ppBuffer, pSize, sizeof(struct passwd), fields)) {
        return MORV_FAIL(code, -1);
    }
    auto *const entry = static_cast<struct passwd *>(*ppBuffer);
    *entry = {};
    entry->pw_name = fields[0];
    entry->pw_passwd = fields[1];
    entry->pw_uid = static_cast<uid_t>(morv::leading_number(fields[2]));
    entry->pw_gid = static_cast<gid_t>(morv::leading_number(fields[3]));
    entry->pw_gecos = fields[4];
    entry->pw_dir = fields[5];
    entry->pw_shell = fields[6];
    *ppPasswd = entry;
    return 0;
}
