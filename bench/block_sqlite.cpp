// SQLite: the addresses as the key of a table, opened for a look-up and closed.
#include <arpa/inet.h>
#include <sqlite3.h>
#include <unistd.h>

#include "block_bench.h"

namespace bench {

namespace {

void must(bool done) {
    if (!done) give_up("SQLite");
}

void build(const std::string &path, int count) {
    unlink(path.c_str());
    sqlite3 *db = nullptr;
    must(sqlite3_open(path.c_str(), &db) == SQLITE_OK);
    const std::string text =
        "CREATE TABLE deny (address INTEGER PRIMARY KEY, time INTEGER);"
        "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 < " +
        std::to_string(count) + ") INSERT INTO deny SELECT 167772161 + i, 1200000000 FROM n";
    must(sqlite3_exec(db, text.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK);
    sqlite3_close(db);
}

int look_up(const std::string &path) {
    sqlite3 *db = nullptr;
    sqlite3_stmt *statement = nullptr;
    must(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr) ==
         SQLITE_OK);
    must(sqlite3_prepare_v2(db, "SELECT time FROM deny WHERE address = ?", -1, &statement, nullptr) ==
         SQLITE_OK);
    must(sqlite3_bind_int64(statement, 1, ntohl(inet_addr("192.0.2.1"))) == SQLITE_OK);
    const int found = sqlite3_step(statement) == SQLITE_ROW ? 1 : 0;
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return found;
}

void add() {
    for (const Place &place : places()) {
        if (place.in_memory()) continue;
        for (const int count : {1000, 5000}) {
            const std::string path = place.folder + "/deny" + std::to_string(count) + ".sqlite";
            build(path, count);
            Comparison all("deny_" + std::to_string(count), "0");
            all.side("sqlite", [path](auto see) { see(look_up(path)); });
        }
    }
}

const Area area(add);

}  // namespace

}  // namespace bench
