#include <fcntl.h>
#include <morvsdk/file.h>
#include <morvsdk/user.h>
#include <signal.h>
#include <unistd.h>

#include "shares.h"
#include "support/outcome.h"
#include "support/process.h"
#include "support/sys_fault.h"

using namespace testing_support;
using namespace share_test;

namespace {

using Files = AccountRoot::Files;

const Spec kPlans = {"plans", "/volume1/plans", "Plans of the team", "", "@staff"};

// The sample, with the folders of its shares.
struct Root : AccountRoot {
    Root() { fill(); }
    void fill() const {
        write("volume1/plans/file", "text");
        write("volume1/public/file", "text");
    }
    void start_again() const {
        for (const char *folder : {"volume1/plans", "volume1/moved", "volume1/new"}) {
            remove((dir() + "/" + folder + "/file").c_str());
            rmdir((dir() + "/" + folder).c_str());
        }
        reset();
        fill();
    }
};

// Whether the files are as `expected`, and the mirror, current without being built, is what a new one would
// be.
testing::AssertionResult is(const AccountRoot &root, const Files &expected, bool current = true) {
    for (const auto &[name, text] : root.files()) {
        if (text != expected.at(name)) return testing::AssertionFailure() << name << " is:\n" << text;
    }
    if (!root.is_tidy()) return testing::AssertionFailure() << "something is left, or has another mode";
    const ino_t before = store_inode(root);
    const std::string seen = all_seen();
    if (current && store_inode(root) != before)
        return testing::AssertionFailure() << "the mirror was not brought up to date";
    remove(root.path("tmp/.db.morvshare.0957").c_str());
    if (all_seen() != seen)
        return testing::AssertionFailure() << "mirror:\n" << seen << "\nbuilt anew:\n" << all_seen();
    return testing::AssertionSuccess();
}

Files conf_with(Files files, std::string_view old_piece, std::string_view piece) {
    return AccountRoot::with(std::move(files), kConf, old_piece, piece);
}

TEST(ShareChange, ChangesTheKeysOfWhatChangedOnly) {
    const Root root;
    const Files before = root.files();
    const struct {
        Spec spec;
        Files after;
    } cases[] = {
        {kPlans, before},
        {{"plans", "/volume1/plans", "Other", "", "@staff"},
         conf_with(before, "comment = Plans of the team", "comment = Other")},
        {{"plans", "/volume1/plans", "", "", "@staff"},
         conf_with(before, "comment = Plans of the team", "comment = ")},
        {{"plans", "/volume1/plans", " a\\", "", "@staff"},
         conf_with(before, "comment = Plans of the team", "comment = \" a\\\"")},
        {{"plans", "/volume1/plans", "Plans of the team", "Bob Smith,zoë,gone", "@STAFF"},
         conf_with(before, "unknown key = kept\n",
                   "unknown key = kept\n\tinvalid users = \"Bob Smith\",zoë\n")},
        {{"plans", "/volume1/plans", "Plans of the team", "", "@staff", "", 1, 0, 5},
         conf_with(before, "unknown key = kept\n",
                   "unknown key = kept\n\tbrowseable = no\n\tftp disable list = yes\n"
                   "\tftp disable download = yes\n")},
        {{"plans", "/volume1/plans", "Plans of the team", "", "@staff", "", 2},
         conf_with(before, "unknown key = kept\n",
                   "unknown key = kept\n\tguest ok = yes\n\twriteable = yes\n")},
        {{"plans", "/volume1/plans", "Plans of the team", "", "@staff", "zoë", 4},
         conf_with(conf_with(before, "valid users = @staff, alice ,zoë", "valid users = nobody,@staff,zoë"),
                   "unknown key = kept\n",
                   "unknown key = kept\n\tguest ok = no\n\twriteable = no\n\tread list = zoë\n")},
        {{"Plans", "/volume1/plans", "Plans of the team", "", "@staff"},
         conf_with(before, "[plans]", "[Plans]")},
        {{"größer", "/volume1/plans", "Plans of the team", "", "@staff"},
         conf_with(before, "[plans]", "[größer]")},
    };
    for (const auto &c : cases) {
        root.start_again();
        EXPECT_EQ(set("PLANS", c.spec), 0) << text_of(c.spec);
        EXPECT_TRUE(is(root, c.after)) << text_of(c.spec);
        if (testing::Test::HasFailure()) return;
    }
}

TEST(ShareChange, AddsAShareWithItsFolder) {
    const Root root;
    const Files before = root.files();
    const mode_t mask = umask(027);
    EXPECT_EQ(set(nullptr, {"new", "/volume1/new", "", "", "alice", "Bob Smith", 4}), 0);
    umask(mask);
    EXPECT_EQ(mode_of(root.path("volume1/new")), 0777u);
    Files after = before;
    after[kConf] +=
        "\n[new]\n\tpath=/volume1/new\n\tbrowseable=yes\n\tguest ok=no\n\twriteable=no\n\twrite list=alice\n"
        "\tread list=\"Bob Smith\"\n\tvalid users=nobody,alice,\"Bob Smith\"\n";
    EXPECT_TRUE(is(root, after));
    EXPECT_EQ(seen("NEW"), "new|/volume1/new|||alice|Bob Smith|4|1|0");

    // Who is removed leaves nobody else in.
    EXPECT_EQ(MORVUserDelete("alice"), 0);
    EXPECT_EQ(MORVUserDelete("Bob Smith"), 0);
    EXPECT_NE(root.read(kConf).find("valid users=nobody\n"), std::string::npos);
    EXPECT_EQ(set("new", {"new", "/volume1/new"}), 0);
    EXPECT_EQ(root.read(kConf).find("nobody"), std::string::npos);

    // A section of the name that is no share yet becomes the share.
    root.start_again();
    root.write(kConf, before.at(kConf) + "[NEW]\n# later\n\n; the last\n[z]\npath=/z\n");
    EXPECT_EQ(set(nullptr, {"new", "/volume1/public/below", "c"}), 0);
    EXPECT_EQ(root.read(kConf),
              before.at(kConf) +
                  "[new]\n\tcomment=c\n\tpath=/volume1/public/below\n\tbrowseable=yes\n\tguest "
                  "ok=yes\n\twriteable=no\n# later\n\n; the last\n[z]\npath=/z\n");
    rmdir(root.path("volume1/public/below").c_str());
}

TEST(ShareChange, KeepsTheLineEndsAndFormsOfTheFile) {
    const Root root;
    const char *const text =
        "[a]\r\npath=/volume1/public\r\n  Comment  =x  \r\nwrite list = \r\n[b]\r\npath=/b";
    root.write(kConf, text);
    EXPECT_EQ(set("a", {"a", "/volume1/public", "y", "", "alice", "zoë"}), 0);
    EXPECT_EQ(root.read(kConf),
              "[a]\r\npath=/volume1/public\r\n  Comment  =y  \r\nwrite list = alice\r\nread list = zoë\r\n"
              "[b]\r\npath=/b");
    EXPECT_EQ(set("b", {"b", "/b", "c"}), 0);
    EXPECT_TRUE(root.read(kConf).ends_with("[b]\r\npath=/b\ncomment=c\n")) << root.read(kConf);
    // What other readers take for the same setting does not undo a change.
    root.write(kConf, "[a]\npath=/volume1/public\nwritable=yes\nRead Only=no\npublic=no\nwrite  list=x\n");
    EXPECT_EQ(set("a", {"a", "/volume1/public", "", "", "alice", "", 4}), 0);
    EXPECT_EQ(
        root.read(kConf),
        "[a]\npath=/volume1/public\nguest ok=no\nwriteable=no\nwrite list=alice\nvalid users=nobody,alice\n");
    root.write(kConf,
               "[a]\npath=/volume1/public\nguest ok=no\nwriteable = Yes\nguest ok = yes\npublic=no\nread "
               "only=yes\n");
    EXPECT_EQ(set("a", {"a", "/volume1/public", "", "", "", "", 1}), 0);
    EXPECT_EQ(root.read(kConf), "[a]\npath=/volume1/public\nwriteable = no\nguest ok = yes\n");
}

TEST(ShareChange, KeepsTheAccessOfEverybodyInStepWithTheLists) {
    const Root root;
    const struct {
        const char *section;
        Spec wanted;
        const char *seen;      // lists and access
        const char *switches;  // guest ok, writeable
    } cases[] = {
        // The list changes, the access follows.
        {"guest ok=yes\nwriteable=no\n", {"a", "/a", "", "", "@users"}, "|@users||2", "yes no"},
        // The access changes, and "@users" with it.
        {"guest ok=no\nwriteable=no\nwrite list=@users,alice\n",
         {"a", "/a", "", "", "@users,alice"},
         "|alice|@users|1",
         "no no"},
        {"guest ok=no\nwriteable=no\nwrite list=@users,alice\n",
         {"a", "/a", "", "", "@users,alice", "", 4},
         "|alice||4",
         "no no"},
        {"guest ok=yes\nwriteable=yes\n", {"a", "/a", "", "", "", "@users"}, "||@users|1", "yes no"},
        {"guest ok=yes\nwriteable=yes\n", {"a", "/a", "", "@users", "", "", 4}, "@users|||4", "no no"},
        {"invalid users=@users\nguest ok=no\nwriteable=no\n",
         {"a", "/a", "", "@users", "", "", 2},
         "|@users||2",
         "no no"},
        {"guest ok=Yes\nwriteable=yes\n", {"a", "/a", "", "", "", "@users"}, "||@users|1", "Yes no"},
        // Without a list the switches say it.
        {"guest ok=no\nwriteable=no\n", {"a", "/a", "", "", "", "", 2}, "|||2", "yes yes"},
        {"guest ok=yes\nwriteable=yes\n", {"a", "/a", "", "", "", "", 1}, "|||1", "yes no"},
    };
    for (const auto &c : cases) {
        root.write(kConf, std::string("[a]\npath=/a\n") + c.section);
        EXPECT_EQ(set("a", c.wanted), 0) << c.section;
        EXPECT_EQ(seen("a"), std::string("a|/a||") + c.seen + "|1|0") << c.section;
        MLIBSZHASH *keys = PshMLIBSzHashAlloc(512);
        MLIBFileGetSection(root.path(kConf).c_str(), "a", &keys);
        const std::string guest = SzMLIBSzHashGetValue(keys, "guest ok");
        EXPECT_EQ(guest + " " + SzMLIBSzHashGetValue(keys, "writeable"), c.switches) << root.read(kConf);
        MLIBSzHashFree(keys);
    }
}

TEST(ShareChange, MovesTheFolderAndItsExports) {
    const Root root;
    root.write(kExports,
               "# all\n/volume1/plans 10.0.0.0/24(rw)\n\"/volume1/plans\"\tattic(ro) \\\n  /volume1/plans\n"
               "/volume1/plansx a\n/volume1/plans/sub b\n/volume1/pl\\141ns c\n");
    Files after = conf_with(root.files(), "/volume1/plans", "/volume1/two #words");
    EXPECT_EQ(set("plans", {"plans", "/volume1/two #words", "Plans of the team", "", "@staff"}), 0);
    after[kExports] =
        "# all\n/volume1/two\\040\\043words 10.0.0.0/24(rw)\n/volume1/two\\040\\043words\tattic(ro) \\\n"
        "  /volume1/plans\n/volume1/plansx a\n/volume1/plans/sub b\n/volume1/two\\040\\043words c\n";
    EXPECT_TRUE(is(root, after));
    EXPECT_EQ(root.read("volume1/two #words/file"), "text");
    EXPECT_EQ(stat_of(root.dir() + "/volume1/plans").st_ino, 0u);

    EXPECT_EQ(MORVShareDelete("PLANS"), 0);
    after[kExports] = "# all\n/volume1/plansx a\n/volume1/plans/sub b\n";
    const size_t section = after[kConf].find("[plans]"), next = after[kConf].find("[public]");
    after[kConf].erase(section, next - section);
    EXPECT_TRUE(is(root, after));
    EXPECT_EQ(stat_of(root.dir() + "/volume1/two #words").st_ino, 0u);
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_SHARE, MORVShareDelete("plans")));
}

