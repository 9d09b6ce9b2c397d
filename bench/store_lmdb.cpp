// LMDB: one read transaction for each get, as a reader who must see changes has it.
#include <lmdb.h>

#include "store_bench.h"

namespace bench {

namespace {

void check(int error) {
    if (error) give_up("LMDB");
}

MDB_val as_val(const std::string &text) {
    return {text.size(), const_cast<char *>(text.data())};
}

MDB_env *open_env(const std::string &path, unsigned flags) {
    MDB_env *env = nullptr;
    check(mdb_env_create(&env));
    check(mdb_env_open(env, path.c_str(), flags | MDB_NOSUBDIR, 0666));
    return env;
}

template <class See>
void get(MDB_env *env, const std::string &text, See see) {
    MDB_txn *transaction = nullptr;
    MDB_dbi dbi;
    MDB_val key = as_val(text);
    MDB_val value;
    check(mdb_txn_begin(env, nullptr, MDB_RDONLY, &transaction));
    check(mdb_dbi_open(transaction, nullptr, 0, &dbi));
    check(mdb_get(transaction, dbi, &key, &value));
    see(std::string_view(static_cast<char *>(value.mv_data), value.mv_size));
    mdb_txn_abort(transaction);
}

void add(const Place &place) {
    const Records records;
    const std::string path = place.folder + "/records.mdb";
    MDB_env *const made = open_env(path, 0);
    MDB_txn *transaction = nullptr;
    MDB_dbi dbi;
    check(mdb_txn_begin(made, nullptr, 0, &transaction));
    check(mdb_dbi_open(transaction, nullptr, 0, &dbi));
    for (const auto &[key, value] : records.all) {
        MDB_val key_val = as_val(key);
        MDB_val value_val = as_val(value);
        check(mdb_put(transaction, dbi, &key_val, &value_val, 0));
    }
    check(mdb_txn_commit(transaction));
    mdb_env_close(made);

    // A process must not have a file open twice: the side with an open handle has a copy of its own.
    const std::string copy = path + ".open";
    write_file(copy, text_of(FileAt{path}));
    MDB_env *const env = open_env(copy, MDB_RDONLY);
    compare(std::string("store_get_") + place.name, records.value)
        .side("lmdb", [=, key = records.key](auto see) {
            for (int i = 0; i < kGets; ++i)
                get(env, key, see);
        });
    compare(std::string("store_open_get_close_") + place.name, records.value)
        .side("lmdb", [=, key = records.key](auto see) {
            MDB_env *const opened = open_env(path, MDB_RDONLY);
            get(opened, key, see);
            mdb_env_close(opened);
        });
}

const Area lmdb([] {
    took_part("LMDB", VERSION_OF_store_lmdb);
    for (const Place &place : places())
        add(place);
});

}  // namespace

}  // namespace bench
