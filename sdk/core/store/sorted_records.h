// Filling a store with many records, in the order of their keys: what a btree takes fastest and packs
// tightest.
//
//     SortedRecords records;
//     for (...) records.add(key, value);
//     return records.put_all(db, SortedRecords::kLast);
#pragma once

#include <morvsdk/bdb.h>
#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

namespace morv {

class SortedRecords {
  public:
    // The key is copied; the value has to stay where it is. May throw std::bad_alloc.
    void add(std::string_view key, std::string_view value);

    // Of several records with one key: the last one, or all in the order in which they were added.
    enum Same { kLast, kAll };
    // Answers 0 or an error code, as put_record.
    int put_all(MORVBDB *db, Same same) noexcept;

  private:
    // Short, as they are what is moved around. Most comparisons are decided by the first bytes.
    struct Record {
        uint64_t first_bytes;
        uint32_t key_at, key_size;  // in keys_
        std::string_view value;
    };
    std::string_view key_of(const Record &record) const noexcept;
    bool is_before(const Record &a, const Record &b) const noexcept;

    std::string keys_;
    std::vector<Record> records_;
};

}  // namespace morv
