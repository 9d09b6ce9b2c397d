/* Stores records in a record file, closes it, opens it again, and walks over them.
 *
 *     record_store FILE
 *
 * The file must not exist yet. */
#include <fcntl.h>
#include <morvsdk/bdb.h>
#include <morvsdk/error.h>
#include <morvsdk/list.h>
#include <stdio.h>
#include <string.h>

static const struct {
    const char *key;
    const char *value;
} kUsers[] = {
    {"GUEST", "guest:1025:visitors"},
    {"ADMIN", "admin:1024:looks after the disks"},
    {"ALICE", "alice:1026:likes \"quotes\"\tand tabs"},
};

/* Keys of users include the terminating zero. */
static int store_users(MORVBDB *db) {
    for (size_t i = 0; i < sizeof kUsers / sizeof *kUsers; ++i) {
        const int key_length = (int)strlen(kUsers[i].key) + 1;
        const int value_length = (int)strlen(kUsers[i].value);
        if (MORVBDbSet(db, kUsers[i].key, key_length, kUsers[i].value, value_length) != 0) return -1;
    }
    return 0;
}

/* What the system keeps beside the users: keys that begin with "#". */
static int store_reserved(MORVBDB *db) {
    static const char kCounter[] = "#CURRENT_UID";
    const int32_t next_uid = 1027;
    if (MORVBDbConfSyncTimeSet(db, 1700000000) != 0 || MORVBDbDeprecatedSet(db, 0) != 0) return -1;
    if (MORVBDbSet(db, kCounter, (int)sizeof kCounter, &next_uid, sizeof next_uid) != 0) return -1;

    MLIBSZLIST *shares = PslMLIBSzListAlloc(512);
    int result = -1;
    if (shares && MLIBSzListPush(&shares, "photo") >= 0 && MLIBSzListPush(&shares, "music") >= 0) {
        result = MORVListDBSet(db, "share", shares);
    }
    MLIBSzListFree(shares);
    return result;
}

/* What is stored reaches the file when the store is closed. That call always answers 0 for a handle; what
 * went wrong is in the error state alone. */
static int close_store(MORVBDB *db) {
    MLIBErrSet(ERR_SUCCESS);
    MORVBDbClose(db);
    return MLIBErrGet() == ERR_SUCCESS ? 0 : -1;
}

static int store(const char *path) {
    MORVBDB *db = MORVBDbOpen(path, O_RDWR | O_CREAT | O_EXCL, 0);
    if (!db) return -1;
    if (store_users(db) == 0 && store_reserved(db) == 0) return close_store(db);
    MORVBDbClose(db);
    return -1;
}

/* In the order of the keys, passing over the reserved ones. */
static int walk(const char *path) {
    void *key = NULL, *value = NULL;
    int key_size = 0, value_size = 0;
    MORVBDB *db = MORVBDbOpen(path, O_RDONLY, 0);
    if (!db) return -1;
    MORVBDbCursorSetType(db, MORV_BDB_FIRST);
    while (MORVBDbCursorGet(db, 1, &key, &key_size, &value, &value_size) == 0) {
        printf("%s -> %.*s\n", (const char *)key, value_size, (const char *)value);
        MORVBDbCursorSetType(db, MORV_BDB_NEXT);
    }
    /* The end of a walk is a failure with a code of its own. */
    const int result = MLIBErrGet() == ERR_STORE_END ? 0 : -1;
    MORVBDbFree(key);
    MORVBDbFree(value);
    MORVBDbClose(db);
    return result;
}

/* Codes of the record store have no name in the table. */
static void report(const char *path) {
    const int code = MLIBErrGet(), index = code >> 8;
    const char *name = index >= 0 && index < errNum ? rgszErrMsg[index] : NULL;
    fprintf(stderr, "record_store: %s: %s (0x%04X), set in %s line %d\n", path,
            name ? name : "an error without a name", (unsigned)code, MORVErrorGetFile(), MORVErrorGetLine());
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fputs("usage: record_store FILE\n", stderr);
        return 2;
    }
    if (store(argv[1]) != 0 || walk(argv[1]) != 0) {
        report(argv[1]);
        return 1;
    }
    return 0;
}
