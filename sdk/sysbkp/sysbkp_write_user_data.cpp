#include <morvsdk/file.h>
#include <morvsdk/internal/sysbkp.h>

#include <string>

#include "core/account/named_lines.h"
#include "core/account/reading.h"
#include "core/account/user_mirror.h"
#include "core/base/kept_error.h"
#include "sysbkp/report.h"

using namespace morv;

namespace {

// The hashes of the samba password file.
int read_smb(const char *name, std::string &lm, std::string &nt) noexcept {
    return read_accounts(user_mirror_kind, MORV_LOCK_PW, [&](Mirror &mirror) {
        std::string key;
        SmbFields fields;
        if (!upper_name(name, key)) return 0;
        if (const int code = find_smb_fields(mirror, key.c_str(), &fields)) return code;
        lm = fields.lm;
        nt = fields.nt;
        return 0;
    });
}

}  // namespace

extern "C" int MORVSysbkpIWriteUserData(const MORVUSER *user, int fd) noexcept {
    if (!user || !user->szName) {
        BACKUP_LOG("parameter error");
        return -1;
    }
    const KeptError before;
    std::string lm, nt;
    const int code = read_smb(user->szName, lm, nt);
    before.restore();
    if (code) {
        BACKUP_LOG("%s: %s", user->szName, code_text(code));
        return -1;
    }
    const auto text = [fd](const char *of) { return MORVSysbkpIWriteString(fd, of ? of : "") == 0; };
    const auto number = [fd](int32_t of) { return MORVSysbkpIWriteLong(fd, of) == 0; };
    return text(user->szName) && text(user->szPassword) && text(user->szDescription) && text(lm.c_str()) &&
                   text(nt.c_str()) && number(user->expireDay) && number(user->privilege) &&
                   text(user->szExtra) && number(user->noPasswordChange == 1 ? 0 : 1)
               ? 0
               : -1;
}
