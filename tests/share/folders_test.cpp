#include <fcntl.h>
#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/share.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>

#include "support/outcome.h"
#include "support/process.h"
#include "support/scratch.h"
#include "support/sys_fault.h"

namespace {

using namespace testing_support;
namespace fs = std::filesystem;

void set_times(const std::string &path, time_t seconds, long nanoseconds) {
    const timespec times[] = {{seconds + 1, nanoseconds}, {seconds, nanoseconds}};
    utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

// Everything that a copy has to keep, by the path in the tree. Files with several names show the first of
// them.
std::map<std::string, std::string> describe(const std::string &top) {
    std::map<std::string, std::string> found;
    std::map<ino_t, std::string> first_names;
    std::vector<std::string> paths = {""};
    for (const auto &entry : fs::recursive_directory_iterator(top))
        paths.push_back(entry.path().string().substr(top.size()));
    std::sort(paths.begin(), paths.end());
    for (const std::string &path : paths) {
        const std::string full = top + path;
        struct stat st;
        if (lstat(full.c_str(), &st) != 0) continue;
        std::string text = std::to_string(st.st_mode) + " " + std::to_string(st.st_uid) + " " +
                           std::to_string(st.st_gid) + " " + std::to_string(st.st_rdev) + " " +
                           std::to_string(st.st_mtim.tv_sec) + "." + std::to_string(st.st_mtim.tv_nsec);
        if (S_ISREG(st.st_mode)) text += " " + std::to_string(st.st_size) + " " + read_file(full);
        if (S_ISLNK(st.st_mode)) text += " -> " + fs::read_symlink(full).string();
        if (!S_ISDIR(st.st_mode)) text += " is " + first_names.try_emplace(st.st_ino, path).first->second;
        char names[4096], value[4096];
        const ssize_t size = llistxattr(full.c_str(), names, sizeof names);
        for (const char *name = names; name < names + size; name += strlen(name) + 1) {
            const ssize_t length = lgetxattr(full.c_str(), name, value, sizeof value);
            text += std::string(" ") + name + "=" + std::string(value, length > 0 ? size_t(length) : 0);
        }
        found[path] = text;
    }
    return found;
}

// A share with one of everything.
std::string make_share(const ScratchRoot &root, const std::string &name) {
    const std::string top = root.path(name);
    root.write(name + "/sub/file", "content");
    root.write(name + "/sub/-rf", "a name like an option", 0640);
    root.write(name + "/line\nfeed", std::string(100000, 'x'), 04755);
    EXPECT_EQ(link((top + "/sub/file").c_str(), (top + "/other name").c_str()), 0);
    EXPECT_EQ(symlink("sub/file", (top + "/link").c_str()), 0);
    EXPECT_EQ(symlink("/nowhere/at all", (top + "/dangling").c_str()), 0);
    EXPECT_EQ(link((top + "/dangling").c_str(), (top + "/sub/dangling too").c_str()), 0);
    EXPECT_EQ(mkfifo((top + "/pipe").c_str(), 0620), 0);
    EXPECT_EQ(mkdir((top + "/empty").c_str(), 0500), 0);
    EXPECT_EQ(chmod((top + "/sub").c_str(), 02770), 0);
    // Where the file system and the rights of the tests allow it.
    setxattr((top + "/sub/file").c_str(), "user.colour", "red\0blue", 8, 0);
    constexpr char kList[] =
        "\2\0\0\0\1\0\7\0\xff\xff\xff\xff\2\0\5\0\xe8\3\0\0\4\0\5\0\xff\xff\xff\xff\x10\0\5\0\xff\xff\xff\xff"
        "\x20"
        "\0\0\0\xff\xff\xff\xff";
    setxattr((top + "/sub").c_str(), "system.posix_acl_default", kList, sizeof kList - 1, 0);
    setxattr((top + "/link").c_str(), "system.posix_acl_access", kList, sizeof kList - 1, 0);
    if (geteuid() == 0) {
        EXPECT_EQ(lchown((top + "/line\nfeed").c_str(), 1001, 1002), 0);
        EXPECT_EQ(chmod((top + "/line\nfeed").c_str(), 06755), 0);
        EXPECT_EQ(lchown((top + "/dangling").c_str(), 1001, 1002), 0);
        mknod((top + "/device").c_str(), S_IFCHR | 0660, makedev(1, 3));
    }
    time_t time = 1000000000;
    for (const char *path :
         {"/sub/file", "/sub/-rf", "/line\nfeed", "/link", "/dangling", "/pipe", "/empty", "/sub", ""})
        set_times(top + path, ++time, 123456789);
    return top;
}

bool comes_to_be(const std::function<bool()> &state) {
    for (int i = 0; i < 10000; ++i) {
        if (state()) return true;
        usleep(1000);
    }
    return false;
}

TEST(ShareFolders, AreCopiedWithAllThatIsInThem) {
    ScratchRoot root;
    const std::string from = make_share(root, "vol/from"), to = root.path("vol/to");
    fs::create_directories(root.path("tmp"));
    const auto before = describe(from);
    const int descriptors = open_descriptors();
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_TRUE(gives(0, 0, ShareDirCopy(from.c_str(), to.c_str())));
    EXPECT_EQ(describe(to), before);
    EXPECT_EQ(describe(from), before);
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_TRUE(root.names("tmp").empty()) << "the progress file is still there";
    // The other way to copy bytes.
    SysFault other_device(Sys::kCopyFileRange, 1);
    EXPECT_TRUE(gives(0, 0, ShareDirCopy(from.c_str(), (to + "2/").c_str())));
    EXPECT_EQ(describe(to + "2"), before);
    EXPECT_EQ(root.names("vol"), (std::vector<std::string>{"from", "to", "to2"}));
}

TEST(ShareFolders, KeepTheHolesOfFiles) {
    ScratchRoot root;
    const std::string file = root.path("from/holes");
    constexpr off_t kSize = off_t{5} << 30;
    const int fd = open(file.c_str(), O_WRONLY | O_CREAT, 0600);
    EXPECT_EQ(pwrite(fd, "middle", 6, kSize / 2), 6);
    EXPECT_EQ(ftruncate(fd, kSize), 0);
    EXPECT_EQ(close(fd), 0);
    for (const bool in_kernel : {true, false}) {
        const std::string to = root.dir() + (in_kernel ? "/to" : "/to2");
        SysFault other_device(in_kernel ? Sys::kCount : Sys::kCopyFileRange, 1);
        EXPECT_TRUE(gives(0, 0, ShareDirCopy((root.dir() + "/from").c_str(), to.c_str())));
        const struct stat st = stat_of(to + "/holes");
        EXPECT_EQ(st.st_size, kSize);
        EXPECT_LE(st.st_blocks, stat_of(file).st_blocks + 256);
        char text[7] = "";
        const int copy = open((to + "/holes").c_str(), O_RDONLY);
        EXPECT_EQ(pread(copy, text, 6, kSize / 2), 6);
        EXPECT_STREQ(text, "middle");
        close(copy);
    }
}

TEST(ShareFolders, AreRefusedWhereTheyCannotBeCopied) {
    ScratchRoot root;
    const std::string from = root.path("from/x").substr(0, root.dir().size() + 5), to = root.path("to");
    root.write("from/file", "text");
    root.write("file", "text");
    EXPECT_EQ(symlink("from", root.path("link").c_str()), 0);
    const std::string copying = root.path(".busy.sharecopy");
    EXPECT_EQ(mkdir(copying.c_str(), 0700), 0);
    const int other = open(copying.c_str(), O_RDONLY);
    EXPECT_EQ(flock(other, LOCK_EX), 0);
    const struct {
        std::string from, to;
        int code;
    } cases[] = {{"from", to, ERR_INVALID_PATH},
                 {from, "to", ERR_INVALID_PATH},
                 {root.path("missing"), to, ERR_PATH_NOT_FOUND},
                 {root.path("link"), to, ERR_PATH_NOT_FOUND},
                 {root.path("file"), to, ERR_PATH_NOT_FOUND},
                 {"/", to, ERR_PATH_NOT_FOUND},
                 {from + "/.", to, ERR_PATH_NOT_FOUND},
                 {from, root.path("file"), ERR_FILE_EXISTS},
                 {from, root.path("link"), ERR_FILE_EXISTS},
                 {from, from, ERR_FILE_EXISTS},
                 {from, from + "/in/it", ERR_WRITE_FAILED},
                 {from, from + "/in", ERR_BAD_PARAMETERS}};
    for (const auto &c : cases) {
        EXPECT_TRUE(gives(-1, c.code, ShareDirCopy(c.from.c_str(), c.to.c_str()))) << c.from << " " << c.to;
        EXPECT_TRUE(gives(-1, c.code, ShareMove(c.from.c_str(), c.to.c_str()))) << c.from << " " << c.to;
    }
    EXPECT_TRUE(gives(-1, ERR_LOCK_FAILED, ShareDirCopy(from.c_str(), root.path("busy").c_str())));
    close(other);
    EXPECT_TRUE(gives(0, 0, ShareDirCopy(from.c_str(), root.path("busy").c_str())))
        << "a leftover is in the way";
    EXPECT_TRUE(refuse_nulls(-1, ShareDirCopy, ShareMove, MORVShareMove2Tmp));
    EXPECT_TRUE(gives(-1, ERR_INVALID_PATH, MORVShareMove2Tmp("from")));
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, MORVShareMove2Tmp(root.path("file").c_str())));
    EXPECT_EQ(root.names(), (std::vector<std::string>{"busy", "file", "from", "link"}));
}

