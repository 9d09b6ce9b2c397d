// The record store beside the btree library called bare, through the same interface.
#include "store_bench.h"

#include <db_185.h>
#include <fcntl.h>
#include <morvsdk/bdb.h>
#include <string.h>
#include <unistd.h>

namespace bench {

Records::Records() {
    for (const std::string &name : names(1000))
        all.emplace_back(name, name + ":" + std::string(100, 'x'));
    key = all[500].first;
    value = all[500].second;
}

namespace {

void get_ours(MORVBDB *db, const std::string &key, void **value, int *size) {
    if (!db || MORVBDbGet(db, key.data(), static_cast<int>(key.size()), value, size) != 0)
        give_up("store: get");
}

// The bytes belong to the library: they are good until the next call only, so that a user copies them.
size_t get_bare(DB *db, const std::string &key, char *to) {
    DBT wanted, value;
    wanted.data = const_cast<char *>(key.data());
    wanted.size = key.size();
    if (!db || db->get(db, &wanted, &value, 0) != 0) give_up("btree: get");
    memcpy(to, value.data, value.size);
    return value.size;
}

void add_store(const Place &place) {
    const Records records;
    const std::string path = place.folder + "/records.db";
    MORVBDB *const made = MORVBDbOpen(path.c_str(), O_RDWR | O_CREAT, 0);
    for (const auto &[key, value] : records.all) {
        if (!made || MORVBDbSet(made, key.data(), static_cast<int>(key.size()), value.data(),
                                static_cast<int>(value.size())) != 0) {
            give_up("store: set");
        }
    }
    MORVBDbClose(made);
    // A store that has just been written is looked through at each opening, as it may yet change unseen.
    usleep(50000);

    MORVBDB *const ours = MORVBDbOpen(path.c_str(), O_RDONLY, 0);
    DB *const bare = dbopen(path.c_str(), O_RDONLY, 0, DB_BTREE, nullptr);
    compare(std::string("store_get_") + place.name, records.value)
        .side("ours",
              [=, key = records.key, value = static_cast<void *>(nullptr), size = 0](auto see) mutable {
                  for (int i = 0; i < kGets; ++i)
                      get_ours(ours, key, &value, &size);
                  see(std::string_view(static_cast<char *>(value), static_cast<size_t>(size)));
              })
        .side("floor", [=, key = records.key](auto see) {
            char value[512];
            size_t size = 0;
            for (int i = 0; i < kGets; ++i)
                size = get_bare(bare, key, value);
            see(std::string_view(value, size));
        });

    compare(std::string("store_open_get_close_") + place.name, records.value)
        .side("ours",
              [=, key = records.key](auto see) {
                  void *value = nullptr;
                  int size = 0;
                  MORVBDB *const db = MORVBDbOpen(path.c_str(), O_RDONLY, 0);
                  get_ours(db, key, &value, &size);
                  MORVBDbClose(db);
                  see(std::string_view(static_cast<char *>(value), static_cast<size_t>(size)));
                  MORVBDbFree(value);
              })
        .side("floor", [=, key = records.key](auto see) {
            char value[512];
            DB *const db = dbopen(path.c_str(), O_RDONLY, 0, DB_BTREE, nullptr);
            const size_t size = get_bare(db, key, value);
            db->close(db);
            see(std::string_view(value, size));
        });
}

const Area store([] {
    for (const Place &place : places())
        add_store(place);
});

}  // namespace

}  // namespace bench
