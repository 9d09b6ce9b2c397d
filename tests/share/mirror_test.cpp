#include <morvsdk/hash.h>
#include <stdlib.h>

#include "shares.h"
#include "support/outcome.h"
#include "support/process.h"
#include "support/refused.h"

using namespace testing_support;
using namespace share_test;

namespace {

TEST(ShareMirror, HoldsWhatASectionSays) {
    const AccountRoot root;
    const struct {
        const char *body;
        const char *record;  // behind the name; "-" for none
    } cases[] = {
        {"guest ok=yes\nwriteable=no\n", "|/p|||||1|1|0"},
        {"guest ok=yes\nwriteable=no\nwrite list=@users\n", "|/p|||@users||2|1|0"},
        {"guest ok=YES\nWriteAble = Yes\n", "|/p|||||2|1|0"},
        {"guest ok=no\nwriteable=no\n", "|/p|||||4|1|0"},
        {"guest ok=no\nwriteable=yes\n", "|/p|||||1|1|0"},
        {"guest ok=yes\nwriteable=yes\nread list=@Users\n", "|/p||||@users|1|1|0"},
        {"invalid users=@users\nwrite list=@users\n", "|/p||@users|@users||4|1|0"},
        {"browseable = no\nftp disable list=yes\nftp disable modify=no\nftp disable download=yes\n",
         "|/p|||||1|0|5"},
        {"browseable = No\nftp disable list=YES\nftp disable download=Yes\n", "|/p|||||1|0|5"},
        {"comment=\"  two  \"\n", "|/p|  two  ||||1|1|0"},
        {"comment=a=b\n", "|/p|a=b||||1|1|0"},
        {"invalid users= ALICE ,, alice,gone,@GRÖSSE,nobody,@none\n", "|/p||alice,@Größe|||1|1|0"},
        {"write list=\"Bob Smith\",\"zoë\"\n", "|/p|||Bob Smith,zoë||1|1|0"},
        {"; a comment\n# another = one\n\n  comment = x  \r\n", "|/p|x||||1|1|0"},
        {"comment=a\ncomment=b\n", "|/p|b||||1|1|0"},
        {"no pair\n", "-"},
        {"=value\n", "-"},
        {"path=relative\n", "-"},
    };
    for (const auto &c : cases) {
        root.write(kConf, std::string("path=/lost\n[a]\npath=/p\n") + c.body + "[end]\npath=/end\n");
        const std::string record = *c.record == '-' ? "-" : std::string("a") + c.record;
        EXPECT_EQ(seen("A"), record) << c.body;
        EXPECT_EQ(seen("end"), "end|/end|||||1|1|0") << c.body;
    }
}

TEST(ShareMirror, LeavesOutWhatIsNoShare) {
    const AccountRoot root;
    root.write(kConf,
               "[empty]\n[Twice]\npath=/first\n[tWICE]\npath=/second\n[bad]\npath=/x\nno pair\nlost=1\n"
               "[this name is longer than 32 characters]\npath=/x\n[\xff]\npath=/x\n[a/b]\npath=/x\n"
               "[GlObAl]\nworkgroup=W\n[größe]\r\npath=/g\r\n[ blank]\npath=/x\n[last]\npath=/x\n  "
               "[inside]\n[open\n");
    EXPECT_EQ(all_shares(), (std::vector<std::string>{"größe", "Twice"}));
    EXPECT_EQ(seen("TWICE"), "Twice|/first|||||1|1|0");
}

TEST(ShareMirror, TakesFilesOfAnySize) {
    const AccountRoot root;
    const std::string line(size_t{10} << 20, 'x');
    std::string list, sections;
    for (int i = 0; i < 5000; ++i)
        list += (i == 2500 ? "zoë," : "user" + std::to_string(i) + ",");
    for (int i = 0; i < 300; ++i)
        sections += "[s" + std::to_string(i) + "]\npath=/s" + std::to_string(i) + "\n";
    root.write(kConf,
               "[big]\npath=/big\ncomment=" + line + "\nread list=" + list + "\n# " + line + "\n" + sections);
    MORVSHARE *share = nullptr;
    ASSERT_EQ(MORVShareGet("big", &share), 0);
    EXPECT_EQ(strlen(share->szComment), line.size());
    EXPECT_STREQ(share->szReadList, "zoë");
    MORVShareFree(share);
    EXPECT_EQ(all_shares().size(), 301u);
}

TEST(ShareMirror, IsBuiltAnewWhenItIsNotCurrent) {
    const AccountRoot root;
    const std::string store = root.path("tmp/.db.morvshare.0957");
    EXPECT_NE(seen("plans"), "-");
    const auto rebuilt_by = [&](const std::function<void()> &change) {
        Mirror held = open_mirror();
        const ino_t before = store_inode(root);
        change();
        const std::string read = seen("plans");
        MORVSHAREDB *db = held.release();
        EXPECT_EQ(MORVShareDBCheckAndRebuild(&db), 1) << "who holds the old one is told";
        held.reset(db);
        return read != "-" && MORVShareDBCheckExists(db, "PLANS") == 1 && store_inode(root) != before;
    };
    EXPECT_TRUE(rebuilt_by([&] { root.write(kConf, root.read(kConf) + "[x]\npath=/x\n"); }));
    EXPECT_TRUE(rebuilt_by([&] {
        const std::string copy = root.path("copy");
        write_file(copy, root.read(kConf));
        rename(copy.c_str(), root.path(kConf).c_str());
    }));
    EXPECT_TRUE(rebuilt_by([&] { remove(store.c_str()); }));
    EXPECT_TRUE(rebuilt_by([&] {
        remove(store.c_str());
        write_file(store, std::string(20000, 'g'));
    }));
    EXPECT_TRUE(rebuilt_by([&] {
        remove(store.c_str());
        EXPECT_EQ(symlink("elsewhere", store.c_str()), 0);
    }));
    const ino_t before = store_inode(root);
    EXPECT_NE(seen("public"), "-");
    EXPECT_EQ(store_inode(root), before) << "a current one is used as it is";

    // A record that no share can be.
    {
        const Mirror db = open_mirror();
        EXPECT_EQ(MORVBDbSet(db->pShare, "PLANS", 6, "forged", 6), 0);
    }
    EXPECT_NE(seen("plans"), "-");
    EXPECT_EQ(all_shares(), (std::vector<std::string>{"plans", "public", "x"}));
    remove(root.path(kConf).c_str());
    EXPECT_TRUE(gives<MORVSHAREDB *>(nullptr, ERR_PATH_NOT_FOUND, MORVShareDBOpen()));
}

TEST(ShareMirror, IsBuiltFromAnOpenStream) {
    const AccountRoot root;
    MORVSHAREDB *db = nullptr;
    EXPECT_EQ(MORVShareDBOpenFile(&db, root.path("tmp/other").c_str()), 1);
    EXPECT_EQ(MORVShareDBOpenFile(&db, root.path("tmp/other").c_str()), 0);
    const Mirror guard(db);
    const std::string path = root.write("other.conf", "lost\n[a]\npath=/a\n[plans]\npath=/b\n[new]\npath=/n");
    FILE *const stream = fopen(path.c_str(), "r");
    char lost[16];
    EXPECT_TRUE(fgets(lost, sizeof lost, stream));
    EXPECT_EQ(MORVShareDBBuild(stream, db), 0);
    fclose(stream);
    void *buffer = nullptr;
    int size = 0;
    MORVSHARE *share = nullptr;
    EXPECT_EQ(MORVShareDBGet(db, "PLANS", &buffer, &size), 0);
    EXPECT_EQ(MORVShareDBUnpack(buffer, size, &share), 0);
    EXPECT_STREQ(share->szPath, "/volume1/plans") << "a name that is taken is passed over";
    EXPECT_EQ(MORVShareDBGet(db, "NEW", &buffer, &size), 0);
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_SHARE, MORVShareDBGet(db, "new", &buffer, &size)));
    MORVShareFree(share);
    free(buffer);
    void *time = nullptr;
    EXPECT_EQ(MORVBDbConfSyncTimeGet(db->pShare, &time), 0);
    EXPECT_EQ(*static_cast<int32_t *>(time), int32_t(stat_of(path).st_mtime));
    MORVBDbFree(time);
    FILE *const folder = fopen(root.dir().c_str(), "r");
    EXPECT_TRUE(gives(-1, ERR_READ_FAILED, MORVShareDBBuild(folder, db)));
    fclose(folder);
}