// Whether a move goes by a copy is decided by the first rename.
int move(const std::string &from, const std::string &to, bool by_copy) {
    SysFault other_volume(by_copy ? Sys::kRenameat2 : Sys::kCount, 1);
    return ShareMove(from.c_str(), to.c_str());
}

TEST(ShareFolders, AreMovedByRenameOrByCopy) {
    for (const bool by_copy : {false, true}) {
        ScratchRoot root;
        const std::string from = make_share(root, "vol/from"), to = root.path("vol2/to");
        const auto before = describe(from);
        const ino_t inode = stat_of(from).st_ino;
        EXPECT_TRUE(gives(0, 0, move(from, to, by_copy)));
        EXPECT_EQ(describe(to), before);
        EXPECT_EQ(stat_of(to).st_ino == inode, !by_copy);
        EXPECT_TRUE(root.names("vol").empty());
        EXPECT_TRUE(!by_copy || comes_to_be([&] { return root.names("@tmp").empty(); }));
    }
}

TEST(ShareFolders, AreWholeOrGoneAfterEveryFault) {
    ScratchRoot root;
    const std::string from = make_share(root, "vol/from"), to = root.path("vol/to");
    const auto before = describe(from);
    const int faults = for_each_sys_fault([&](Sys which, int nth) {
        SCOPED_TRACE(sys_name(which) + std::string(" ") + std::to_string(nth));
        const int descriptors = open_descriptors();
        bool reached;
        int result;
        {
            SysFault fault(which, nth);
            result = ShareDirCopy(from.c_str(), to.c_str());
            reached = fault.reached();
        }
        EXPECT_EQ(describe(from), before);
        EXPECT_EQ(open_descriptors(), descriptors);
        if (result == 0) {
            EXPECT_EQ(describe(to), before);
            fs::remove_all(to);
        } else {
            EXPECT_EQ(result, -1);
            const int code = MLIBErrGet();
            EXPECT_TRUE(code == (which == Sys::kMkdirat ? ERR_NOT_ENOUGH_SPACE : code) && code != 0);
        }
        EXPECT_EQ(root.names("vol"), std::vector<std::string>{"from"});
        MLIBErrSet(ERR_SUCCESS);
        return reached;
    });
    EXPECT_GT(faults, 50);
}

