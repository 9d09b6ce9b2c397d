// Reading users, beside reading the files line by line, and the mirror beside its parts called bare.
#include <db_185.h>
#include <fcntl.h>
#include <morvsdk/bdb.h>
#include <morvsdk/user.h>
#include <shadow.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "account_bench.h"

namespace bench {

namespace {

struct Record {
    const MORVUSER *user;
};

std::string text_of(const Record &record) {
    const MORVUSER &user = *record.user;
    return bench::text_of(Person{user.szName, user.szPassword, user.szHome, user.uid});
}

// ---- One user -------------------------------------------------------------------------------------------

constexpr size_t kLongLine = 4096;

// What getpwnam_r and getpwuid_r do where files are the only source, and then getspnam_r.
template <class Wanted>
void scan(Wanted wanted, Person *person) {
    char line[kLongLine];
    const Stream passwd(fopen(accounts().path("/etc/passwd").c_str(), "re"));
    struct passwd entry;
    struct passwd *found = nullptr;
    do {
        if (fgetpwent_r(passwd.get(), &entry, line, sizeof line, &found) != 0) give_up("no such user");
    } while (!wanted(entry));
    person->name = entry.pw_name;
    person->home = entry.pw_dir;
    person->uid = entry.pw_uid;

    const Stream shadow(fopen(accounts().path("/etc/shadow").c_str(), "re"));
    struct spwd secret;
    struct spwd *hit = nullptr;
    do {
        if (fgetspent_r(shadow.get(), &secret, line, sizeof line, &hit) != 0) give_up("no shadow line");
    } while (person->name != secret.sp_namp);
    person->hash = secret.sp_pwdp;
}

void add_get() {
    const auto in_accounts = [] {
        accounts().use();
        return 0;
    };
    MORVUSER *user = nullptr;
    compare("user_get", text_of(someone()))
        .side("ours", in_accounts,
              [user](int, auto see) mutable {
                  if (MORVUserGet(someone().name.c_str(), &user) != 0) give_up("MORVUserGet");
                  see(Record{user});
              })
        .side("floor", [](auto see) {
            Person person;
            scan([](const struct passwd &p) { return someone().name == p.pw_name; }, &person);
            see(person);
        });
    compare("user_get_by_uid", text_of(someone()))
        .side("ours", in_accounts,
              [user](int, auto see) mutable {
                  if (MORVUserGetByUID(someone().uid, &user) != 0) give_up("MORVUserGetByUID");
                  see(Record{user});
              })
        .side("floor", [](auto see) {
            Person person;
            scan([](const struct passwd &p) { return someone().uid == p.pw_uid; }, &person);
            see(person);
        });
}

// ---- Through an open mirror -----------------------------------------------------------------------------

constexpr int kGets = 100;

struct ThreeLines {
    char passwd[512], shadow[512], misc[512];
};

std::string text_of(const ThreeLines &lines) {
    const std::string_view passwd = lines.passwd;
    return bench::text_of(Person{std::string(field(passwd, 0)), std::string(field(lines.shadow, 1)),
                                 std::string(field(passwd, 5)),
                                 static_cast<unsigned>(atoi(field(passwd, 2).data()))});
}

// To read and write, as a mirror is: to read only, the library below maps the file.
DB *open_bare(const std::string &path) {
    DB *const db = dbopen(path.c_str(), O_RDWR, 0, DB_BTREE, nullptr);
    if (!db) give_up("cannot open " + path);
    return db;
}

void get_bare(DB *db, const std::string &key, char *to) {
    DBT wanted, value;
    wanted.data = const_cast<char *>(key.c_str());
    wanted.size = key.size() + 1;
    if (db->get(db, &wanted, &value, 0) != 0) give_up("btree: get");
    memcpy(to, value.data, value.size);
}

void add_mirror() {
    accounts().use();
    static MORVUSERDB *mirror;
    mirror = MORVUserDBOpen();
    if (!mirror) give_up("MORVUserDBOpen");
    DB *const bare[] = {open_bare(accounts().store("name.0957")), open_bare(accounts().store("shadow.0957")),
                        open_bare(accounts().store("misc.0957"))};
    const std::string key = upper(someone().name);
    compare("user_mirror_get", text_of(someone()))
        .side("ours",
              [=, user = static_cast<MORVUSER *>(nullptr)](auto see) mutable {
                  for (int i = 0; i < kGets; ++i) {
                      if (MORVUserDBGet(mirror, key.c_str(), &user) != 0) give_up("MORVUserDBGet");
                  }
                  see(Record{user});
              })
        .side("floor", [=](auto see) {
            ThreeLines lines;
            for (int i = 0; i < kGets; ++i) {
                get_bare(bare[0], key, lines.passwd);
                get_bare(bare[1], key, lines.shadow);
                get_bare(bare[2], key, lines.misc);
            }
            see(lines);
        });

    std::vector<std::string> paths;
    for (const char *store : {"name.0957", "misc.0957", "shadow.0957", "smb.0957", "uid.0957"})
        paths.push_back(accounts().store(store));
    for (const char *file : kAccountFiles)
        paths.push_back(accounts().path(file));
    compare("user_mirror_check", "0")
        .side(
            "ours",
            [] {
                accounts().use();
                return 0;
            },
            [](int, auto see) { see(MORVUserDBCheckAndRebuild(&mirror)); })
        .side("floor", [paths](auto see) {
            int result = 0;
            struct stat st;
            for (const std::string &path : paths)
                result |= stat(path.c_str(), &st);
            see(result);
        });
}

// ---- All users ------------------------------------------------------------------------------------------

void add_enum() {
    const auto names_of_file = [](auto see) {
        std::vector<std::string> all;
        char line[kLongLine];
        const Stream passwd(fopen(accounts().path("/etc/passwd").c_str(), "re"));
        struct passwd entry;
        struct passwd *found = nullptr;
        while (fgetpwent_r(passwd.get(), &entry, line, sizeof line, &found) == 0) {
            if (entry.pw_uid >= 1024) all.emplace_back(entry.pw_name);
        }
        see(static_cast<long long>(all.size()));
    };
    compare("user_enum", std::to_string(kUsers))
        .side(
            "ours",
            [] {
                accounts().use();
                return PslMLIBSzListAlloc(1024);
            },
            [](MLIBSZLIST *list, auto see) {
                see(MORVUserEnum(&list, MORV_USER_LOCAL));
                MLIBSzListFree(list);
            })
        .side("floor", names_of_file);
}

// ---- Building -------------------------------------------------------------------------------------------

// The line of someone in a name store.
struct NameStore {
    const std::string &path;
};

std::string text_of(const NameStore &store) {
    DB *const db = open_bare(store.path);
    char line[512];
    get_bare(db, upper(someone().name), line);
    db->close(db);
    return line;
}

void write_durably(const std::string &path, const std::string &content) {
    const std::string temporary = path + ".tmp";
    const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size()) || fsync(fd) != 0 ||
        close(fd) != 0 || rename(temporary.c_str(), path.c_str()) != 0) {
        give_up("cannot write " + path);
    }
}