TEST(ShareChange, NeverTakesTheFolderOfAnotherShareAway) {
    const Root root;
    root.write(kConf,
               root.read(kConf) + "[inner]\npath=/volume1/plans/inner\n[same]\npath=/volume1/public/\n");
    root.write("volume1/plans/inner/file", "text");
    const Files before = root.files();
    EXPECT_TRUE(refuses(-1, set("plans", {"plans", "/volume1/moved"})));
    EXPECT_TRUE(is(root, before));
    EXPECT_EQ(MORVShareDelete("plans"), 0);
    EXPECT_EQ(MORVShareDelete("public"), 0);
    EXPECT_EQ(root.read("volume1/plans/inner/file") + root.read("volume1/public/file"), "texttext");
    EXPECT_EQ(root.read(kExports), before.at(kExports)) << "the folder is still there";
    EXPECT_EQ(all_shares(), (std::vector<std::string>{"inner", "same"}));

    // However the section spells it, and whether or not it is a share's.
    ASSERT_EQ(symlink("volume1", root.path("volume2").c_str()), 0);
    ASSERT_EQ(symlink("plans/inner", root.path("volume1/way").c_str()), 0);
    for (const char *section :
         {"[x]\npath=/volume1//plans/inner\n", "[x]\npath=/volume1/./plans/\n",
          "[x]\npath=/volume2/plans/new\n", "[x]\nDirectory = /volume1/way\n",
          "[x]\nno pair\npath=/volume1/plans\n", "[homes]\npath=/volume2/plans/%U\n",
          "[global]\npath=/volume1/plans\n", "[usb@]\npath=\"/volume1/plans/inner\"\n"}) {
        root.reset();
        root.write(kConf, root.read(kConf) + section);
        EXPECT_TRUE(gives(-1, ERR_BAD_PARAMETERS, set("plans", {"plans", "/volume1/moved"}))) << section;
        EXPECT_EQ(MORVShareDelete("plans"), 0) << section;
        EXPECT_EQ(root.read("volume1/plans/inner/file"), "text") << section;
        EXPECT_EQ(root.read(kExports), before.at(kExports)) << section;
    }
    remove(root.path("volume1/way").c_str());
    root.reset();
    EXPECT_EQ(set("plans", {"plans", "/volume2//./plans/"}), 0);
    EXPECT_EQ(seen("plans"), "plans|/volume2/plans|||||1|1|0") << "the same place";
    EXPECT_EQ(MORVShareDelete("plans"), 0);
    EXPECT_EQ(stat_of(root.dir() + "/volume1/plans").st_ino, 0u) << "the next share is a stranger";
    EXPECT_EQ(root.read(kExports), "");
}