TEST(ShareStore, AddsReplacesAndRemoves) {
    const AccountRoot root;
    const Mirror db = open_mirror();
    MORVSHARE share = Spec{"New", "/n"}.record();
    EXPECT_EQ(MORVShareDBSet(db.get(), nullptr, &share), 0);
    EXPECT_TRUE(gives(-1, ERR_SHARE_EXISTS, MORVShareDBSet(db.get(), nullptr, &share)));
    share = Spec{"Größe", "/g"}.record();
    EXPECT_EQ(MORVShareDBSet(db.get(), "NEW", &share), 0);
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_SHARE, MORVShareDBSet(db.get(), "NEW", &share)));
    EXPECT_TRUE(gives(-1, ERR_SHARE_EXISTS, MORVShareDBSet(db.get(), "PLANS", &share)));
    EXPECT_EQ(MORVShareDBCheckExists(db.get(), "PLANS"), 1);
    EXPECT_EQ(MORVShareDBCheckExists(db.get(), "NEW"), 0);
    EXPECT_EQ(MORVShareDBCheckExists(db.get(), "GRÖSSE"), 1);
    share = Spec{"Global", "/n"}.record();
    EXPECT_TRUE(gives(-1, ERR_INVALID_SHARENAME, MORVShareDBSet(db.get(), nullptr, &share)));
    List list;
    EXPECT_EQ(MORVShareDBEnumTypeMatched(db.get(), MORV_SHARE_READ_ONLY, list.address()), 3);
    EXPECT_EQ(MORVShareDBEnumI(
                  db.get(),
                  [](const MORVSHARE *s, const void *path) {
                      return int{strcmp(s->szPath, static_cast<const char *>(path)) == 0};
                  },
                  "/g", list.address()),
              1);
    EXPECT_EQ(list.items().back(), "Größe");
    void *key = nullptr, *value = nullptr;
    int key_size = 0, size = 0;
    MORVBDbCursorSetType(db->pShare, MORV_BDB_FIRST);
    EXPECT_EQ(MORVShareDBCursorGet(db.get(), &key, &key_size, &value, &size), 0);
    EXPECT_STREQ(static_cast<char *>(key), "GRÖSSE") << "reserved records are passed over";
    free(key);
    free(value);
    EXPECT_EQ(MORVShareDBDelete(db.get(), "GRÖSSE"), 0);
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_SHARE, MORVShareDBDelete(db.get(), "GRÖSSE")));
}

