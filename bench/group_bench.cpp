// Building the mirror of the groups, beside the same with nothing around it.
#include <db_185.h>
#include <fcntl.h>
#include <morvsdk/group.h>
#include <morvsdk/user.h>
#include <string.h>
#include <unistd.h>

#include "account_bench.h"

namespace bench {

namespace {

constexpr char kSomeGroup[] = "TEAM150";

DB *open_store(const std::string &path, int flags) {
    DB *const db = dbopen(path.c_str(), flags, 0600, DB_BTREE, nullptr);
    if (!db) give_up("cannot open " + path);
    return db;
}

DBT item(std::string_view bytes) {
    DBT item;
    item.data = const_cast<char *>(bytes.data());
    item.size = bytes.size();
    return item;
}

void put(DB *db, const std::string &key, const std::string &value) {
    DBT at = item({key.c_str(), key.size() + 1});
    DBT what = item({value.c_str(), value.size() + 1});
    if (db->put(db, &at, &what, 0) != 0) give_up("btree: put");
}

bool has(DB *db, const std::string &key) {
    DBT at = item({key.c_str(), key.size() + 1});
    DBT found;
    return db->get(db, &at, &found, 0) == 0;
}

struct GroupStore {
    const std::string &path;
};

std::string text_of(const GroupStore &store) {
    DB *const db = open_store(store.path, O_RDONLY);
    DBT at = item({kSomeGroup, sizeof kSomeGroup});
    DBT found;
    if (db->get(db, &at, &found, 0) != 0) give_up("btree: get");
    const std::string line = static_cast<const char *>(found.data);
    db->close(db);
    return line;
}

// A group's members are those who are users, so each is looked up.
void build_bare(const AccountRoot &root, const std::string &prefix) {
    DB *const users = open_store(root.store("name.0957"), O_RDONLY);
    const std::string paths[] = {prefix + "name", prefix + "id", prefix + "desc"};
    DB *stores[3];
    for (int i = 0; i < 3; ++i)
        stores[i] = open_store(paths[i] + ".tmp", O_RDWR | O_CREAT | O_TRUNC);
    std::string members;
    for_each_line(read_file(root.path("/etc/group")), [&](std::string_view line) {
        const std::string key = upper(field(line, 0));
        members.assign(line.substr(0, line.rfind(':') + 1));
        bool first = true;
        for (std::string_view rest = field(line, 3); !rest.empty();) {
            const std::string_view name = rest.substr(0, rest.find(','));
            rest.remove_prefix(std::min(name.size() + 1, rest.size()));
            if (!has(users, upper(name))) continue;
            if (!first) members.push_back(',');
            first = false;
            members.append(name);
        }
        put(stores[0], key, members);
        put(stores[1], std::string(field(line, 2)), key);
    });
    for_each_line(read_file(root.path("/etc/group_desc")),
                  [&](std::string_view line) { put(stores[2], upper(field(line, 0)), std::string(line)); });
    for (int i = 0; i < 3; ++i) {
        if (stores[i]->sync(stores[i], 0) != 0) give_up("btree: sync");
        stores[i]->close(stores[i]);
        if (rename((paths[i] + ".tmp").c_str(), paths[i].c_str()) != 0) give_up("rename");
    }
    users->close(users);
}

const Area groups([] {
    static const AccountRoot root("groups", Mirrors::kInMemory, 0);
    root.use();
    MORVUserDBClose(MORVUserDBOpen());
    if (MORVGroupDBRebuild() != 0) give_up("MORVGroupDBRebuild");
    usleep(50000);
    static const std::string live = root.path("/tmp/.db.group.name.0957");
    static const std::string prefix = root.path("/tmp/bare_group.");
    compare("group_build", text_of(GroupStore{live}))
        .side(
            "ours",
            [] {
                root.use();
                return 0;
            },
            [](int, auto see) {
                if (MORVGroupDBRebuild() != 0) give_up("MORVGroupDBRebuild");
                see(GroupStore{live});
            })
        .side("floor", [path = prefix + "name"](auto see) {
            build_bare(root, prefix);
            see(GroupStore{path});
        });
});

}  // namespace

}  // namespace bench