TEST(ShareChange, NeverTakesTheFoldersOfTheSystemAway) {
    const Root root;
    ASSERT_EQ(symlink("../etc", root.path("volume1/link").c_str()), 0);
    ASSERT_EQ(symlink("/", root.path("volume1/out").c_str()), 0);
    const Files before = root.files();
    for (const char *path : {"/etc", "/etc/new", "/usr/morv", "/var", "/var/services", "/tmp/new", "/lib64",
                             "/etc.defaults/", "/volume1/link", "/volume1/link/new", "/volume1/out/srv"})
        EXPECT_TRUE(gives(-1, ERR_BAD_PARAMETERS, set(nullptr, {"new", path}))) << path;
    EXPECT_TRUE(is(root, before));
    root.write("var/services/homes/file", "text");
    for (const char *path : {"/var/services/homes", "/etc", "/volume1/../etc", "/volume1/link/../etc"}) {
        root.write(kConf, std::string("[a]\npath=") + path + "\n");
        EXPECT_TRUE(refuses(-1, set("a", {"a", "/volume1/moved"}))) << path;
        EXPECT_EQ(MORVShareDelete("a"), 0) << path;
        EXPECT_EQ(seen("a"), "-");
    }
    EXPECT_EQ(root.read("var/services/homes/file"), "text");
    EXPECT_EQ(root.read("etc/passwd"), before.at("etc/passwd"));
    EXPECT_EQ(set(nullptr, {"own", "/var/services/own"}), 0);
    EXPECT_EQ(MORVShareDelete("own"), 0);
    EXPECT_EQ(stat_of(root.dir() + "/var/services/own").st_ino, 0u);
}