TEST(ShareList, IsChosenByNameFolderAndAccess) {
    const AccountRoot root;
    root.write(kConf,
               "[Music]\npath=/volume1/music\nguest ok=yes\nwriteable=yes\n[möbel]\npath=/volume10\n"
               "[movies]\npath=/volume1\nguest ok=no\nwriteable=no\n");
    using Names = std::vector<std::string>;
    const auto names = [](int (*push)(MLIBSZLIST **, const char *), const char *selector) {
        List list;
        const int count = push(list.address(), selector);
        EXPECT_EQ(count, int(list.items().size())) << selector;
        return list.items();
    };
    EXPECT_EQ(all_shares(), (Names{"movies", "Music", "möbel"}));
    EXPECT_EQ(names(MORVShareEnumByPrefix, "MÖ"), (Names{"möbel"}));
    EXPECT_EQ(names(MORVShareEnumByPrefix, "m"), (Names{"movies", "Music", "möbel"}));
    EXPECT_EQ(names(MORVShareEnumByRegex, "^[mM](u|ov)"), (Names{"movies", "Music"}));
    EXPECT_EQ(names(MORVShareEnumByMntPath, "/volume1"), (Names{"movies", "Music"}));
    EXPECT_EQ(names(MORVShareEnumByMntPath, "/volume1/"), (Names{"movies", "Music"}));
    EXPECT_EQ(names(MORVShareEnumByMntPath, "/"), (Names{"movies", "Music", "möbel"}));
    List list;
    EXPECT_EQ(MORVShareEnum(list.address(), MORV_SHARE_READ_WRITE | MORV_SHARE_NO_ACCESS), 2);
    EXPECT_TRUE(refuses(-1, MORVShareEnumByRegex(list.address(), "(")));
    EXPECT_TRUE(refuses(-1, MORVShareEnumByPrefix(list.address(), "\xff")));

    root.write(
        "proc/mounts",
        "none / rootfs rw 0 0\n/dev/md2 /volume1 ext4 rw 0 0\n/dev/md3 /volume\\0610\\040x ext4\nbad\n");
    Hash volumes;
    EXPECT_EQ(MORVShareVolumeMap(volumes.address()), 3);
    EXPECT_EQ(volumes.pairs(), (std::map<std::string, std::string>{
                                   {"Music", "/volume1"}, {"movies", "/volume1"}, {"möbel", "/"}}));
    char path[15];
    EXPECT_EQ(MORVSharePathGet("MUSIC", path, sizeof path), 0);
    EXPECT_STREQ(path, "/volume1/music");
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVSharePathGet("music", path, sizeof path - 1)));
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_SHARE, MORVSharePathGet("gone", path, sizeof path)));
    const Holder holder(MORV_LOCK_SMB | MORV_LOCK_WRITE);
    EXPECT_TRUE(gives(-1, ERR_LOCK_FAILED, MORVShareEnum(list.address(), 0)));
}

