#include <db_185.h>
#include <errno.h>
#include <morvsdk/bdb.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/store/btree_file.h"

namespace {

constexpr mode_t kStoreMode = 0666;

int open_error(int error) {
    switch (error) {
        case EINVAL:
            return ERR_STORE_INVALID;
        case EACCES:
            return ERR_ACCESS_DENIED;
        case ENOSPC:
            return ERR_NOT_ENOUGH_SPACE;
        case ENOENT:
            return ERR_FILE_NOT_FOUND;
        case ENOMEM:
            return ERR_OUT_OF_MEMORY;
        default:
            MORV_LOG(LOG_NOTICE, "errno=%d/%s, dbopen failed.", error, strerror(error));
            return ERR_OPEN_FAILED;
    }
}

// Through the descriptor: the name may be another file's by now. A mode that is right already is left alone,
// as setting it would count as a change of the file.
void share_with_everybody(const DB *db, mode_t mode) {
    if ((mode & 07777) == kStoreMode || geteuid() != 0) return;
    if (fchmod(db->fd(db), kStoreMode) != 0)
        MORV_LOG(LOG_ERR, "errno=%d/%s, chmod failed.", errno, strerror(errno));
}

}  // namespace

extern "C" MORVBDB *MORVBDbOpen(const char *path, int flags, int duplicates) noexcept {
    if (!path || !*path) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    morv::MallocPtr<MORVBDB> handle(static_cast<MORVBDB *>(malloc(sizeof(MORVBDB))));
    if (!handle) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    mode_t mode;
    if (const int error = morv::open_btree(path, flags, duplicates == 1, &handle->pDb, &mode)) {
        return MORV_FAIL(open_error(error), nullptr);
    }
    share_with_everybody(handle->pDb, mode);
    handle->cursorType = MORV_BDB_NEXT;
    return handle.release();
}
