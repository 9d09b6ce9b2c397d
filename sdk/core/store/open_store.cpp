#include "core/store/open_store.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/fail.h"
#include "core/store/btree_file.h"
#include "core/store/native_db.h"

#include <db_185.h>

namespace morv {

namespace {

// A store of the other kind would collect records where one is to be replaced.
MORVBDB *open_of_kind(const char *path, int flags, bool duplicates) {
    MORVBDB *const db = MORVBDbOpen(path, flags, duplicates);
    if (!db || btree_has_duplicates(db->pDb->internal) == duplicates) return db;
    MORVBDbClose(db);
    return MORV_FAIL(ERR_STORE_INVALID, nullptr);
}

MORVBDB *replace(const char *path, bool duplicates) {
    struct stat st;
    char name[PATH_MAX];
    if (lstat(path, &st) != 0 || !S_ISREG(st.st_mode)) return MORV_FAIL(ERR_STORE_INVALID, nullptr);
    if (name_beside(path, name, sizeof name) != 0) return MORV_FAIL(ERR_OPEN_FAILED, nullptr);
    MORVBDB *const db = MORVBDbOpen(name, O_RDWR | O_CREAT | O_EXCL, duplicates);
    if (db && rename(name, path) != 0) {
        const int code = errno == EACCES || errno == EPERM ? ERR_ACCESS_DENIED : ERR_RENAME_FAILED;
        unlink(name);
        MORVBDbClose(db);
        return MORV_FAIL(code, nullptr);
    }
    return db;
}

}  // namespace

MORVBDB *open_store(const char *path, bool duplicates, bool *created) noexcept {
    MORVBDB *db = open_of_kind(path, O_RDWR, duplicates);
    if (db) {
        *created = false;
        return db;
    }
    db = open_of_kind(path, O_RDWR | O_CREAT, duplicates);
    if (!db && MLIBErrGet() == ERR_STORE_INVALID) db = replace(path, duplicates);
    if (!db) return nullptr;
    if (MORVBDbDeprecatedSet(db, 0) != 0) {
        MORVBDbClose(db);
        return nullptr;
    }
    *created = true;
    return db;
}

}  // namespace morv
