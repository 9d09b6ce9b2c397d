// Shares in a backup, and back.
#include <morvsdk/error.h>
#include <morvsdk/internal/sysbkp.h>
#include <morvsdk/share.h>
#include <stdlib.h>
#include <string.h>

#include "support/accounts.h"
#include "support/backup_file.h"
#include "support/process.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

constexpr char kConf[] = "usr/morv/etc/smb.conf";

// A share as it is in a file.
std::string share(const char *name, const char *path, const char *comment = "", const char *write = "",
                  const char *read = "", const char *denied = "", int access = 1, int ftp = 0) {
    return text(name) + text(path) + text(comment) + text(write) + text(read) + text(denied) +
           number(access) + number(1) + number(ftp);
}
std::string shares(std::initializer_list<std::string> records) {
    std::string body = number(static_cast<int64_t>(records.size()));
    for (const std::string &record : records)
        body += record;
    return body;
}

const std::string kPlans = share("plans", "/volume1/plans", "Plans of the team", "@staff");
const std::string kPublic = share("public", "/volume1/public", "", "", "@users,@Größe", "Bob Smith");
const std::string kSample = shares({kPlans, kPublic});

std::string now_here() {
    return exported(MORVSysbkpShareExport);
}
std::string as_block(const std::string &body) {
    return block(MORV_SYSBKP_SHARE, body);
}

TEST(ShareBackup, HoldsEveryShareInTheOrderOfTheirNames) {
    const AccountRoot root;
    EXPECT_EQ(now_here(), as_block(kSample));
    root.write(kConf, "[global]\n");
    EXPECT_EQ(now_here(), as_block(number(0)));
    remove(root.path(kConf).c_str());
    EXPECT_EQ(now_here(), "failed");
}

TEST(ShareBackup, IsRestoredWhereThereIsNothing) {
    const AccountRoot root;
    root.write(kConf, "[global]\n\tworkgroup = HOME\n");
    const std::string body =
        shares({kPlans, kPublic,
                share("vault", "/volume1/vault/in", "", "alice", "zoë", "", MORV_SHARE_NO_ACCESS, 7),
                share("vaults", "/volume1/vault", "", "@users", "", "", 2)});
    EXPECT_EQ(imported(MORVSysbkpShareImport, body), 0) << logged;
    EXPECT_EQ(now_here(), as_block(body));
    EXPECT_EQ(mode_of(root.path("volume1/vault/in")), 0777u) << "its parent is another share's, made before";
    const std::string conf = root.read(kConf);
    EXPECT_TRUE(conf.starts_with("[global]\n\tworkgroup = HOME\n\n[plans]\n"));

    const struct stat before = stat_of(root.path(kConf));
    EXPECT_EQ(imported(MORVSysbkpShareImport, body), 0);
    EXPECT_EQ(stat_of(root.path(kConf)).st_ino, before.st_ino) << "nothing is written that is there";
    remove(root.path("tmp/.db.morvshare.0957").c_str());
    EXPECT_EQ(now_here(), as_block(body)) << "as the file says it, too";
}

TEST(ShareBackup, ChangesSharesThatAreThereAndKeepsTheOthers) {
    const AccountRoot root;
    const auto before = root.files();
    EXPECT_EQ(imported(MORVSysbkpShareImport, kSample), 0);
    EXPECT_EQ(root.files(), before);
    EXPECT_EQ(
        imported(MORVSysbkpShareImport, shares({share("Plans", "/volume1//plans/", "Other", "@staff")})), 0);
    auto after = AccountRoot::with(before, kConf, "Plans of the team", "Other");
    after = AccountRoot::with(after, kConf, "[plans]", "[Plans]");
    EXPECT_EQ(root.files(), after);
    EXPECT_TRUE(root.is_tidy());
}

