#include <errno.h>
#include <morvsdk/internal/group.h>

#include "core/account/account_files.h"
#include "core/base/fail.h"
#include "core/base/log.h"

using morv::AccountFile;

extern "C" int GROUPIRenameTempFiles(void) noexcept {
    const AccountFile files[] = {AccountFile::kGroup, AccountFile::kGroupDesc};
    AccountFile failed;
    const int code = morv::rename_versions(files, &failed);
    if (code == 0) return 0;
    MORV_LOG(LOG_ERR, "Rename [%s%s]->[%s] fail, errno=%d/%m", morv::path_of(failed), morv::suffix_of(failed),
             morv::path_of(failed), errno);
    return MORV_FAIL(code, -1);
}
