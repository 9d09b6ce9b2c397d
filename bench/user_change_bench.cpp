// Adding users, beside the least that keeps four files whole.
#include <crypt.h>
#include <fcntl.h>
#include <morvsdk/user.h>
#include <stdlib.h>
#include <unistd.h>

#include "account_bench.h"

namespace bench {

namespace {

constexpr int kMany = 500;
constexpr unsigned kFirstNewUid = 10000;
constexpr char kPassword[] = "correct horse";

// The users to come.
struct NewUsers {
    std::vector<std::string> names;
    std::vector<MORVUSER> records;
    std::vector<const MORVUSER *> all;

    explicit NewUsers(size_t count) : names(count), records(count) {
        for (size_t i = 0; i < count; ++i) {
            names[i] = "newcomer" + std::to_string(i);
            MORVUSER &user = records[i];
            user = {};
            user.szName = names[i].data();
            user.szPassword = const_cast<char *>(kPassword);
            user.uid = kFirstNewUid + static_cast<unsigned>(i);
            user.gid = 100;
            user.expireDay = MORV_USER_NEVER_EXPIRES;
            all.push_back(&user);
        }
    }
};

// How many lines the files of a root have, for the check.
struct LineCounts {
    const std::string &folder;
};

std::string text_of(const LineCounts &counts) {
    std::string all;
    for (const char *file : kAccountFiles) {
        size_t lines = 0;
        for_each_line(read_file(counts.folder + file), [&](std::string_view) { ++lines; });
        all += std::to_string(lines) + " ";
    }
    return all;
}

// A root whose four files are put back before each call. So the next call finds the mirror stale, and
// builds it off the clock.
class Fresh {
  public:
    explicit Fresh(const char *name) : root_(name, Mirrors::kInMemory, 0) {
        for (const char *file : kAccountFiles)
            files_.emplace_back(root_.path(file), read_file(root_.path(file)));
        files_.emplace_back(root_.path("/etc/group"), read_file(root_.path("/etc/group")));
    }

    const std::string &folder() const { return root_.folder(); }
    void restore() const {
        for (const auto &[path, content] : files_)
            write_file(path, content);
    }
    void restore_and_build() const {
        restore();
        root_.use();
        MORVUserDBClose(MORVUserDBOpen());
        usleep(30000);  // a store that has just been written is looked through at each opening
    }
    std::string counts(size_t added) const {
        return std::to_string(kUsers + 2 + added) + " " + std::to_string(kUsers + 2 + added) + " " +
               std::to_string(kUsers + 1 + added) + " " + std::to_string(kUsers + added) + " ";
    }

  private:
    AccountRoot root_;
    std::vector<std::pair<std::string, std::string>> files_;
};

// The least that adds users: their lines at the end of the four files. The new files are complete before
// the first is synced, and all are synced before the first is renamed. The password has to be hashed here,
// too.
void add_bare(const std::string &folder, const NewUsers &users) {
    std::string lines[4];
    for (const MORVUSER &user : users.records) {
        const std::string name = user.szName;
        const std::string uid = std::to_string(user.uid);
        crypt_data work = {};
        const char *const hash = crypt_r(kPassword, "$1$ab", &work);
        if (!hash) give_up("crypt");
        const std::string smb_hash(32, 'A');
        lines[0] += name + ":x:" + uid + ":100::/var/services/homes/" + name + ":/bin/csh\n";
        lines[1] += name + ":" + hash + ":19000:0:99999:7:::\n";
        lines[2] += name + ":0:\n";
        lines[3] += name + ":" + uid + ":" + smb_hash + ":" + smb_hash + ":[U          ]:LCT-5F000000:\n";
    }
    int fd[4];
    std::string paths[4];
    for (int i = 0; i < 4; ++i) {
        paths[i] = folder + kAccountFiles[i];
        const std::string text = read_file(paths[i]) + lines[i];
        fd[i] = open((paths[i] + ".tmp").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (write(fd[i], text.data(), text.size()) != static_cast<ssize_t>(text.size())) give_up("write");
    }
    for (const int file : fd) {
        if (fsync(file) != 0 || close(file) != 0) give_up("fsync");
    }
    for (const std::string &path : paths) {
        if (rename((path + ".tmp").c_str(), path.c_str()) != 0) give_up("rename");
    }
}

void add_with_useradd(const std::string &folder, const NewUsers &users) {
    for (const MORVUSER &user : users.records) {
        const std::string command = "useradd --prefix " + folder + " -M -N -g 100 -u " +
                                    std::to_string(user.uid) + " -p x " + user.szName + " 2>/dev/null";
        if (system(command.c_str()) != 0) give_up(command);
    }
}

void add_users(const char *work, size_t count, const Fresh &ours, const Fresh &floor) {
    static std::vector<std::unique_ptr<NewUsers>> kept;
    const NewUsers &users = *kept.emplace_back(new NewUsers(count));
    compare(work, ours.counts(count))
        .side(
            "ours",
            [&] {
                ours.restore_and_build();
                return 0;
            },
            [&](int, auto see) {
                int failed;
                if (MORVUserSetMany(users.all.data(), static_cast<int>(users.all.size()), &failed) != 0)
                    give_up("MORVUserSetMany");
                see(LineCounts{ours.folder()});
            })
        .side(
            "floor",
            [&] {
                floor.restore();
                return 0;
            },
            [&](int, auto see) {
                add_bare(floor.folder(), users);
                see(LineCounts{floor.folder()});
            });
}

const Area changes([] {
    static const Fresh ours("changed");
    static const Fresh floor("changed_bare");
    add_users("user_add", 1, ours, floor);
    add_users("user_add_500", kMany, ours, floor);

    if (geteuid() != 0 || system("command -v useradd >/dev/null") != 0) return;
    took_part("useradd", "of this system");
    static const Fresh peer("changed_useradd");
    static const NewUsers one(1);
    // It keeps no SMB password and no privileges.
    const std::string expected = std::to_string(kUsers + 3) + " " + std::to_string(kUsers + 3) + " " +
                                 std::to_string(kUsers + 1) + " " + std::to_string(kUsers) + " ";
    const auto prepare = [] {
        peer.restore();
        write_file(peer.folder() + "/etc/gshadow", "");
        return 0;
    };
    const auto add_one = [](int, auto see) {
        add_with_useradd(peer.folder(), one);
        see(LineCounts{peer.folder()});
    };
    compare("user_add", expected).side("useradd", prepare, add_one);
    compare("user_add_500", expected).one_step_of(kMany, "useradd", prepare, add_one);
});

}  // namespace

}  // namespace bench