TEST(ShareChange, KeepsTheRightsOfAccountsThatCameSince) {
    const Root root;
    root.write(kConf, "[a]\npath=/volume1/public\nwrite list = alice,carol\nread list = zoë, carol\n");
    const std::string known = seen("a");
    root.write("etc/passwd", root.read("etc/passwd") + "carol:x:1050:100::/home:/bin/sh\n");
    root.write("etc/shadow", root.read("etc/shadow") + "carol:*:::::::\n", 0600);
    EXPECT_EQ(known, "a|/volume1/public|||alice|zoë|1|1|0");
    EXPECT_EQ(set("a", {"a", "/volume1/public", "c", "", "alice", "alice"}), 0);
    EXPECT_EQ(root.read(kConf),
              "[a]\npath=/volume1/public\nwrite list = alice,carol\nread list = alice\ncomment = c\n");
    EXPECT_EQ(seen("a"), "a|/volume1/public|c||alice,carol|alice|1|1|0");
}

TEST(ShareChange, RefusesWhatCannotBeAndDoesNothing) {
    const Root root;
    root.write(kConf, root.read(kConf) + "[half]\nno pair\npath=/x\n");
    root.write("volume1/file", "");
    ASSERT_EQ(symlink("public", root.path("volume1/link").c_str()), 0);
    const Files before = root.files();
    const struct {
        const char *old_name;
        Spec spec;
        int code;
    } cases[] = {
        {nullptr, {"a/b", "/volume1/a"}, ERR_INVALID_SHARENAME},
        {nullptr, {"Global", "/volume1/a"}, ERR_INVALID_SHARENAME},
        {nullptr, {"Homes", "/volume1/a"}, ERR_INVALID_SHARENAME},
        {nullptr, {"usbshare1", "/volume1/a"}, ERR_INVALID_SHARENAME},
        {nullptr, {"web", "/volume1/a"}, ERR_INVALID_SHARENAME},
        {"plans", {"satashare", "/volume1/plans"}, ERR_INVALID_SHARENAME},
        {nullptr, {"a", "volume1/a"}, ERR_INVALID_PATH},
        {nullptr, {"a", "/volume1/../etc"}, ERR_BAD_PARAMETERS},
        {nullptr, {"a", "//"}, ERR_BAD_PARAMETERS},
        {nullptr, {"a", "/volume1/a\n[b]"}, ERR_BAD_PARAMETERS},
        {nullptr, {"a", "/volume1/a", "x\npath=/"}, ERR_BAD_PARAMETERS},
        {nullptr, {"a", "/volume1/a", "", "", "alice\n"}, ERR_BAD_PARAMETERS},
        {nullptr, {.name = "a", .path = "/volume1/a", .access = 3}, ERR_BAD_PARAMETERS},
        {nullptr, {.name = "a", .path = "/volume1/a", .browseable = 2}, ERR_BAD_PARAMETERS},
        {nullptr, {.name = "a", .path = "/volume1/a", .ftp = 8}, ERR_BAD_PARAMETERS},
        {nullptr, {"PUBLIC", "/volume1/a"}, ERR_SHARE_EXISTS},
        {nullptr, {"half", "/volume1/a"}, ERR_SHARE_EXISTS},
        {"plans", {"public", "/volume1/plans"}, ERR_SHARE_EXISTS},
        {"plans", {"half", "/volume1/plans"}, ERR_SHARE_EXISTS},
        {"gone", {"a", "/volume1/a"}, ERR_NO_SUCH_SHARE},
        {nullptr, {"a", "/nowhere/a"}, ERR_CREATE_FAILED},
        {nullptr, {"a", "/volume1/file"}, ERR_CREATE_FAILED},
        {nullptr, {"a", "/volume1/link"}, ERR_CREATE_FAILED},
        {"plans", {"plans", "/volume1/public"}, ERR_FILE_EXISTS},
    };
    for (const auto &c : cases)
        EXPECT_TRUE(gives(-1, c.code, set(c.old_name, c.spec))) << text_of(c.spec);
    root.write("etc.defaults/morvinfo.conf", "maxshares=\"2\"\n");
    EXPECT_TRUE(gives(-1, ERR_TOO_MANY_SHARES, set(nullptr, {"a", "/volume1/a"})));
    EXPECT_EQ(set("plans", kPlans), 0) << "there is no new one";
    root.write("etc.defaults/morvinfo.conf", before.at("etc.defaults/morvinfo.conf"));
    EXPECT_TRUE(is(root, before));
    EXPECT_EQ(root.names("volume1"), (std::vector<std::string>{"file", "link", "plans", "public"}));
    const Holder holder(MORV_LOCK_SMB | MORV_LOCK_READ);
    EXPECT_TRUE(gives(-1, ERR_LOCK_FAILED, MORVShareDelete("plans")));
}