TEST(ReservedSection, IsReadInAnySpelling) {
    const AccountRoot root;
    root.write(kConf,
               "[GLOBAL]\n  WorkGroup = \"HOME\"\nno pair\n;c=d\nlog = a,b\n[x]\npath=/x\n[home]\npath=/h\n");
    Hash hash;
    EXPECT_EQ(MORVShareRSectionGet("Global", hash.address()), 0);
    EXPECT_EQ(hash.pairs(), (std::map<std::string, std::string>{{"workgroup", "HOME"}, {"log", "a,b"}}));
    char value[5] = "keep";
    EXPECT_EQ(MORVShareRSectionGetValue("global", "none", nullptr, value, sizeof value), 0);
    EXPECT_STREQ(value, "keep");
    EXPECT_EQ(MORVShareRSectionGetValue("global", " WORKGROUP\t", nullptr, value, sizeof value), 4);
    EXPECT_STREQ(value, "HOME");
    EXPECT_EQ(MORVShareRSectionGetValue("global", "log", ",", value, sizeof value), 1);
    EXPECT_STREQ(value, "a");
    EXPECT_TRUE(
        gives(-1, ERR_NOT_ENOUGH_SPACE, MORVShareRSectionGetValue("global", "workgroup", nullptr, value, 4)));
    EXPECT_TRUE(gives(-1, ERR_KEY_NOT_FOUND, MORVShareRSectionGet("printers", hash.address())));
    EXPECT_TRUE(gives(-1, ERR_KEY_NOT_FOUND, MORVShareRSectionGet("MORV@DEPRECATED", hash.address())));
}

TEST(ShareFunctions, RefuseWhatIsMissing) {
    MORVSHAREDB *none = nullptr;
    MLIBSZLIST *no_list = nullptr;
    const MORVSHARE nameless = {};
    const Refused calls[] = {
        MORVShareGet(nullptr, nullptr),
        MORVShareEnum(&no_list, 0),
        MORVShareEnumByPrefix(&no_list, "a"),
        MORVShareEnumByMntPath(&no_list, "relative"),
        MORVSharePathGet("a", nullptr, 1),
        MORVShareVolumeMap(nullptr),
        ParseRights(nullptr, "a", nullptr, 0),
        MORVShareRSectionGet("global", nullptr),
        MORVShareRSectionGetValue("global", nullptr, nullptr, nullptr, 0),
        MORVShareRSectionSet("global", nullptr),
        MORVShareRSectionRemove(nullptr),
        MORVShareSet(nullptr, &nameless),
        MORVShareDelete(""),
        MORVShareDBOpenFile(nullptr, "/x"),
        MORVShareDBCheckAndRebuild(&none),
        MORVShareDBBuild(nullptr, nullptr),
        MORVShareDBClose(nullptr),
        MORVShareDBGet(nullptr, "A", nullptr, nullptr),
        MORVShareDBCursorGet(nullptr, nullptr, nullptr, nullptr, nullptr),
        MORVShareDBDelete(nullptr, "A"),
        MORVShareDBCheckExists(nullptr, "A"),
        MORVShareDBSet(nullptr, nullptr, nullptr),
        MORVShareDBDump(nullptr),
        MORVShareDBEnumI(nullptr, nullptr, nullptr, &no_list),
        MORVShareDBEnumTypeMatched(nullptr, 0, &no_list),
        ShareAllocFromConf("a", nullptr),
    };
}

}  // namespace
