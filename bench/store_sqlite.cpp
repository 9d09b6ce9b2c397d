// SQLite: a table without row ids, the statement prepared once for the open handle.
#include <sqlite3.h>

#include "store_bench.h"

namespace bench {

namespace {

void must(bool done) {
    if (!done) give_up("SQLite");
}

sqlite3 *open_db(const std::string &path, int flags) {
    sqlite3 *db = nullptr;
    must(sqlite3_open_v2(path.c_str(), &db, flags | SQLITE_OPEN_NOMUTEX, nullptr) == SQLITE_OK);
    return db;
}

sqlite3_stmt *prepare(sqlite3 *db, const char *text) {
    sqlite3_stmt *statement = nullptr;
    must(sqlite3_prepare_v2(db, text, -1, &statement, nullptr) == SQLITE_OK);
    return statement;
}

void bind(sqlite3_stmt *statement, int index, const std::string &text) {
    must(sqlite3_bind_blob(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC) ==
         SQLITE_OK);
}

constexpr const char *kSelect = "SELECT value FROM records WHERE key = ?";

template <class See>
void get(sqlite3_stmt *statement, const std::string &key, See see) {
    bind(statement, 1, key);
    must(sqlite3_step(statement) == SQLITE_ROW);
    const auto *const value = static_cast<const char *>(sqlite3_column_blob(statement, 0));
    see(std::string_view(value, static_cast<size_t>(sqlite3_column_bytes(statement, 0))));
    sqlite3_reset(statement);
}

void add(const Place &place) {
    const Records records;
    const std::string path = place.folder + "/records.sqlite";
    sqlite3 *const made = open_db(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    must(sqlite3_exec(made, "CREATE TABLE records (key BLOB PRIMARY KEY, value BLOB) WITHOUT ROWID; BEGIN",
                      nullptr, nullptr, nullptr) == SQLITE_OK);
    sqlite3_stmt *const insert = prepare(made, "INSERT INTO records VALUES (?, ?)");
    for (const auto &[key, value] : records.all) {
        bind(insert, 1, key);
        bind(insert, 2, value);
        must(sqlite3_step(insert) == SQLITE_DONE);
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    must(sqlite3_exec(made, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK);
    sqlite3_close(made);

    sqlite3_stmt *const select = prepare(open_db(path, SQLITE_OPEN_READONLY), kSelect);
    compare(std::string("store_get_") + place.name, records.value)
        .side("sqlite", [=, key = records.key](auto see) {
            for (int i = 0; i < kGets; ++i)
                get(select, key, see);
        });
    compare(std::string("store_open_get_close_") + place.name, records.value)
        .side("sqlite", [=, key = records.key](auto see) {
            sqlite3 *const db = open_db(path, SQLITE_OPEN_READONLY);
            sqlite3_stmt *const statement = prepare(db, kSelect);
            get(statement, key, see);
            sqlite3_finalize(statement);
            sqlite3_close(db);
        });
}

const Area sqlite([] {
    took_part("SQLite", VERSION_OF_store_sqlite);
    for (const Place &place : places())
        add(place);
});

}  // namespace

}  // namespace bench
