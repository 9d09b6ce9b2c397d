// Berkeley DB's records hold a time_t, and its library is built with the short one of 32-bit systems.
#undef _TIME_BITS

#include "core/store/native_db.h"

#include <db.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>

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

// What a batch lies in, as the library wants to be told.
static DBT batch_of(char *memory, uint32_t room) noexcept {
    DBT batch = {};
    batch.data = memory;
    batch.ulen = room;
    batch.flags = DB_DBT_USERMEM;
    return batch;
}

BatchWalk::~BatchWalk() {
    if (cursor_) static_cast<DBC *>(cursor_)->close(static_cast<DBC *>(cursor_));
}

int BatchWalk::fetch() noexcept {
    if (!cursor_) {
        DB *const db = static_cast<DB *>(internal_);
        DBC *cursor;
        if (const int failed = db->cursor(db, nullptr, &cursor, 0)) return as_errno(failed);
        cursor_ = cursor;
    }
    DBC *const cursor = static_cast<DBC *>(cursor_);
    for (;; room_ *= 2) {
        if (!batch_) batch_.reset(static_cast<char *>(malloc(room_)));
        if (!batch_) return ENOMEM;
        DBT key = {};
        DBT batch = batch_of(batch_.get(), room_);
        const int result = cursor->get(cursor, &key, &batch, DB_NEXT | DB_MULTIPLE_KEY);
        if (result == DB_NOTFOUND) return kEnd;
        if (result == 0) {
            DB_MULTIPLE_INIT(at_, &batch);
            return 0;
        }
        // A record that is longer than the room.
        if (result != DB_BUFFER_SMALL || room_ > UINT32_MAX / 2) return as_errno(result);
        batch_.reset();
    }
}

int BatchWalk::next(std::string_view *key, std::string_view *value) noexcept {
    for (;;) {
        if (at_) {
            DBT batch = batch_of(batch_.get(), room_);
            uint8_t *key_bytes;
            uint8_t *value_bytes;
            size_t key_size;
            size_t value_size;
            DB_MULTIPLE_KEY_NEXT(at_, &batch, key_bytes, key_size, value_bytes, value_size);
            if (key_bytes) {
                *key = {reinterpret_cast<const char *>(key_bytes), key_size};
                *value = {reinterpret_cast<const char *>(value_bytes), value_size};
                return 0;
            }
        }
        at_ = nullptr;
        if (const int result = fetch()) return result;
    }
}

constexpr uint32_t kPutRoom = 64 * 1024;

int BatchPut::finish() noexcept {
    if (!at_) return 0;
    at_ = nullptr;
    DB *const db = static_cast<DB *>(internal_);
    DBT batch = batch_of(batch_.get(), kPutRoom);
    batch.flags |= DB_DBT_BULK;
    DBT unused = {};
    return as_errno(db->put(db, nullptr, &batch, &unused, DB_MULTIPLE_KEY));
}

int BatchPut::put(std::string_view key, std::string_view value) noexcept {
    if (!batch_) batch_.reset(static_cast<char *>(malloc(kPutRoom)));
    if (!batch_) return ENOMEM;
    DBT batch = batch_of(batch_.get(), kPutRoom);
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!at_) DB_MULTIPLE_WRITE_INIT(at_, &batch);
        void *const begun = at_;
        DB_MULTIPLE_KEY_WRITE_NEXT(at_, &batch, key.data(), key.size(), value.data(), value.size());
        if (at_) return 0;
        at_ = begun;
        if (const int failed = finish()) return failed;
    }
    // Longer than a batch.
    DB *const db = static_cast<DB *>(internal_);
    DBT at = {};
    at.data = const_cast<char *>(key.data());
    at.size = static_cast<u_int32_t>(key.size());
    DBT what = {};
    what.data = const_cast<char *>(value.data());
    what.size = static_cast<u_int32_t>(value.size());
    return as_errno(db->put(db, nullptr, &at, &what, 0));
}

}  // namespace morv
