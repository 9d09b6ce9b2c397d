#include <morvsdk/internal/group.h>

#include "core/account/account_files.h"
#include "core/base/fail.h"

using morv::AccountFile;

extern "C" int GROUPIRemoveTempFiles(void) noexcept {
    const AccountFile files[] = {AccountFile::kGroup, AccountFile::kGroupDesc};
    AccountFile failed;
    const int code = morv::remove_versions(files, &failed);
    return code ? MORV_FAIL(code, -1) : 0;
}