TEST(ShareChange, WorksUnderLocksThatTheCallerHolds) {
    const Root root;
    ASSERT_EQ(ErrMLIBFileLock(MORV_LOCK_SMB | MORV_LOCK_WRITE, 1), 0);
    EXPECT_EQ(set(nullptr, {"new", "/volume1/new"}), 0);
    EXPECT_NE(seen("new"), "-");
    EXPECT_EQ(MORVShareDelete("new"), 0);
    EXPECT_EQ(ErrMLIBFileUnlock(MORV_LOCK_SMB), 0);
}

TEST(ShareDump, IsARoundTripOfEveryRecord) {
    const Root root;
    const Files before = root.files();
    Mirror db = open_mirror();
    EXPECT_EQ(MORVShareDBDump(db.get()), 0);
    db.reset();
    EXPECT_TRUE(is(root, before));

    std::vector<std::string> expected;
    db = open_mirror();
    for (const int access : {1, 2, 4}) {
        for (const char *list : {"", "@users", "alice,@staff"}) {
            for (int which = 0; which < 3; ++which) {
                const std::string name = "s" + std::to_string(expected.size());
                Spec spec = {name.c_str(), "/ two  words \"", "\"quoted\" = ;#"};
                (which == 0 ? spec.invalid : which == 1 ? spec.write : spec.read) = list;
                spec.access = access;
                spec.browseable = which != 1;
                spec.ftp = which + access;
                // Where they contradict each other the list counts.
                Spec settled = spec;
                if (*list == '@') settled.access = which == 0 ? 4 : which == 1 ? 2 : 1;
                expected.push_back(text_of(settled));
                const MORVSHARE share = spec.record();
                EXPECT_EQ(MORVShareDBSet(db.get(), nullptr, &share), 0);
            }
        }
    }
    EXPECT_EQ(MORVShareDBDump(db.get()), 0);
    db.reset();
    Files after = before;
    after[kConf] = root.read(kConf);
    EXPECT_TRUE(after[kConf].starts_with(before.at(kConf)));
    for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(seen(("s" + std::to_string(i)).c_str()), expected[i]);
    EXPECT_TRUE(is(root, after));
    db = open_mirror();
    EXPECT_EQ(MORVShareDBDump(db.get()), 0);
    db.reset();
    EXPECT_TRUE(is(root, after)) << "the second one changes nothing";
}