TEST(ShareBackup, LeavesOutWhatCannotBeAndTellsWhy) {
    const AccountRoot root;
    root.path("volume2/x");
    root.write("proc/mounts", "/dev/vg1/lv /volume1 ext4 rw 0 0\ntmpfs /tmp tmpfs rw 0 0\n");
    const std::string good = share("good", "/volume1/good");
    const struct {
        std::string bad;
        const char *why;
    } cases[] = {
        {share("music", "/volume2/music"), "share music: its volume /volume2 is not here"},
        {share("music", "/volume3/music"), "share music: its volume /volume3 is not here"},
        {share("plans", "/volume1/others"),
         "share plans: there is one here with another folder, and nothing is moved"},
        {share("deep", "/volume1/not/there"), "share deep: its folder /volume1/not/there cannot be made"},
        {share("GOOD", "/volume1/other"), "share GOOD: there are two of that name"},
        {share("late", "/volume1/late"), "share late: this model takes no more shares"},
        {share("homes", "/volume1/homes"), "share homes: no valid share name"},
        {share("etc", "/etc"), "share etc: a value that it cannot have"},
        {share("rel", "volume1"), "share rel: no absolute path"},
        {share("none", "/volume1/none", "", "", "", "", 3), "share none: a value that it cannot have"},
        {share("two", "/volume1/two", "a\n[b]"), "share two: control characters in its path or comment"},
    };
    for (const auto &c : cases) {
        const bool is_limit = std::string_view(c.why).ends_with("no more shares");
        root.reset();
        if (is_limit) root.write("etc.defaults/morvinfo.conf", "maxshares=\"3\"\n");
        rmdir((root.dir() + "/volume1/good").c_str());
        EXPECT_EQ(imported(MORVSysbkpShareImport, shares({good, c.bad})), -1) << c.why;
        EXPECT_TRUE(is_told("3", c.why)) << logged;
        EXPECT_EQ(now_here(), as_block(shares({good, kPlans, kPublic}))) << c.why;
        EXPECT_EQ(root.names("volume1"), (std::vector<std::string>{"good"}));
    }
    // One that is refused leaves its room to another.
    root.reset();
    root.write("etc.defaults/morvinfo.conf", "maxshares=\"3\"\n");
    EXPECT_EQ(imported(MORVSysbkpShareImport, shares({cases[3].bad, good})), -1);
    EXPECT_EQ(now_here(), as_block(shares({good, kPlans, kPublic})));
    // A folder where a volume was is none.
    root.reset();
    root.write("proc/mounts", "/dev/md0 / ext4 rw 0 0\n");
    EXPECT_EQ(imported(MORVSysbkpShareImport, shares({good})), -1);
    EXPECT_TRUE(is_told("3", "share good: its volume /volume1 is not here")) << logged;
    // Without a list of what is mounted a folder is enough.
    remove(root.path("proc/mounts").c_str());
    EXPECT_EQ(imported(MORVSysbkpShareImport, shares({good, share("plans", "/volume2/plans")})), -1);
    EXPECT_TRUE(is_told("3", cases[2].why));
}

TEST(ShareBackup, TellsOnceWhyTheNamesOfListsAreNotHere) {
    const AccountRoot root;
    ASSERT_EQ(gpshUser, nullptr);
    gpshUser = PshMLIBSzHashAlloc(512);
    MLIBSzHashSetValue(&gpshUser, "eve", "no valid hash of a password");
    EXPECT_EQ(
        imported(MORVSysbkpShareImport, shares({share("a", "/volume1/a", "", "eve,Alice,@gone", "alice"),
                                                share("b", "/volume1/b", "", "@staff", "eve,ghost")})),
        0);
    EXPECT_TRUE(is_told("6",
                        "share a: its lists name who is not here: eve (no valid hash of a password), "
                        "@gone (there is no such group)"))
        << logged;
    EXPECT_TRUE(is_told("6", "share b: its lists name who is not here: eve, ghost (there is no such user)"))
        << logged;
    EXPECT_NE(now_here().find(share("a", "/volume1/a", "", "alice", "alice")), std::string::npos);
    EXPECT_EQ(MORVSysbkpFinishImport(-1, 7, 0), 0);
    EXPECT_EQ(gpshUser, nullptr);
}

TEST(ShareBackup, ThatIsDamagedGivesTheRecordsBeforeTheDamage) {
    const AccountRoot root;
    const std::string whole = share("first", "/volume1/first");
    const std::string next = share("next", "/volume1/next");
    const std::string bodies[] = {
        number(1) + whole + "x",
        number(2) + whole,
        number(INT32_MAX) + whole,
        number(2) + whole + next.substr(0, next.size() - 1),
        number(2) + whole + text("next") + number(1),
    };
    for (const std::string &body : bodies) {
        root.reset();
        EXPECT_EQ(imported(MORVSysbkpShareImport, body), -1);
        EXPECT_EQ(now_here(), as_block(shares({whole, kPlans, kPublic})));
    }
    root.reset();
    for (const std::string &body : {std::string(), number(-1), text("2"), number(0) + number(0)})
        EXPECT_EQ(imported(MORVSysbkpShareImport, body), -1);
    EXPECT_EQ(now_here(), as_block(kSample));
}

