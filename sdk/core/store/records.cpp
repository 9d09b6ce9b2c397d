#include "core/store/records.h"

#include <db_185.h>
#include <errno.h>
#include <limits.h>
#include <morvsdk/error.h>

namespace morv {

namespace {

DBT item(std::string_view bytes) noexcept {
    DBT dbt;
    dbt.data = const_cast<char *>(bytes.data());
    dbt.size = bytes.size();
    return dbt;
}

std::string_view bytes_of(const DBT &dbt) noexcept {
    return {static_cast<const char *>(dbt.data), dbt.size};
}

int read_failure() noexcept {
    if (errno == ENOMEM) return ERR_OUT_OF_MEMORY;
    return errno == EIO ? ERR_DISK_IO_FAILED : ERR_STORE_READ_FAILED;
}

bool too_long(std::string_view bytes) noexcept {
    return bytes.size() > INT_MAX;
}

}  // namespace

int find_record(MORVBDB *db, std::string_view key, std::string_view *value) noexcept {
    DBT wanted = item(key);
    DBT found;
    const int result = db->pDb->get(db->pDb, &wanted, &found, 0);
    if (result == RET_SPECIAL) return ERR_KEY_NOT_FOUND;
    if (result != RET_SUCCESS) return read_failure();
    *value = bytes_of(found);
    return 0;
}

int put_record(MORVBDB *db, std::string_view key, std::string_view value) noexcept {
    if (too_long(key) || too_long(value)) return ERR_OUT_OF_MEMORY;
    const int result = MORVBDbSet(db, key.data(), static_cast<int>(key.size()), value.data(),
                                  static_cast<int>(value.size()));
    return result == 0 ? 0 : MLIBErrGet();
}

int erase_record(MORVBDB *db, std::string_view key) noexcept {
    if (too_long(key)) return 0;
    if (MORVBDbDelete(db, key.data(), static_cast<int>(key.size())) == 0) return 0;
    return MLIBErrGet() == ERR_KEY_NOT_FOUND ? 0 : MLIBErrGet();
}

int find_pair(MORVBDB *db, std::string_view key, std::string_view value) noexcept {
    Walk walk(db, key);
    while (walk.next()) {
        if (walk.value == value) return 0;
    }
    return walk.code ? walk.code : ERR_KEY_NOT_FOUND;
}

int erase_pair(MORVBDB *db, std::string_view key, std::string_view value) noexcept {
    if (const int code = find_pair(db, key, value)) return code;
    DBT wanted = item(key);
    if (db->pDb->del(db->pDb, &wanted, R_CURSOR) == RET_SUCCESS) return 0;
    return errno == ENOSPC ? ERR_NOT_ENOUGH_SPACE : ERR_STORE_DELETE_FAILED;
}

int clear_store(MORVBDB *db) noexcept {
    for (;;) {
        DBT key;
        DBT value;
        const int result = db->pDb->seq(db->pDb, &key, &value, R_FIRST);
        if (result == RET_SPECIAL) return 0;
        if (result != RET_SUCCESS) return read_failure();
        if (db->pDb->del(db->pDb, &key, R_CURSOR) != RET_SUCCESS) return ERR_STORE_DELETE_FAILED;
    }
}

Walk::Walk(MORVBDB *db) noexcept : Walk(db, {}) {}

Walk::Walk(MORVBDB *db, std::string_view only) noexcept : db_(db), all_(db->pDb->internal), only_(only) {}

bool Walk::next() noexcept {
    if (!only_.empty()) return next_of_key();
    for (;;) {
        const int result = all_.next(&key, &value);
        if (result == BatchWalk::kEnd) return false;
        if (result != 0) {
            errno = result;
            code = read_failure();
            return false;
        }
        if (key.empty() || key[0] != '#') return true;
    }
}

bool Walk::next_of_key() noexcept {
    DBT at = item(only_);
    DBT found;
    const int result = db_->pDb->seq(db_->pDb, &at, &found, started_ ? u_int{R_NEXT} : u_int{R_CURSOR});
    started_ = true;
    if (result == RET_SPECIAL) return false;
    if (result != RET_SUCCESS) {
        code = read_failure();
        return false;
    }
    key = bytes_of(at);
    value = bytes_of(found);
    return key == only_;
}

}  // namespace morv