TEST(ShareFolders, SurviveAKillAtEveryCall) {
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        ScratchRoot root;
        const std::string from = make_share(root, "vol/from"), to = root.path("vol/to");
        const auto before = describe(from);
        const int result = in_child([&] {
            kill_at_call(nth);
            const int done = move(from, to, true);
            kill_at_call(0);
            return done == 0 ? 0 : 1;
        });
        const bool whole = fs::exists(to);
        EXPECT_TRUE(!whole || describe(to) == before);
        EXPECT_TRUE(fs::exists(from) ? describe(from) == before : whole);
        if (result == 0) break;
        // A process in the background that is killed at its start makes the move fail.
        ASSERT_TRUE(result == -1 || !whole) << "not killed, but failed";
        if (whole) continue;
        EXPECT_EQ(ShareDirCopy(from.c_str(), to.c_str()), 0);
        EXPECT_EQ(root.names("vol"), (std::vector<std::string>{"from", "to"})) << "a leftover stays";
    }
}

TEST(ShareFolders, TellThatTheVolumeIsFull) {
    ScratchRoot root;
    const std::string small = root.path("small/x").substr(0, root.dir().size() + 6);
    if (mount("none", small.c_str(), "tmpfs", 0, "size=1m") != 0) GTEST_SKIP() << "no right to mount";
    root.write("from/large", std::string(3 << 20, 'x'));
    const std::string from = root.dir() + "/from", to = small + "/to";
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_SPACE, ShareMove(from.c_str(), to.c_str())));
    EXPECT_TRUE(root.names("small").empty());
    EXPECT_EQ(root.read("from/large").size(), size_t{3} << 20);

    // What is mounted in a folder is neither left out nor removed.
    root.write("small/precious", "text");
    EXPECT_TRUE(gives(-1, ERR_DEVICE_BUSY, ShareDirCopy(root.dir().c_str(), (root.dir() + "-copy").c_str())));
    EXPECT_FALSE(fs::exists(root.dir() + "-copy"));
    root.write("share/small/x", "");
    ASSERT_EQ(mount(small.c_str(), root.path("share/small").c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_TRUE(gives(0, 0, MORVShareMove2Tmp(root.path("share").c_str())));
    const std::string tmp = root.dir() + "/@tmp/" + root.names("@tmp").at(0);
    EXPECT_TRUE(comes_to_be([&] { return !fs::exists(tmp + "/x") && fs::exists(tmp + "/small/precious"); }));
    usleep(20000);
    EXPECT_EQ(root.read("small/precious"), "text");
    umount2((tmp + "/small").c_str(), MNT_DETACH);
    umount2(small.c_str(), MNT_DETACH);
}

TEST(ShareFolders, CannotLeadTheWorkOutOfThemByLinks) {
    ScratchRoot root;
    root.write("outside/secret", "secret");
    const std::string from = root.path("vol/from"), to = root.path("vol/to");
    root.write("vol/from/sub/secret", "own");
    EXPECT_EQ(symlink(root.path("outside").c_str(), (from + "/swap").c_str()), 0);
    Child attacker([&] {
        for (;;) {
            for (const char *copy : {"/vol/from", "/vol/again"}) {
                const std::string at = root.dir() + copy;
                renameat2(AT_FDCWD, (at + "/sub").c_str(), AT_FDCWD, (at + "/swap").c_str(), RENAME_EXCHANGE);
            }
        }
    });
    int copies = 0;
    for (int i = 0; i < 100; ++i) {
        if (ShareDirCopy(from.c_str(), to.c_str()) == 0) {
            ++copies;
            for (const auto &entry : fs::recursive_directory_iterator(to)) {
                EXPECT_TRUE(!entry.is_regular_file() || read_file(entry.path()) == "own");
            }
            EXPECT_EQ(rename(to.c_str(), root.path("vol/again").c_str()), 0);
            EXPECT_EQ(MORVShareMove2Tmp(root.path("vol/again").c_str()), 0);
        }
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_EQ(root.names("outside"), std::vector<std::string>{"secret"});
    }
    EXPECT_GT(copies, 0);
    EXPECT_TRUE(comes_to_be([&] { return root.names("@tmp").empty(); }));
    EXPECT_EQ(root.read("outside/secret"), "secret");
}

TEST(ShareFolders, MayBeDeeperThanPathsAreLong) {
    ScratchRoot root;
    const std::string name(100, 'd');
    int at = open(root.path("vol/from/x").substr(0, root.dir().size() + 9).c_str(), O_RDONLY | O_DIRECTORY);
    for (int depth = 0; depth < 400; ++depth) {
        ASSERT_EQ(mkdirat(at, name.c_str(), 0700), 0);
        const int below = openat(at, name.c_str(), O_RDONLY | O_DIRECTORY);
        close(at);
        at = below;
    }
    close(openat(at, "bottom", O_WRONLY | O_CREAT, 0600));
    close(at);
    const std::string from = root.dir() + "/vol/from", to = root.dir() + "/vol/to";
    EXPECT_EQ(ShareDirCopy(from.c_str(), to.c_str()), 0);
    at = open(to.c_str(), O_RDONLY | O_DIRECTORY);
    for (int depth = 0; depth < 400; ++depth) {
        const int below = openat(at, name.c_str(), O_RDONLY | O_DIRECTORY);
        close(at);
        at = below;
    }
    EXPECT_EQ(faccessat(at, "bottom", F_OK, 0), 0);
    close(at);
    for (const std::string &path : {from, to})
        EXPECT_TRUE(gives(0, 0, MORVShareMove2Tmp(path.c_str())));
    EXPECT_TRUE(root.names("vol").empty());
    EXPECT_TRUE(comes_to_be([&] { return root.names("@tmp").empty(); }));
}

TEST(ShareFolders, AreSetAsideUnderNamesOfTheirOwn) {
    ScratchRoot root;
    const std::string long_name(255, 'n');
    for (const std::string &name : {std::string("x"), std::string("x"), long_name}) {
        root.write("vol/" + name + "/file", "text");
        EXPECT_TRUE(gives(0, 0, MORVShareMove2Tmp(root.path("vol/" + name).c_str())));
    }
    EXPECT_TRUE(root.names("vol").empty());
    EXPECT_EQ(mode_of(root.path("@tmp")), 0700u);
    EXPECT_TRUE(comes_to_be([&] { return root.names("@tmp").empty(); }));
    fs::remove(root.path("@tmp"));
    root.write("elsewhere/file", "");
    EXPECT_EQ(symlink("elsewhere", root.path("@tmp").c_str()), 0);
    root.write("vol/x/file", "text");
    EXPECT_TRUE(gives(-1, ERR_CREATE_FAILED, MORVShareMove2Tmp(root.path("vol/x").c_str())));
    EXPECT_EQ(root.read("vol/x/file"), "text");
}

// Shares with bins, and the tools that empty them.
struct Bins : ScratchRoot {
    explicit Bins(const std::string &rm = "exec /bin/rm \"$@\"") {
        write("bin/echo", "#!/bin/sh\necho \"$@\"\n", 0755);
        write("bin/rm", "#!/bin/sh\n" + rm + "\n", 0755);
        write("tmp/x", "");
        write("vol/music/#recycle/old/song", "text");
        write("vol/music/song", "text");
        write("vol/homes/ann/#recycle/letter", "text");
        write("vol/homes/ben/letter", "text");
        write("outside/#recycle/precious", "text");
        EXPECT_EQ(symlink(path("outside").c_str(), path("vol/homes/eve").c_str()), 0);
        EXPECT_EQ(symlink(path("outside").c_str(), path("vol/homes/ben/#recycle").c_str()), 0);
        chmod(path("vol/music/#recycle").c_str(), 01777);
        write("etc/passwd", "root:x:0:0:::\n");
        write("etc/group", "root:x:0:\n");
        for (const char *file :
             {"etc/shadow", "etc/group_desc", "etc/morvuser.conf", "usr/morv/etc/private/smbpasswd"})
            write(file, "");
        write("usr/morv/etc/smb.conf",
              "[music]\npath=/vol/music\n[homes]\npath=/vol/homes\n[gone]\npath=/vol/gone\n");
    }
    ~Bins() { MORVShareRecycleCleanStop(); }
};

// Reading the shares may leave a code behind.
bool starts_cleaning() {
    const bool started = MORVShareRecycleClean() == 0;
    MLIBErrSet(ERR_SUCCESS);
    return started;
}

TEST(RecycleBins, AreEmptiedInTheBackground) {
    Bins bins;
    bins.write("@tmp/recycle.17/left over", "text");
    bins.write("@tmp/recycle.17a/another's", "text");
    EXPECT_TRUE(gives(0, 0, MORVShareRecycleCleanStatusGet()));
    EXPECT_TRUE(gives(0, 0, MORVShareRecycleCleanStop())) << "there is nothing to stop";
    EXPECT_TRUE(starts_cleaning());
    EXPECT_TRUE(comes_to_be([] { return MORVShareRecycleCleanStatusGet() == 0; }));
    EXPECT_TRUE(bins.names("vol/music/#recycle").empty());
    EXPECT_EQ(mode_of(bins.path("vol/music/#recycle")), 01777u);
    EXPECT_TRUE(bins.names("vol/homes/ann/#recycle").empty());
    EXPECT_EQ(bins.names("@tmp"), std::vector<std::string>{"recycle.17a"});
    EXPECT_EQ(bins.read("outside/#recycle/precious"), "text") << "reached through a link";
    EXPECT_EQ(bins.read("vol/music/song") + bins.read("vol/homes/ben/letter"), "texttext");
    EXPECT_EQ(bins.read("tmp/cleanrecycle.pid"), "");

    bins.write("@tmp/recycle.18/left over", "text");
    EXPECT_TRUE(starts_cleaning());
    EXPECT_TRUE(comes_to_be([] { return MORVShareRecycleCleanStatusGet() == 0; }));
    EXPECT_EQ(bins.names("@tmp"), std::vector<std::string>{"recycle.17a"}) << "although the bins are empty";
}

TEST(RecycleBins, AreEmptiedByOneProcessThatCanBeStopped) {
    Bins bins("echo $$ >\"${0%/bin/rm}/removing\"; exec sleep 1000");
    EXPECT_TRUE(starts_cleaning());
    EXPECT_TRUE(gives(1, 0, MORVShareRecycleCleanStatusGet()));
    EXPECT_TRUE(gives(-1, ERR_OP_FAILURE, MORVShareRecycleClean()));
    const int cleaner = atoi(bins.read("tmp/cleanrecycle.pid").c_str());
    EXPECT_EQ(kill(cleaner, 0), 0);
    EXPECT_TRUE(comes_to_be([&] { return !bins.read("removing").empty(); }));
    const int remover = atoi(bins.read("removing").c_str());
    EXPECT_TRUE(gives(0, 0, MORVShareRecycleCleanStop()));
    EXPECT_TRUE(gives(0, 0, MORVShareRecycleCleanStatusGet()));
    for (const int ended : {cleaner, remover})
        EXPECT_TRUE(comes_to_be([&] { return kill(ended, 0) != 0; }));
    EXPECT_EQ(bins.read("tmp/cleanrecycle.pid"), "");
}

TEST(RecycleBins, NeverStopAProcessThatOnlyHasTheNumber) {
    Bins bins;
    const Child bystander([] {
        for (;;)
            pause();
    });
    const std::string file = bins.path("tmp/cleanrecycle.pid"), number = std::to_string(bystander.pid());
    for (const mode_t mode : {0600, 0666}) {
        write_file(file, number + "\n", mode);
        EXPECT_TRUE(gives(0, 0, MORVShareRecycleCleanStatusGet()));
        EXPECT_TRUE(gives(0, 0, MORVShareRecycleCleanStop()));
        EXPECT_EQ(waitpid(bystander.pid(), nullptr, WNOHANG), 0);
    }
    fs::remove(file);
    bins.write("victim", "text");
    EXPECT_EQ(symlink(bins.path("victim").c_str(), file.c_str()), 0);
    EXPECT_TRUE(starts_cleaning());
    EXPECT_EQ(bins.read("victim"), "text") << "written through a link";
    EXPECT_EQ(mode_of(file), 0600u);

    // Without the tool that writes the number nothing is begun.
    EXPECT_TRUE(comes_to_be([] { return MORVShareRecycleCleanStatusGet() == 0; }));
    fs::remove(bins.path("bin/echo"));
    bins.write("vol/music/#recycle/file", "text");
    EXPECT_TRUE(gives(-1, ERR_WRITE_FAILED, MORVShareRecycleClean()));
    EXPECT_EQ(bins.read("vol/music/#recycle/file"), "text");
}

}  // namespace