void build(const AccountRoot &root) {
    root.use();
    if (MORVUserDBRebuild() != 0) give_up("MORVUserDBRebuild");
}

void add_build(const char *work, const AccountRoot &root) {
    build(root);
    std::vector<std::pair<std::string, std::string>> images;
    for (const char *store : {"name.0957", "misc.0957", "shadow.0957", "smb.0957", "uid.0957"})
        images.emplace_back(root.path(std::string("/tmp/image.") + store), read_file(root.store(store)));
    std::string line = text_of(NameStore{root.store("name.0957")});
    compare(work, line)
        .side(
            "ours",
            [&root] {
                root.use();
                return 0;
            },
            [store = root.store("name.0957")](int, auto see) {
                if (MORVUserDBRebuild() != 0) give_up("MORVUserDBRebuild");
                see(NameStore{store});
            })
        .side("floor", [images](auto see) {
            for (const auto &[path, image] : images)
                write_durably(path, image);
            see(NameStore{images.front().first});
        });
}

// ---- Ten times as many ----------------------------------------------------------------------------------

void add_wide() {
    static const AccountRoot wide("wide", Mirrors::kInMemory, kDomainUsers);
    const auto get_in = [](const AccountRoot &root) {
        return [&root, user = static_cast<MORVUSER *>(nullptr)](int, auto see) mutable {
            if (MORVUserGet(someone().name.c_str(), &user) != 0) give_up("MORVUserGet");
            see(Record{user});
        };
    };
    build(wide);
    usleep(50000);  // stores that have just been written are looked through at each opening
    compare("wide_user_get", text_of(someone()))
        .side(
            "ours",
            [] {
                wide.use();
                return 0;
            },
            get_in(wide))
        .side(
            "floor",
            [] {
                accounts().use();
                return 0;
            },
            get_in(accounts()));

    static const AccountRoot small("small", Mirrors::kInMemory, 0);
    const auto build_in = [](const AccountRoot &root) {
        return [store = root.store("name.0957")](int, auto see) {
            if (MORVUserDBRebuild() != 0) give_up("MORVUserDBRebuild");
            see(NameStore{store});
        };
    };
    static const AccountRoot wide_anew("wide_anew", Mirrors::kInMemory, kDomainUsers);
    build(small);
    compare("wide_user_build", text_of(NameStore{small.store("name.0957")}))
        .side(
            "ours",
            [] {
                wide_anew.use();
                return 0;
            },
            build_in(wide_anew))
        .side(
            "floor",
            [] {
                small.use();
                return 0;
            },
            build_in(small));
}

const Area users([] {
    static const AccountRoot in_memory("build", Mirrors::kInMemory, 0);
    static const AccountRoot on_disk("build_disk", Mirrors::kOnDisk, 0);
    add_build("user_build_memory", in_memory);
    add_build("user_build_disk", on_disk);
    add_mirror();
    add_get();
    add_enum();
    add_wide();
});

}  // namespace

}  // namespace bench
