// A store in a test's scratch folder, closed at the end.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/bdb.h>

#include <optional>
#include <string>
#include <string_view>

namespace bdb_test {

struct Store {
    MORVBDB *db;

    explicit Store(const std::string &path, int flags = O_RDWR | O_CREAT, int duplicates = 0)
        : db(MORVBDbOpen(path.c_str(), flags, duplicates)) {}
    ~Store() { close(); }
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    int close() {
        const int result = db ? MORVBDbClose(db) : -1;
        db = nullptr;
        return result;
    }
    int set(std::string_view key, std::string_view value) {
        return MORVBDbSet(db, key.data(), int(key.size()), value.data(), int(value.size()));
    }
    int remove(std::string_view key) { return MORVBDbDelete(db, key.data(), int(key.size())); }
    std::optional<std::string> get(std::string_view key) {
        void *value = nullptr;
        int size = 0;
        std::optional<std::string> found;
        if (MORVBDbGet(db, key.data(), int(key.size()), &value, &size) == 0) {
            found.emplace(static_cast<char *>(value), size);
        }
        MORVBDbFree(value);
        return found;
    }
};

// The buffers of a walk.
struct Walk {
    void *key = nullptr;
    void *value = nullptr;
    int key_size = 0;
    int value_size = 0;

    ~Walk() {
        MORVBDbFree(key);
        MORVBDbFree(value);
    }
    // "key=value", or "" at the end or after a failure.
    std::string step(Store &store, int skip_reserved = 0) {
        if (MORVBDbCursorGet(store.db, skip_reserved, &key, &key_size, &value, &value_size) != 0) return "";
        return std::string(static_cast<char *>(key), key_size) + "=" +
               std::string(static_cast<char *>(value), value_size);
    }
    std::string all(Store &store, int type, int skip_reserved = 0) {
        std::string out;
        MORVBDbCursorSetType(store.db, type);
        for (std::string record; !(record = step(store, skip_reserved)).empty();) {
            out += record + " ";
            MORVBDbCursorSetType(store.db, type == MORV_BDB_LAST ? MORV_BDB_PREV : MORV_BDB_NEXT);
        }
        return out;
    }
};

}  // namespace bdb_test