TEST(ShareDump, ChangesTheSectionsOfWhatChangedOnly) {
    const Root root;
    const std::string strange =
        "[PLANS]\npath=/twice\n[empty]\n[bad]\nno pair\npath=/x\n[gone]\npath=/gone\n# its own\n\n; kept\n";
    root.write(kConf, root.read(kConf) + strange);
    const Files before = root.files();
    Mirror db = open_mirror();
    MORVSHARE share = Spec{"team", "/volume1/plans", "Plans of the team", "", "@staff"}.record();
    EXPECT_EQ(MORVShareDBSet(db.get(), "PLANS", &share), 0);
    EXPECT_EQ(MORVShareDBDelete(db.get(), "GONE"), 0);
    List lines({"Global", "workgroup = HOME", "\tlog level=3", "", "; shared by the team"});
    EXPECT_EQ(MORVListDBSet(db->pShare, "Global", lines.get()), 0);
    List home({"home", "a=b"});
    EXPECT_EQ(MORVListDBSet(db->pShare, "home", home.get()), 0);
    EXPECT_EQ(MORVShareDBDump(db.get()), 0);
    db.reset();
    Files after = conf_with(before, "[plans]", "[team]");
    after = conf_with(after, "workgroup = HOME\n", "workgroup = HOME\n\tlog level=3\n");
    after = conf_with(after, "[gone]\npath=/gone\n# its own\n\n; kept\n", "; kept\n\n[home]\n\ta=b\n");
    for (const auto &[name, text] : root.files())
        EXPECT_EQ(text, after.at(name));

    root.reset();
    db = open_mirror();
    share = Spec{"a", "/a", "x\npath=/"}.record();
    EXPECT_EQ(MORVShareDBSet(db.get(), nullptr, &share), 0);
    EXPECT_TRUE(refuses(-1, MORVShareDBDump(db.get())));
    EXPECT_EQ(MORVShareDBDelete(db.get(), "A"), 0);
    List header({"Global", " [public]"});
    EXPECT_EQ(MORVListDBSet(db->pShare, "Global", header.get()), 0);
    EXPECT_TRUE(gives(-1, ERR_BAD_PARAMETERS, MORVShareDBDump(db.get()))) << "a line would open a section";
    root.write(kConf, root.read(kConf) + "[added]\npath=/added\n");
    EXPECT_TRUE(gives(-1, ERR_STORE_INVALID, MORVShareDBDump(db.get())))
        << "what another tool has done is not undone";
}

