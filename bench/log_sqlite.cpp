// SQLite: an event is a row of a table, in a write-ahead log that is synced with each; opened for each event, as the
// programs that log events do.
#include <sqlite3.h>
#include <time.h>

#include "log_bench.h"

namespace bench {

namespace {

void must(bool done) {
    if (!done) give_up("SQLite");
}

sqlite3 *open_db(const std::string &path) {
    sqlite3 *db = nullptr;
    must(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                         nullptr) == SQLITE_OK);
    must(sqlite3_exec(db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL", nullptr, nullptr, nullptr) ==
         SQLITE_OK);
    return db;
}

bool append(const std::string &path) {
    sqlite3 *const db = open_db(path);
    sqlite3_stmt *statement = nullptr;
    must(sqlite3_prepare_v2(db, "INSERT INTO events VALUES (1, ?, 'morv_bench', 'admin', 313524225, ?)", -1,
                            &statement, nullptr) == SQLITE_OK);
    must(sqlite3_bind_int64(statement, 1, time(nullptr)) == SQLITE_OK);
    must(sqlite3_bind_text(statement, 2, log_argument().c_str(), -1, SQLITE_STATIC) == SQLITE_OK);
    must(sqlite3_step(statement) == SQLITE_DONE);
    sqlite3_finalize(statement);
    return sqlite3_close(db) == SQLITE_OK;
}

const Area area([] {
    for (const Place &place : places()) {
        if (place.in_memory()) continue;
        const std::string path = place.folder + "/log.sqlite";
        sqlite3 *const db = open_db(path);
        must(sqlite3_exec(db, "CREATE TABLE events (type, time, program, user, event, argument)", nullptr,
                          nullptr, nullptr) == SQLITE_OK);
        sqlite3_close(db);
        compare(std::string("log_append_") + place.name, "1").side("sqlite", [path](auto see) {
            see(int(append(path)));
        });
    }
});

}  // namespace

}  // namespace bench
