// SQLite: the four files read into five tables without row ids, in one transaction, durable as it is by
// default.
#include <sqlite3.h>
#include <unistd.h>

#include "account_bench.h"

namespace bench {

namespace {

void must(bool done) {
    if (!done) give_up("SQLite");
}

struct Table {
    const char *name;
    const char *file;
};
constexpr Table kTables[] = {{"name", "/etc/passwd"},
                             {"misc", "/etc/morvuser.conf"},
                             {"shadow", "/etc/shadow"},
                             {"smb", "/usr/morv/etc/private/smbpasswd"}};

sqlite3 *open_db(const std::string &path) {
    sqlite3 *db = nullptr;
    must(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                         nullptr) == SQLITE_OK);
    return db;
}

void run(sqlite3 *db, const std::string &text) {
    must(sqlite3_exec(db, text.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK);
}

sqlite3_stmt *prepare(sqlite3 *db, const std::string &text) {
    sqlite3_stmt *statement = nullptr;
    must(sqlite3_prepare_v2(db, text.c_str(), -1, &statement, nullptr) == SQLITE_OK);
    return statement;
}

void insert(sqlite3_stmt *statement, std::string_view key, std::string_view value) {
    must(sqlite3_bind_blob(statement, 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC) ==
         SQLITE_OK);
    must(sqlite3_bind_blob(statement, 2, value.data(), static_cast<int>(value.size()), SQLITE_STATIC) ==
         SQLITE_OK);
    must(sqlite3_step(statement) == SQLITE_DONE);
    sqlite3_reset(statement);
}

void build(const AccountRoot &root, const std::string &path) {
    unlink((path + ".tmp").c_str());
    sqlite3 *const db = open_db(path + ".tmp");
    run(db, "BEGIN; CREATE TABLE uid (key BLOB PRIMARY KEY, value BLOB) WITHOUT ROWID");
    sqlite3_stmt *const uids = prepare(db, "INSERT INTO uid VALUES (?, ?)");
    for (const Table &table : kTables) {
        run(db,
            std::string("CREATE TABLE ") + table.name + " (key BLOB PRIMARY KEY, value BLOB) WITHOUT ROWID");
        sqlite3_stmt *const into = prepare(db, std::string("INSERT INTO ") + table.name + " VALUES (?, ?)");
        const bool has_uid = &table == kTables;
        for_each_line(read_file(root.path(table.file)), [&](std::string_view line) {
            if (line.starts_with('#')) return;
            const std::string key = upper(field(line, 0));
            insert(into, key, line);
            if (has_uid) insert(uids, field(line, 2), key);
        });
        sqlite3_finalize(into);
    }
    sqlite3_finalize(uids);
    run(db, "COMMIT");
    sqlite3_close(db);
    must(rename((path + ".tmp").c_str(), path.c_str()) == 0);
}

struct NameTable {
    const std::string &path;
};

std::string text_of(const NameTable &table) {
    sqlite3 *const db = open_db(table.path);
    sqlite3_stmt *const select =
        prepare(db, "SELECT value FROM name WHERE key = CAST('" + upper(someone().name) + "' AS BLOB)");
    must(sqlite3_step(select) == SQLITE_ROW);
    const std::string line(static_cast<const char *>(sqlite3_column_blob(select, 0)),
                           static_cast<size_t>(sqlite3_column_bytes(select, 0)));
    sqlite3_finalize(select);
    sqlite3_close(db);
    return line;
}

void add(const char *work, const AccountRoot &root) {
    std::string line;
    for_each_line(read_file(root.path("/etc/passwd")), [&](std::string_view l) {
        if (field(l, 0) == someone().name) line = l;
    });
    compare(work, line).side("sqlite", [&root, path = root.path("/tmp/users.sqlite")](auto see) {
        build(root, path);
        see(NameTable{path});
    });
}

const Area sqlite([] {
    static const AccountRoot in_memory("sqlite", Mirrors::kInMemory, 0);
    static const AccountRoot on_disk("sqlite_disk", Mirrors::kOnDisk, 0);
    add("user_build_memory", in_memory);
    add("user_build_disk", on_disk);
});

}  // namespace

}  // namespace bench