TEST(ReservedSection, IsReplacedOrRemovedInTheFile) {
    const Root root;
    const Files before = root.files();
    const Hash pairs = {{"workgroup", "WORK"}, {"os level", "20"}};
    EXPECT_EQ(MORVShareRSectionSet("GLOBAL", pairs.get()), 1);
    const std::string text = root.read(kConf);
    EXPECT_TRUE(text.starts_with("[global]\n\t"));
    EXPECT_NE(text.find("\tworkgroup=WORK\n"), text.npos);
    EXPECT_NE(text.find("\tos level=20\n"), text.npos);
    const std::string rest = before.at(kConf).substr(before.at(kConf).find("\n\n"));
    EXPECT_TRUE(text.ends_with(rest)) << text;
    Files after = before;
    after[kConf] = text;
    {
        const Mirror db = open_mirror();
        void *image = nullptr;
        int size = 0;
        ASSERT_EQ(MORVBDbGet(db->pShare, "#GLOBAL", 8, &image, &size), 0);
        MLIBSZLIST *stored = MORVListDBUnpack(image, size);
        free(image);
        ASSERT_EQ(stored->nItem, 3);
        EXPECT_STREQ(stored->pszItem[0], "global") << "as the file spells it";
        const bool in_order = std::string_view(stored->pszItem[1]) == "workgroup=WORK";
        EXPECT_STREQ(stored->pszItem[in_order ? 1 : 2], "workgroup=WORK");
        EXPECT_STREQ(stored->pszItem[in_order ? 2 : 1], "os level=20");
        MLIBSzListFree(stored);
    }
    EXPECT_TRUE(is(root, after));

    EXPECT_EQ(MORVShareRSectionSet("printers", Hash{{"path", "/p"}}.get()), 1);
    after[kConf] += "\n[printers]\n\tpath=/p\n";
    EXPECT_TRUE(is(root, after));
    EXPECT_EQ(MORVShareRSectionRemove("printers"), 0);
    EXPECT_EQ(MORVShareRSectionRemove("global"), 0);
    after[kConf] = rest.substr(2) + "\n";
    EXPECT_TRUE(is(root, after));
    EXPECT_TRUE(gives(-1, ERR_KEY_NOT_FOUND, MORVShareRSectionRemove("global")));
    EXPECT_TRUE(gives(-1, ERR_INVALID_SHARENAME, MORVShareRSectionRemove("plans")));
    EXPECT_TRUE(gives(-1, ERR_INVALID_SHARENAME, MORVShareRSectionSet("plans", pairs.get())));
    for (const auto &[key, value] :
         std::initializer_list<std::pair<const char *, const char *>>{{"a\nb", ""},
                                                                      {"a", "b\n[plans]"},
                                                                      {"", "a"},
                                                                      {"   ", "a"},
                                                                      {"[a]", ""},
                                                                      {" [a", "b]"},
                                                                      {" ;a", ""},
                                                                      {"\t#a", ""},
                                                                      {"a=b", ""},
                                                                      {"a", "b\\"},
                                                                      {"a", " b"},
                                                                      {"a", "\"b\""}})
        EXPECT_TRUE(refuses(-1, MORVShareRSectionSet("global", Hash{{key, value}}.get()))) << key;
    EXPECT_TRUE(is(root, after));
}

