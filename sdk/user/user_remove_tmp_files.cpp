#include <morvsdk/user.h>

#include "core/account/account_files.h"
#include "core/base/fail.h"
#include "core/base/log.h"

using morv::AccountFile;

extern "C" int MORVUserRemoveTmpFiles(void) noexcept {
    const AccountFile files[] = {AccountFile::kSmbpasswd, AccountFile::kShadow, AccountFile::kPasswd,
                                 AccountFile::kMisc};
    int code = 0;
    for (const AccountFile file : files) {
        AccountFile failed;
        const int result = morv::remove_versions({&file, 1}, &failed);
        if (result) MORV_LOG(LOG_WARNING, "remove %s file failed!", morv::path_of(file));
        code = result ? result : code;
    }
    return code ? MORV_FAIL(code, -1) : 0;
}
