#include <morvsdk/user.h>

#include "core/account/account_files.h"
#include "core/base/fail.h"
#include "core/base/log.h"

using morv::AccountFile;

extern "C" int MORVUserRenameTmpFiles(void) noexcept {
    const AccountFile files[] = {AccountFile::kSmbpasswd, AccountFile::kShadow, AccountFile::kPasswd,
                                 AccountFile::kMisc};
    AccountFile failed;
    const int code = morv::rename_versions(files, &failed);
    if (code == 0) return 0;
    MORV_LOG(LOG_WARNING, "rename %s file failed!", morv::path_of(failed));
    return MORV_FAIL(code, -1);
}