TEST(ShareBackup, IsRestoredWholeOrNotAtAllWhenTheSystemFails) {
    const AccountRoot root;
    const std::string body =
        shares({share("new", "/volume1/new"), share("plans", "/volume1/plans", "Other")});
    const auto start_again = [&] {
        rmdir((root.dir() + "/volume1/new").c_str());
        root.reset();
        EXPECT_NE(now_here(), "failed");
    };
    const auto has_folder = [&] { return stat_of(root.dir() + "/volume1/new").st_ino != 0; };
    const auto before = root.files();
    // Where only the folder could not be made, the other share is restored all the same.
    ASSERT_EQ(imported(MORVSysbkpShareImport, shares({share("plans", "/volume1/plans", "Other")})), 0);
    const auto without = root.files();
    ASSERT_EQ(imported(MORVSysbkpShareImport, body), 0);
    const auto after = root.files();
    const int faults = for_each_sys_fault([&](Sys which, int nth) {
        SCOPED_TRACE(std::string(sys_name(which)) + " " + std::to_string(nth));
        start_again();
        const MemoryFile content(body);
        int result;
        bool reached;
        {
            const SysFault fault(which, nth);
            result = MORVSysbkpShareImport(content.fd, 7, 0);
            reached = fault.reached();
        }
        const bool done = root.files() == after;
        EXPECT_TRUE(done || root.files() == before || root.files() == without);
        EXPECT_EQ(has_folder(), done);
        EXPECT_TRUE(done || result == -1);
        EXPECT_TRUE(root.is_tidy());
        return reached && !HasFailure();
    });
    EXPECT_GT(faults, 30);

    int nth = 1;
    for (int code = -1; code != 0 && nth < 2000 && !HasFailure(); ++nth) {
        SCOPED_TRACE("killed at call " + std::to_string(nth));
        start_again();
        code = in_child([&] {
            kill_at_call(nth);
            return imported(MORVSysbkpShareImport, body) == 0 ? 0 : 1;
        });
        EXPECT_NE(code, 1);
        EXPECT_TRUE(root.files() == before || root.files() == after);
        EXPECT_EQ(imported(MORVSysbkpShareImport, body), 0) << "a retry works";
        EXPECT_EQ(root.files(), after);
    }
    EXPECT_GT(nth, 20);
}

TEST(ShareBackup, ReadsAndWritesOneShareAtThePosition) {
    const AccountRoot root;
    MORVSHARE *found = nullptr;
    ASSERT_EQ(MORVShareGet("public", &found), 0);
    const MemoryFile body;
    EXPECT_EQ(MORVSysbkpIWriteShare(found, body.fd), 0);
    MORVShareFree(found);
    EXPECT_EQ(body.content(), kPublic);

    MORVSYSBKPSHARE read = {};
    lseek(body.fd, 0, SEEK_SET);
    ASSERT_EQ(MORVSysbkpIReadShare(body.fd, &read), 0);
    EXPECT_STREQ(read.szName, "public");
    EXPECT_STREQ(read.szPath, "/volume1/public");
    EXPECT_STREQ(read.szReadOnly, "@users,@Größe");
    EXPECT_STREQ(read.szDenied, "Bob Smith");
    EXPECT_EQ(read.fType, MORV_SHARE_READ_ONLY);
    EXPECT_EQ(read.fBrowseable, 1);
    const MORVSYSBKPSHARE kept = read;
    EXPECT_EQ(MORVSysbkpIReadShare(body.fd, &read), -1) << "there is none left";
    EXPECT_EQ(read.szName, kept.szName);
    MORVSysbkpIFreeShareString(&read);
    EXPECT_EQ(read.szName, nullptr);
    MORVSysbkpIFreeShareString(&read);

    MLIBErrSet(ERR_SUCCESS);
    MORVSysbkpIFreeShareString(nullptr);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(MORVSysbkpIWriteShare(nullptr, body.fd), -1);
}

}  // namespace