// The changes whose interruptions are tried out.
struct Interrupted {
    const char *what;
    int (*change)();
    const char *folder;  // that is there afterwards, and before
    const char *old_folder;
};
const Interrupted kInterrupted[] = {
    {"add",
     [] {
         return set(nullptr, {"new", "/volume1/new", "", "", "alice", "", 4});
     },
     "volume1/new", nullptr},
    {"move",
     [] {
         return set("plans", {"crew", "/volume1/moved"});
     },
     "volume1/moved", "volume1/plans"},
    {"delete", [] { return MORVShareDelete("plans"); }, nullptr, "volume1/plans"},
    {"section",
     [] {
         return MORVShareRSectionSet("global", Hash{{"a", "b"}}.get()) == 1 ? 0 : -1;
     },
     nullptr, nullptr},
};

// Whether the folders are where the configuration says.
testing::AssertionResult has_folders(const Root &root, const Interrupted &c, bool done) {
    const auto is_there = [&](const char *folder) {
        return folder && stat_of(root.dir() + "/" + folder).st_ino != 0;
    };
    for (const char *folder : {c.folder, c.old_folder}) {
        const bool wanted = folder == (done ? c.folder : c.old_folder);
        if (folder && is_there(folder) != wanted)
            return testing::AssertionFailure() << folder << (wanted ? " is not there" : " is there");
    }
    return testing::AssertionSuccess();
}

TEST(ShareChange, ThatFailsHasChangedAllOrNothing) {
    const Root root;
    const Files before = root.files();
    for (const Interrupted &c : kInterrupted) {
        root.start_again();
        ASSERT_EQ(c.change(), 0) << c.what;
        const Files after = root.files();
        const int faults = for_each_sys_fault([&](Sys which, int nth) {
            SCOPED_TRACE(std::string(c.what) + ": " + sys_name(which) + " " + std::to_string(nth));
            root.start_again();
            EXPECT_TRUE(open_mirror());
            const int descriptors = open_descriptors();
            int result;
            bool reached;
            {
                const SysFault fault(which, nth);
                result = c.change();
                reached = fault.reached();
            }
            EXPECT_EQ(open_descriptors(), descriptors);
            EXPECT_NE(seen("public"), "-");
            const bool done = root.files() == after;
            EXPECT_TRUE(is(root, done ? after : before, false));
            EXPECT_TRUE(has_folders(root, c, done) || (done && result == -1));
            EXPECT_TRUE(done || result == -1);
            EXPECT_EQ(done ? 0 : c.change(), 0) << "a retry works";
            return reached && !testing::Test::HasFailure();
        });
        EXPECT_GT(faults, 40) << c.what;
    }
}

TEST(ShareChange, ThatIsKilledIsFinishedOrForgotten) {
    const Root root;
    const Files before = root.files();
    for (const Interrupted &c : kInterrupted) {
        root.start_again();
        ASSERT_EQ(c.change(), 0) << c.what;
        const Files after = root.files();
        int nth = 1;
        for (int code = -1; code != 0 && nth < 2000 && !testing::Test::HasFailure(); ++nth) {
            SCOPED_TRACE(std::string(c.what) + ": killed at call " + std::to_string(nth));
            root.start_again();
            EXPECT_TRUE(open_mirror());
            code = in_child([&] {
                kill_at_call(nth);
                return c.change() == 0 ? 0 : 1;
            });
            EXPECT_NE(code, 1);
            // A new version that was not decided on may lie there until the next change.
            EXPECT_NE(seen("public"), "-");
            if (root.files() != after) {
                EXPECT_EQ(root.files(), before);
                EXPECT_EQ(c.change(), 0) << "a retry works";
                EXPECT_TRUE(has_folders(root, c, true));
            }
            EXPECT_TRUE(is(root, after, false));
        }
        EXPECT_GT(nth, 20) << c.what;
    }
}

}  // namespace
