#include "core/store/store_handle.h"

#include <db_185.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/store/btree_file.h"

namespace morv {

namespace {

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
void set_mode(const DB *db, mode_t mode, mode_t wanted) {
    if (wanted == kModeAsItIs || (mode & 07777) == wanted || geteuid() != 0) return;
    if (fchmod(db->fd(db), wanted) != 0)
        MORV_LOG(LOG_ERR, "errno=%d/%s, chmod failed.", errno, strerror(errno));
}

}  // namespace

int open_store(const char *path, int flags, bool duplicates, mode_t mode, MORVBDB **db) noexcept {
    MallocPtr<MORVBDB> handle(static_cast<MORVBDB *>(malloc(sizeof(MORVBDB))));
    if (!handle) return ERR_OUT_OF_MEMORY;
    mode_t has;
    const mode_t create_mode = mode == kModeAsItIs ? kSharedStore : mode;
    if (const int error = open_btree(path, flags, duplicates, create_mode, &handle->pDb, &has))
        return open_error(error);
    set_mode(handle->pDb, has, mode);
    handle->cursorType = MORV_BDB_NEXT;
    *db = handle.release();
    return 0;
}

}  // namespace morv
