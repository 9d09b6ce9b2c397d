// Records of an open store for the engines: read in place, without a copy.
#pragma once

#include <morvsdk/bdb.h>

#include <string_view>

#include "core/store/native_db.h"

namespace morv {

// All answer 0 or an error code. What is found is good until the next call on the same store.
int find_record(MORVBDB *db, std::string_view key, std::string_view *value) noexcept;  // ERR_KEY_NOT_FOUND
int put_record(MORVBDB *db, std::string_view key, std::string_view value) noexcept;
int erase_record(MORVBDB *db, std::string_view key) noexcept;  // one that is missing is no error

int clear_store(MORVBDB *db) noexcept;  // removes every record

// Of several records with one key, the one with this value. ERR_KEY_NOT_FOUND when there is none.
int find_pair(MORVBDB *db, std::string_view key, std::string_view value) noexcept;
int erase_pair(MORVBDB *db, std::string_view key, std::string_view value) noexcept;

// The records with one key, or those of a whole store but for the reserved ones:
//
//     for (Walk walk(db); walk.next();) use(walk.key, walk.value);
//     if (walk.code) ...
class Walk {
  public:
    explicit Walk(MORVBDB *db) noexcept;
    Walk(MORVBDB *db, std::string_view only) noexcept;
    bool next() noexcept;

    std::string_view key;
    std::string_view value;
    int code = 0;

  private:
    bool next_of_key() noexcept;

    MORVBDB *db_;
    BatchWalk all_;
    std::string_view only_;
    bool started_ = false;
};

// The text of a key or value that is stored with its NUL; a foreign one may lack it.
inline std::string_view stored_text(std::string_view bytes) noexcept {
    return bytes.substr(0, bytes.find('\0'));
}

}  // namespace morv
