#include "core/store/sorted_records.h"

#include <db_185.h>
#include <errno.h>
#include <morvsdk/errcodes.h>

#include <algorithm>
#include <new>

#include "core/store/native_db.h"
#include "core/store/store_error.h"

namespace morv {

namespace {

// In the order of the bytes; what is missing counts as zeros, and is then decided by the whole key.
uint64_t first_bytes_of(std::string_view key) noexcept {
    uint64_t number = 0;
    for (size_t i = 0; i < 8; ++i)
        number = number << 8 | (i < key.size() ? static_cast<uint8_t>(key[i]) : 0);
    return number;
}

}  // namespace

void SortedRecords::add(std::string_view key, std::string_view value) {
    if (key.size() > UINT32_MAX - keys_.size()) throw std::bad_alloc();
    records_.push_back(
        {first_bytes_of(key), static_cast<uint32_t>(keys_.size()), static_cast<uint32_t>(key.size()), value});
    keys_.append(key);
}

std::string_view SortedRecords::key_of(const Record &record) const noexcept {
    return std::string_view(keys_).substr(record.key_at, record.key_size);
}

// Keys lie in the order in which they were added.
bool SortedRecords::is_before(const Record &a, const Record &b) const noexcept {
    if (a.first_bytes != b.first_bytes) return a.first_bytes < b.first_bytes;
    const int order = key_of(a).compare(key_of(b));
    return order != 0 ? order < 0 : a.key_at < b.key_at;
}

int SortedRecords::put_all(MORVBDB *db, Same same) noexcept {
    std::sort(records_.begin(), records_.end(),
              [this](const Record &a, const Record &b) { return is_before(a, b); });
    BatchPut batch(db->pDb->internal);
    int failed = 0;
    for (size_t i = 0; i < records_.size() && failed == 0; ++i) {
        const std::string_view key = key_of(records_[i]);
        if (same == kLast && i + 1 < records_.size() && key_of(records_[i + 1]) == key) continue;
        failed = batch.put(key, records_[i].value);
    }
    if (failed == 0) failed = batch.finish();
    if (failed == 0) return 0;
    if (failed == ENOMEM) return ERR_OUT_OF_MEMORY;
    return write_error(change_error(failed, db->pDb->fd(db->pDb)), ERR_STORE_WRITE_FAILED);
}

}  // namespace morv
