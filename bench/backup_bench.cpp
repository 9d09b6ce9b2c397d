// Backing up the accounts and shares, and restoring them; and looking into a large backup.
#include <fcntl.h>
#include <morvsdk/bdb.h>
#include <morvsdk/file.h>
#include <morvsdk/group.h>
#include <morvsdk/internal/share.h>
#include <morvsdk/share.h>
#include <morvsdk/sysbkp.h>
#include <morvsdk/user.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "account_bench.h"

namespace bench {

namespace {

constexpr int kKinds = MORV_SYSBKP_USER | MORV_SYSBKP_GROUP | MORV_SYSBKP_SHARE;
constexpr size_t kFewUsers = 200;
constexpr size_t kLarge = size_t{64} << 20;

// The files that an import of these kinds writes.
constexpr const char *kFiles[] = {
    "/etc/passwd", "/etc/shadow",     "/etc/morvuser.conf",    "/usr/morv/etc/private/smbpasswd",
    "/etc/group",  "/etc/group_desc", "/usr/morv/etc/smb.conf"};

// ---- Export ---------------------------------------------------------------------------------------------

// Each record once, through mirrors that are open.
struct OpenMirrors {
    MORVUSERDB *users = MORVUserDBOpen();
    MORVGROUPDB *groups = MORVGroupDBOpen();
    MORVSHAREDB *shares = MORVShareDBOpen();
    MORVUSER *user = nullptr;
    MORVGROUP *group = nullptr;
    MORVSHARE *share = nullptr;
    void *key = nullptr, *value = nullptr;
    int key_size = 0, value_size = 0;

    size_t read_all() {
        size_t count = 0;
        MORVBDbCursorSetType(users->pName, MORV_BDB_FIRST);
        while (MORVUserDBGetByCursor(users, &user) == 0)
            ++count;
        MORVBDbCursorSetType(groups->pName, MORV_BDB_FIRST);
        while (MORVGroupDBGetByCursor(groups, &group) == 0)
            ++count;
        MORVBDbCursorSetType(shares->pShare, MORV_BDB_FIRST);
        while (MORVShareDBCursorGet(shares, &key, &key_size, &value, &value_size) == 0)
            count += MORVShareDBUnpack(value, value_size, &share) == 0;
        return count;
    }
};

std::string export_to(const std::string &path) {
    accounts().use();
    if (MORVSysbkpExport(path.c_str(), kKinds) != 0) give_up("MORVSysbkpExport");
    return path;
}

// ---- Import ---------------------------------------------------------------------------------------------

// A root without accounts, made anew before each call, off the clock.
class EmptyRoot {
  public:
    explicit EmptyRoot(const char *name) : root_(name, Mirrors::kInMemory, 0) {}

    void reset() const {
        write_file(root_.path("/etc/passwd"), "root:x:0:0:root:/root:/bin/sh\n");
        write_file(root_.path("/etc/shadow"), "root:*:19000:0:99999:7:::\n");
        write_file(root_.path("/etc/morvuser.conf"), "");
        write_file(root_.path("/usr/morv/etc/private/smbpasswd"), "");
        write_file(root_.path("/etc/group"), "root:x:0:\nusers:x:100:\n");
        write_file(root_.path("/etc/group_desc"), "");
        write_file(root_.path("/usr/morv/etc/smb.conf"), "[global]\n\tworkgroup=HOUSE\n");
        std::filesystem::remove_all(root_.path("/volume1"));
        std::filesystem::create_directories(root_.path("/volume1"));
        root_.use();
        MORVUserDBClose(MORVUserDBOpen());
        MORVGroupDBClose(MORVGroupDBOpen());
        MORVShareDBClose(MORVShareDBOpen());
        usleep(30000);  // a store that has just been written is looked through at each opening
    }
    const std::string &folder() const { return root_.folder(); }
    std::string path(const char *file) const { return root_.path(file); }

