// A record file somebody else wrote: opened, walked, changed and closed. Whatever is let through must neither
// crash nor hang nor print.
#include <fcntl.h>
#include <morvsdk/bdb.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "input.h"

namespace {

void walk(MORVBDB *db, int first, int then) {
    void *key = nullptr, *value = nullptr;
    int key_size = 0, value_size = 0;
    MORVBDbCursorSetType(db, first);
    // A file holds fewer records than bytes.
    for (int records = 0; MORVBDbCursorGet(db, records % 2, &key, &key_size, &value, &value_size) == 0;
         ++records) {
        MORVBDbCursorSetType(db, then);
        if (records > 1'000'000) abort();
        if (records % 5 == 4) MORVBDbGet(db, key, key_size, &value, &value_size);
    }
    MORVBDbFree(key);
    MORVBDbFree(value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const ScratchFile file;
    file.write({reinterpret_cast<const char *>(data), size});

    for (int duplicates = 0; duplicates < 2; ++duplicates) {
        MORVBDB *db = MORVBDbOpen(file.path(), O_RDWR, duplicates);
        if (!db) continue;
        walk(db, MORV_BDB_FIRST, MORV_BDB_NEXT);
        MORVBDbDeprecatedSet(db, 1);
        MORVBDbIsNeedToRebuild(db, 0);
        const std::string filler(400, 'f');
        for (int i = 0; i < 40; ++i) {
            const std::string key =
                std::to_string(i * 37 % 40) + filler.substr(0, static_cast<size_t>(i) * 8);
            MORVBDbSet(db, key.data(), static_cast<int>(key.size()), filler.data(), 10 * i + 1);
        }
        for (const char *key : {"USER1", "USER2", "SHARED", "A", "1"}) {
            MORVBDbSet(db, key, static_cast<int>(strlen(key)), filler.data(), 300);
            MORVBDbDelete(db, key, static_cast<int>(strlen(key)));
        }
        walk(db, MORV_BDB_LAST, MORV_BDB_PREV);
        // And every record, one after the other.
        void *key = nullptr, *value = nullptr;
        int key_size = 0, value_size = 0;
        for (int i = 0; i < 2000; ++i) {
            MORVBDbCursorSetType(db, i % 2 ? MORV_BDB_LAST : MORV_BDB_FIRST);
            if (MORVBDbCursorGet(db, 0, &key, &key_size, &value, &value_size) != 0) break;
            if (key_size == 0 || MORVBDbDelete(db, key, key_size) != 0) break;
        }
        MORVBDbFree(key);
        MORVBDbFree(value);
        MORVBDbClose(db);
    }
    return 0;
}
