// Berkeley DB's records hold a time_t, and its library is built with the short one of 32-bit systems.
#undef _TIME_BITS

#include "core/store/native_db.h"

#include <db.h>
#include <errno.h>

namespace morv {

namespace {

void ignore_message(const DB_ENV *, const char *, const char *) {}

// Berkeley DB's own codes are negative.
int as_errno(int result) {
    return result < 0 ? EIO : result;
}

}  // namespace

int create_btree(const char *path, bool duplicates, int mode) noexcept {
    DB *db;
    if (const int failed = db_create(&db, nullptr, 0)) return as_errno(failed);
    db->set_errcall(db, ignore_message);
    int result = duplicates ? db->set_flags(db, DB_DUP) : 0;
    if (result == 0) result = db->open(db, nullptr, path, nullptr, DB_BTREE, DB_CREATE | DB_TRUNCATE, mode);
    const int closed = db->close(db, 0);
    return as_errno(result ? result : closed);
}

void silence_btree(void *internal) noexcept {
    DB *db = static_cast<DB *>(internal);
    db->set_errcall(db, ignore_message);
}

bool btree_has_duplicates(void *internal) noexcept {
    DB *db = static_cast<DB *>(internal);
    u_int32_t flags = 0;
    return db->get_flags(db, &flags) == 0 && (flags & DB_DUP) != 0;
}

}  // namespace morv