  private:
    AccountRoot root_;
};

// The users and shares of a root, counted, for the check.
struct Restored {
    const std::string &folder;
};

std::string text_of(const Restored &restored) {
    std::string all;
    for (const char *file : {"/etc/passwd", "/etc/shadow", "/etc/group"}) {
        size_t lines = 0;
        for_each_line(read_file(restored.folder + file), [&](std::string_view) { ++lines; });
        all += std::to_string(lines) + " ";
    }
    return all;
}

void import_from(const std::string &file) {
    if (MORVSysbkpImport(file.c_str(), kKinds, 1) != 0) give_up("MORVSysbkpImport");
}

// The least that puts these files in place: all complete and synced before the first is renamed.
void write_durably(const EmptyRoot &root, const std::vector<std::string> &texts) {
    int fd[std::size(kFiles)];
    for (size_t i = 0; i < std::size(kFiles); ++i) {
        fd[i] = open((root.path(kFiles[i]) + ".tmp").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (write(fd[i], texts[i].data(), texts[i].size()) != static_cast<ssize_t>(texts[i].size()))
            give_up("write");
    }
    for (const int file : fd) {
        if (fsync(file) != 0 || close(file) != 0) give_up("fsync");
    }
    for (const char *file : kFiles) {
        if (rename((root.path(file) + ".tmp").c_str(), root.path(file).c_str()) != 0) give_up("rename");
    }
    for (size_t i = 0; i < kShares; ++i)
        mkdir(root.path(("/volume1/share" + std::to_string(i)).c_str()).c_str(), 0777);
}

// A backup of the first users of another one.
std::string first_users(const std::string &whole, size_t count) {
    std::string text = read_file(whole);
    const auto word = [&](size_t at) {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | static_cast<uint8_t>(text[at + i]);
        return value;
    };
    const auto put = [&](size_t at, size_t value) {
        for (int i = 3; i >= 0; --i, value >>= 8)
            text[at + i] = static_cast<char>(value & 0xFF);
    };
    constexpr size_t kBody = 24;  // of the first block
    constexpr size_t kItems = 9;
    size_t at = kBody + 12;
    for (size_t item = 0; item < count * kItems; ++item)
        at += 8 + word(at + 4);
    text.resize(at);
    put(kBody - 4, at - kBody);
    put(kBody + 8, count);
    const std::string path = whole + ".few";
    write_file(path, text);
    return path;
}

// ---- Looking into a file -------------------------------------------------------------------------------

// A backup of 64 MiB: many users.
std::string large_backup(const std::string &folder) {
    const std::string path = folder + "/large.morv";
    const auto be32 = [](uint64_t value) {
        std::string bytes;
        for (const int shift : {24, 16, 8, 0})
            bytes.push_back(static_cast<char>(value >> shift));
        return bytes;
    };
    const auto text = [&](const std::string &value) {
        return be32(1) + be32(value.size() + 1) + value + '\0';
    };
    const auto number = [&](uint64_t value) { return be32(2) + be32(4) + be32(value); };
    std::string body;
    size_t users = 0;
    for (; body.size() < kLarge; ++users) {
        const std::string name = "user" + std::to_string(users);
        body += text(name) + text("$1$abcdefgh$0123456789abcdefghijkl") + text("Somebody of the house") +
                text(std::string(32, 'A')) + text(std::string(32, 'B')) + number(0xFFFFFFFF) + number(3) +
                text(name + "@example.com") + number(1);
    }
    body.insert(0, number(users));
    write_file(path, "MORV" + be32(1) + be32(0x100) + be32(0x100) + be32(7) + be32(body.size()) + body);
    return path;
}

void run(const std::string &command) {
    if (system(command.c_str()) != 0) give_up(command);
}

const Area backups([] {
    accounts().use();
    static OpenMirrors mirrors;
    usleep(50000);
    const size_t records = mirrors.read_all();
    for (const Place &place : places()) {
        const std::string path = place.folder + "/accounts.morv";
        compare(std::string("backup_export_") + place.name, std::to_string(records))
            .side(
                "ours",
                [] {
                    accounts().use();
                    return 0;
                },
                [=](int, auto see) {
                    export_to(path);
                    see(static_cast<long long>(records));
                })
            .side("floor", [](auto see) { see(static_cast<long long>(mirrors.read_all())); });
    }

    static const std::string whole = export_to(places().front().folder + "/whole.morv");
    static const std::string few = first_users(whole, kFewUsers);
    static const EmptyRoot ours("restored");
    static const EmptyRoot floor("restored_bare");
    static const auto prepare_ours = [] {
        ours.reset();
        return 0;
    };
    prepare_ours();
    import_from(whole);
    static std::vector<std::string> texts;
    for (const char *file : kFiles)
        texts.push_back(read_file(ours.path(file)));
    compare("backup_import", text_of(Restored{ours.folder()}))
        .side("ours", prepare_ours,
              [](int, auto see) {
                  import_from(whole);
                  see(Restored{ours.folder()});
              })
        .side(
            "floor",
            [] {
                floor.reset();
                return 0;
            },
            [](int, auto see) {
                write_durably(floor, texts);
                see(Restored{floor.folder()});
            });
    // How the time grows with the users: both sides are ours.
    compare("backup_grow", "")
        .side("ours", prepare_ours,
              [](int, auto) {
                  if (MORVSysbkpImport(whole.c_str(), MORV_SYSBKP_USER, 1) != 0) give_up("MORVSysbkpImport");
              })
        .side("floor", prepare_ours, [](int, auto) {
            if (MORVSysbkpImport(few.c_str(), MORV_SYSBKP_USER, 1) != 0) give_up("MORVSysbkpImport");
        });

    static const std::string large = large_backup(places().back().folder);
    compare("backup_inspect_process", "")
        .side("ours", [](auto) { run(MORV_MORVCTL " backup inspect " + large + " | cat >/dev/null"); })
        .side("floor", [](auto) { run("cat " + large + " | cat >/dev/null"); });
});

}  // namespace

}  // namespace bench
