#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <map>
#include <string>

#include "support/hashes.h"
#include "support/process.h"
#include "support/scratch.h"

using namespace testing_support;

namespace {

using Pairs = std::map<std::string, std::string>;

// What MLIBFileGetKeyValue makes of `content`: its result, and the value.
std::pair<int, std::string> get(const ScratchRoot &root, const std::string &content, const char *key,
                                int flags = 0) {
    const std::string path = root.write("f", content);
    char value[64] = "untouched";
    const int result = MLIBFileGetKeyValue(path.c_str(), key, value, sizeof value, flags);
    return {result, value};
}

TEST(GetKeyValue, FollowsTheSyntaxOfKeyLines) {
    ScratchRoot root;
    const struct {
        const char *why;
        std::string content;
        const char *key;
        int flags;
        int result;
        const char *value;
    } cases[] = {
        {"plain", "a=1\nkey=value\n", "key", 0, 6, "value"},
        {"no line feed at the end", "key=value", "key", 0, 6, "value"},
        {"blanks around key and value", " \tkey \t= \tvalue \r\n", "key", 0, 6, "value"},
        {"quotes around key and value", "\"key\"=\" a b \"\n", "key", 0, 6, " a b "},
        {"one pair of quotes goes", "key=\"\"a\"\"\n", "key", 0, 4, "\"a\""},
        {"a lone quote stays", "key=\"\n", "key", 0, 2, "\""},
        {"quotes inside stay", "key=a\"b\n", "key", 0, 4, "a\"b"},
        {"backslashes stay", "key=a\\nb\n", "key", 0, 5, "a\\nb"},
        {"the value keeps further signs", "key=a=b=c\n", "key", 0, 6, "a=b=c"},
        {"a comment never matches", "#key=1\n;key=2\nkey=3\n", "key", 0, 2, "3"},
        {"an indented comment is a key", " #key=1\n", "#key", 0, 2, "1"},
        {"case matters", "Key=1\n", "key", 0, 0, "untouched"},
        {"a part of a key is another key", "mykey=1\nkey2=2\n", "key", 0, 0, "untouched"},
        {"the key as a value", "a=key\nkey=1\n", "key", 0, 2, "1"},
        {"the first line decides", "key=1\nkey=2\n", "key", 0, 2, "1"},
        {"the last line decides on demand", "key=1\nkey=2\nx=3\n", "key", MORV_KEY_LAST, 2, "2"},
        {"nothing after the sign", "key=\n", "key", 0, 0, "untouched"},
        {"nothing after the sign at the end", "key=", "key", 0, 0, "untouched"},
        {"blanks after the sign", "key= \t\n", "key", 0, 1, ""},
        {"carriage return after the sign", "key=\r\n", "key", 0, 1, ""},
        {"empty quotes", "key=\"\"\n", "key", 0, 1, ""},
        {"a bare key hides the next", "key\nkey=1\n", "key", 0, 0, "untouched"},
        {"a bare key ends the search for the last", "key=1\nkey\nkey=22\n", "key", MORV_KEY_LAST, 2, "1"},
        {"a line that begins with the sign", "=key=1\n", "key", 0, 6, "key=1"},
        {"a line ends at NUL", std::string("key=a\0b\n", 8), "key", 0, 2, "a"},
        {"a key behind NUL is none", std::string("x\0key=a\n", 8), "key", 0, 0, "untouched"},
        {"an empty file", "", "key", 0, 0, "untouched"},
        {"an empty key", "a=1\n =2\n", "", 0, 2, "2"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.why);
        MLIBErrSet(ERR_SUCCESS);
        const auto [result, value] = get(root, c.content, c.key, c.flags);
        EXPECT_EQ(result, c.result);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(MLIBErrGet(), c.result == 0 ? ERR_KEY_NOT_FOUND : ERR_SUCCESS);
    }
}

TEST(GetKeyValue, NeverWritesBeyondTheBuffer) {
    ScratchRoot root;
    const std::string path = root.write("f", "key=12345\n");
    char value[8] = "zzzzzzz";
    EXPECT_EQ(MLIBFileGetKeyValue(path.c_str(), "key", value, 5, 0), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
    EXPECT_STREQ(value, "zzzzzzz") << "what does not fit leaves the buffer alone";
    EXPECT_EQ(MLIBFileGetKeyValue(path.c_str(), "key", value, 6, 0), 6);
    EXPECT_STREQ(value, "12345");
    EXPECT_EQ(value[6], 'z');
    EXPECT_EQ(MLIBFileGetKeyValue(path.c_str(), "key", nullptr, 0, 0), 6) << "null and 0 measure";
    EXPECT_EQ(MLIBFileGetKeyValue(path.c_str(), "key", value, 0, 0), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
}

TEST(GetKeyValue, SaysWhatIsWrong) {
    ScratchRoot root;
    const std::string path = root.write("f", "key=1\n");
    const std::string missing = root.dir() + "/missing";
    char b[8];
    const struct {
        const char *path, *key;
        char *buffer;
        int size, flags, code;
    } cases[] = {
        {nullptr, "key", b, 8, 0, ERR_BAD_PARAMETERS},
        {path.c_str(), nullptr, b, 8, 0, ERR_BAD_PARAMETERS},
        {path.c_str(), "key", nullptr, 8, 0, ERR_BAD_PARAMETERS},
        {path.c_str(), "key", b, 8, -1, ERR_BAD_PARAMETERS},
        {path.c_str(), "key", b, -1, 0, ERR_BAD_PARAMETERS},
        {missing.c_str(), "key", b, 8, 0, ERR_OPEN_FAILED},
        {root.dir().c_str(), "key", b, 8, 0, ERR_OPEN_FAILED},
    };
    for (const auto &c : cases) {
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_EQ(MLIBFileGetKeyValue(c.path, c.key, c.buffer, c.size, c.flags), -1);
        EXPECT_EQ(MLIBErrGet(), c.code);
        EXPECT_STREQ(MORVErrorGetFile(), "file_get_key_value");
    }
}

TEST(SetKeyValue, ChangesJustTheLineOfTheKey) {
    ScratchRoot root;
    const struct {
        const char *why;
        std::string before;
        const char *key, *value, *format;
        std::string after;
    } cases[] = {
        {"replaced in place", "a=1\nkey=old\nb=2\n", "key", "new", nullptr, "a=1\nkey=new\nb=2\n"},
        {"the key keeps its spelling", "\t \"key\"  =  old\n", "key", "new", nullptr, "\t \"key\"  =new\n"},
        {"further lines go", "key=1\na=1\nkey=2\n#key=3\nkey=4\n", "key", "n", nullptr,
         "key=n\na=1\n#key=3\n"},
        {"added at the end", "a=1\n", "key", "v", nullptr, "a=1\nkey=v\n"},
        {"a last line without line feed is continued", "a=1", "key", "v", nullptr, "a=1key=v\n"},
        {"an empty file", "", "key", "v", nullptr, "key=v\n"},
        {"quoted by the caller's format", "key=\"old\"\n", "key", "a b", "%s=\"%s\"\n", "key=\"a b\"\n"},
        {"format with percent and width", "", "k", "v", "%-3s=100%% %s\n", "k  =100% v\n"},
        {"a bare key gets a value", "key\nb=1\n", "key", "v", nullptr, "key=v\nb=1\n"},
        {"a bare key with carriage return", "key\r\n", "key", "v", nullptr, "key=v\n"},
        {"carriage returns elsewhere stay", "a=1\r\nkey=1\r\nb=2\r\n", "key", "2", nullptr,
         "a=1\r\nkey=2\nb=2\r\n"},
        {"a line that begins with the sign", "=key=1\n", "key", "2", nullptr, "=key=2\n"},
        {"an empty value", "key=1\n", "key", "", nullptr, "key=\n"},
        {"NUL bytes elsewhere stay", std::string("a=\0\0x\nkey=1\nb\0\n", 16), "key", "2", nullptr,
         std::string("a=\0\0x\nkey=2\nb\0\n", 16)},
        {"not UTF-8", "\xff\xfe=1\nkey=\x80\n", "\xff\xfe", "\xc3", nullptr, "\xff\xfe=\xc3\nkey=\x80\n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.why);
        const std::string path = root.write("f", c.before);
        EXPECT_EQ(MLIBFileSetKeyValue(path.c_str(), c.key, c.value, c.format), 1);
        EXPECT_EQ(root.read("f"), c.after);
        EXPECT_EQ(root.names(), std::vector<std::string>{"f"});
    }
}

TEST(SetKeyValue, RefusesWhatWouldBreakTheFile) {
    ScratchRoot root;
    const std::string path = root.write("f", "key=old\n");
    const struct {
        const char *key, *value, *format;
    } cases[] = {
        {"key", "a\nroot=1", nullptr}, {"k\ney", "v", nullptr},  {"key", "v", "%s=%d\n"},
        {"key", "v", "%s=%s%s\n"},     {"key", "v", "%s=%*s\n"}, {"key", "v", "%s=%n%s\n"},
        {"key", nullptr, nullptr},     {nullptr, "v", nullptr},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.format ? c.format : "default format");
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_EQ(MLIBFileSetKeyValue(path.c_str(), c.key, c.value, c.format), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
        EXPECT_EQ(root.read("f"), "key=old\n");
    }
    EXPECT_EQ(MLIBFileSetKeyValue(root.dir().c_str(), "k", "v", nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
    EXPECT_EQ(root.names(), std::vector<std::string>{"f"});
}

TEST(SetKeyValue, KeepsOwnerModeAttributesAndLinks) {
    ScratchRoot root;
    const std::string path = root.write("real", "key=1\n", 0640);
    const bool owned = chown(path.c_str(), 12, 34) == 0;
    const bool attributed = setxattr(path.c_str(), "user.note", "kept", 4, 0) == 0;
    const std::string link = root.path("link");
    ASSERT_EQ(symlink("real", link.c_str()), 0);

    ASSERT_EQ(MLIBFileSetKeyValue(link.c_str(), "key", "2", nullptr), 1);
    struct stat st;
    ASSERT_EQ(lstat(link.c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode)) << "the link survives";
    ASSERT_EQ(lstat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode, mode_t(S_IFREG | 0640));
    if (owned) {
        EXPECT_EQ(st.st_uid, 12u);
        EXPECT_EQ(st.st_gid, 34u);
    }
    if (attributed) {
        char value[8];
        EXPECT_EQ(getxattr(path.c_str(), "user.note", value, sizeof value), 4);
    }
    EXPECT_EQ(root.read("real"), "key=2\n");
}

TEST(SetKeyValue, KeepsSetUserIdForItsOwnerToo) {
    ScratchRoot root;
    const std::string path = root.write("f", "key=1\n", 0755);
    // As root writing clears nothing, so an ordinary owner it is.
    const bool owned =
        geteuid() != 0 || (chmod(root.dir().c_str(), 0777) == 0 && chown(path.c_str(), 1234, 1234) == 0);
    ASSERT_TRUE(owned);
    ASSERT_EQ(chmod(path.c_str(), 06755), 0);
    EXPECT_EQ(in_child([&] {
                  if (geteuid() == 0 && (setgid(1234) != 0 || setuid(1234) != 0)) return 2;
                  return MLIBFileSetKeyValue(path.c_str(), "key", "2", nullptr) == 1 ? 0 : 1;
              }),
              0);
    struct stat st;
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, mode_t(06755));
}

TEST(SetKeyValue, MakesAMissingFileByTheUmask) {
    ScratchRoot root;
    const mode_t mask = umask(027);
    const std::string path = root.path("new");
    EXPECT_EQ(MLIBFileSetKeyValue(path.c_str(), "key", "v", nullptr), 1);
    const std::string dangling = root.path("dangling");
    ASSERT_EQ(symlink("made", dangling.c_str()), 0);
    EXPECT_EQ(MLIBFileSetKeyValue(dangling.c_str(), "key", "v", nullptr), 1);
    umask(mask);
    struct stat st;
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, mode_t(0640));
    EXPECT_EQ(root.read("new"), "key=v\n");
    EXPECT_EQ(root.read("made"), "key=v\n") << "a link to nothing is followed";
    EXPECT_EQ(MLIBFileSetKeyValue((root.dir() + "/no/such/dir").c_str(), "k", "v", nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
}

TEST(SetKeyValue, GivesANewFileNoMoreThanItsFolderSays) {
    ScratchRoot root;
    // The default access list u::rw,g::---,o::---, as the kernel takes it.
    const unsigned char list[] =
        "\x02\0\0\0\x01\0\x06\0\xFF\xFF\xFF\xFF\x04\0\0\0\xFF\xFF\xFF\xFF"
        "\x20\0\0\0\xFF\xFF\xFF\xFF";
    if (setxattr(root.dir().c_str(), "system.posix_acl_default", list, sizeof list - 1, 0) != 0)
        GTEST_SKIP() << "no access lists here: " << strerror(errno);
    const std::string path = root.path("new");
    ASSERT_EQ(MLIBFileSetKeyValue(path.c_str(), "secret", "v", nullptr), 1);
    struct stat st;
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, mode_t(0600));
    EXPECT_EQ(root.names(), std::vector<std::string>{"new"});
}

TEST(Writers, LeaveAloneWhatIsNoFile) {
    ScratchRoot root;
    const std::string fifo = root.path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    ASSERT_EQ(symlink("/dev/null", root.path("device").c_str()), 0);
    for (const std::string &path : {fifo, root.path("device"), root.dir()}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(MLIBFileSetKeyValue(path.c_str(), "k", "v", nullptr), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
        EXPECT_EQ(MLIBFileAppendKey(path.c_str(), "k", "v", nullptr), -1);
        EXPECT_EQ(MLIBFileAddLine(path.c_str(), nullptr, "x", MORV_LINE_AFTER), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
    }
    struct stat st;
    ASSERT_EQ(stat("/dev/null", &st), 0);
    EXPECT_TRUE(S_ISCHR(st.st_mode));
}

TEST(Writers, RefuseAnEmptyKeyWhichEveryBlankLineHolds) {
    ScratchRoot root;
    const std::string path = root.write("f", "a=1\n\nb=2\n\n");
    EXPECT_EQ(MLIBFileSetKeyValue(path.c_str(), "", "v", nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(MLIBFileRemoveKey(path.c_str(), ""), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(MLIBFileAppendKey(path.c_str(), "", "v", nullptr), -1);
    EXPECT_EQ(root.read("f"), "a=1\n\nb=2\n\n");
}

TEST(SetKeyValue, HandlesALineOf64MiB) {
    ScratchRoot root;
    const std::string huge(64u << 20, 'x');
    const std::string path = root.write("f", "a=" + huge + "\nkey=1\n");
    ASSERT_EQ(MLIBFileSetKeyValue(path.c_str(), "key", "2", nullptr), 1);
    EXPECT_EQ(MLIBFileGetKeyValue(path.c_str(), "a", nullptr, 0, 0), int(huge.size()) + 1);
    EXPECT_TRUE(root.read("f") == "a=" + huge + "\nkey=2\n");
    Hash all;
    EXPECT_EQ(MLIBFileGetPair(path.c_str(), all.address()), 2);
    EXPECT_TRUE(all.pairs().at("a") == huge);
}

TEST(RemoveKey, DropsEveryLineOfTheKey) {
    ScratchRoot root;
    const std::string path = root.write("f", "key=1\n#key=2\n \"key\" = 3\nkeys=4\nkey\n=key=5", 0600);
    EXPECT_EQ(MLIBFileRemoveKey(path.c_str(), "key"), 4);
    EXPECT_EQ(root.read("f"), "#key=2\nkeys=4\n");

    struct stat before, after;
    stat(path.c_str(), &before);
    EXPECT_EQ(MLIBFileRemoveKey(path.c_str(), "key"), 0);
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_NOT_FOUND);
    stat(path.c_str(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino) << "nothing to do, nothing rewritten";

    MLIBErrSet(ERR_SUCCESS);
    EXPECT_EQ(MLIBFileRemoveKey((root.dir() + "/missing").c_str(), "key"), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_SUCCESS) << "a missing file is no news";
    EXPECT_EQ(MLIBFileRemoveKey(root.dir().c_str(), "key"), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
}

TEST(SetKeys, ReplacesRemovesAndAddsInOneRewrite) {
    ScratchRoot root;
    const std::string path = root.write("f",
                                        "# comment\n"
                                        "  # indented comment\n"
                                        "\n"
                                        "  \"b\"  = old\n"
                                        "a=old\n"
                                        "b=later lines stay\n"
                                        "gone=1\n"
                                        "gone=later lines stay\n"
                                        "bare\n"
                                        "last=1");
    Hash set{{"a", "1"}, {"b", "2"}, {"bare", "3"}, {"gone", "4"}, {"new", "5"}, {"", "no key"}};
    Hash remove{{"gone", ""}, {"nowhere", ""}};
    EXPECT_EQ(MLIBFileSetKeys(path.c_str(), set.get(), remove.get(), nullptr), 6);
    EXPECT_EQ(root.read("f"),
              "# comment\n"
              "  # indented comment\n"
              "\n"
              "b=2\n"
              "a=1\n"
              "b=later lines stay\n"
              "gone=4\n"
              "bare=3\n"
              "last=1new=5\n");
    EXPECT_EQ(set.pairs(), Pairs{});
    EXPECT_EQ(remove.pairs(), (Pairs{{"nowhere", ""}})) << "what was not handled stays";
}

TEST(SetKeys, RemovesAKeyForGoodWhenBothHashesAreOne) {
    ScratchRoot root;
    Hash both{{"a", "1"}};
    EXPECT_EQ(MLIBFileSetKeys(root.write("f", "a=0\nb=1\n").c_str(), both.get(), both.get(), nullptr), 1);
    EXPECT_EQ(root.read("f"), "b=1\n");
    EXPECT_EQ(both.pairs(), Pairs{});
}

TEST(SetKeys, KeepsItsHashesWhenNothingWasWritten) {
    ScratchRoot root;
    Hash set{{"a", "1"}, {"b", "line\nfeed"}};
    EXPECT_EQ(MLIBFileSetKeys(root.write("f", "a=0\n").c_str(), set.get(), nullptr, nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(set.pairs().size(), 2u);
    EXPECT_EQ(root.read("f"), "a=0\n");

    const mode_t mask = umask(077);
    const bool foreign =
        chown(root.dir().c_str(), uid_t(-1), 34) == 0 && chmod(root.dir().c_str(), 02755) == 0;
    Hash fresh{{"a", "1"}};
    EXPECT_EQ(MLIBFileSetKeys(root.path("new").c_str(), fresh.get(), nullptr, "%s=\"%s\"\n"), 1);
    umask(mask);
    struct stat st;
    ASSERT_EQ(stat(root.path("new").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, mode_t(0644)) << "whatever the umask";
    EXPECT_EQ(st.st_gid, getegid()) << "whatever the folder's group; foreign: " << foreign;
    EXPECT_EQ(root.read("new"), "a=\"1\"\n");
    EXPECT_EQ(MLIBFileSetKeys(nullptr, fresh.get(), nullptr, nullptr), -1);
    EXPECT_EQ(MLIBFileSetKeys("x", nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

TEST(GetKeys, ReadsAllOrTheWantedOnes) {
    ScratchRoot root;
    const std::string path = root.write("f", "#c=0\n a = \"1\" \nb:2\nc=3=4\nnovalue\n=nokey\na=later\nd=\n");
    Hash all;
    EXPECT_EQ(MLIBFileGetKeys(path.c_str(), nullptr, all.address(), "="), 3);
    EXPECT_EQ(all.pairs(), (Pairs{{"a", "later"}, {"c", "3=4"}, {"d", ""}}));

    Hash either;
    EXPECT_EQ(MLIBFileGetKeys(path.c_str(), nullptr, either.address(), ":="), 4);
    EXPECT_EQ(either.pairs().at("b"), "2");

    for (int mode : {SZLIST_MODE_NONE, SZLIST_MODE_SORT, SZLIST_MODE_CASESORT}) {
        SCOPED_TRACE(mode);
        List wanted({"c", "a", "zzz"});
        MLIBSzListSortItems(wanted.get(), uint32_t(mode));
        Hash some{{"kept", "x"}};
        EXPECT_EQ(MLIBFileGetKeys(path.c_str(), wanted.get(), some.address(), "="), 3);
        EXPECT_EQ(some.pairs(), (Pairs{{"kept", "x"}, {"a", "1"}, {"c", "3=4"}})) << "the first line of each";
        EXPECT_EQ(wanted.items().size(), 3u) << "the caller's list is not used up";
    }

    Hash none;
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_EQ(MLIBFileGetKeys((root.dir() + "/missing").c_str(), nullptr, none.address(), "="), 1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
    EXPECT_EQ(MLIBFileGetKeys(path.c_str(), nullptr, none.address(), nullptr), 1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

TEST(ReadersOfPairs, DoNotLoseTheLineAfterAnEmptyValue) {
    ScratchRoot root;
    const Pairs pairs{{"a", ""}, {"b", "2"}, {"c", ""}, {"d", "4"}, {"e", ""}, {"f", "6"}, {"g", ""}};
    const std::string path = root.write("f", "[s]\na=\nb=2\nc= \t \nd=4\ne=\r\nf=6\ng=\"\"\n");
    Hash by_keys, by_wanted, by_pair, by_section;
    List wanted({"b", "d", "f", "g", "a", "c", "e"});
    EXPECT_EQ(MLIBFileGetKeys(path.c_str(), nullptr, by_keys.address(), "="), 7);
    EXPECT_EQ(by_keys.pairs(), pairs);
    EXPECT_EQ(MLIBFileGetKeys(path.c_str(), wanted.get(), by_wanted.address(), "="), 7);
    EXPECT_EQ(by_wanted.pairs(), pairs);
    EXPECT_EQ(MLIBFileGetPair(path.c_str(), by_pair.address()), 7);
    EXPECT_EQ(by_pair.pairs(), pairs);
    EXPECT_EQ(MLIBFileGetSection(path.c_str(), "s", by_section.address()), 7);
    EXPECT_EQ(by_section.pairs(), pairs);
}

TEST(GetPair, ReadsEveryPairAndLeavesTheSplittersErrorBehind) {
    ScratchRoot root;
    Hash clean;
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_EQ(MLIBFileGetPair(root.write("f", "a=1\n#x\n;y=2\n\"b\" = c=d\n").c_str(), clean.address()), 2);
    EXPECT_EQ(clean.pairs(), (Pairs{{"a", "1"}, {"b", "c=d"}}));
    EXPECT_EQ(MLIBErrGet(), ERR_SUCCESS);

    Hash odd;
    EXPECT_EQ(MLIBFileGetPair(root.write("f", "a=1\n\n  =2\nbare\n").c_str(), odd.address()), 1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_STREQ(MORVErrorGetFile(), "string_sep_pair");
}

TEST(SetPair, WritesInPlaceAndNeverForABadFormat) {
    ScratchRoot root;
    const std::string path = root.write("f", "old=1\n");
    const std::string other = root.path("other");
    ASSERT_EQ(link(path.c_str(), other.c_str()), 0);
    Hash pairs{{"a", "1"}, {"b", "2"}};
    EXPECT_EQ(ErrMLIBFileSetPair(path.c_str(), pairs.get(), "%s:%s\n"), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(root.read("f"), "old=1\n");
    EXPECT_EQ(ErrMLIBFileSetPair(path.c_str(), pairs.get(), nullptr), 0);
    EXPECT_EQ(root.read("other"), "a=1\nb=2\n") << "the same file, not a new one";
    EXPECT_EQ(ErrMLIBFileSetPair("/dev/full", pairs.get(), nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_WRITE_FAILED);
}

TEST(MergePairs, SetsEachKey) {
    ScratchRoot root;
    const std::string path = root.write("f", "a=0\nx=1\n");
    Hash pairs{{"a", "1"}, {"b", "2"}};
    EXPECT_EQ(MLIBFileMergePairs(path.c_str(), pairs.get(), nullptr), 0);
    EXPECT_EQ(root.read("f"), "a=1\nx=1\nb=2\n");
    Hash empty;
    EXPECT_EQ(MLIBFileMergePairs(path.c_str(), empty.get(), nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OP_FAILURE);
    EXPECT_EQ(MLIBFileMergePairs(root.dir().c_str(), pairs.get(), nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_WRITE_FAILED) << "whatever the reason";
}

TEST(AppendKey, AddsOnlyANewKey) {
    ScratchRoot root;
    const std::string path = root.write("f", "a=1\n");
    EXPECT_EQ(MLIBFileAppendKey(path.c_str(), "b", "2", nullptr), 1);
    EXPECT_EQ(MLIBFileAppendKey(path.c_str(), "a", "9", nullptr), 0);
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_EXISTS);
    EXPECT_EQ(root.read("f"), "a=1\nb=2\n");
    EXPECT_EQ(MLIBFileAppendKey(root.path("new").c_str(), "k", "v", "%s=\"%s\"\n"), 1);
    EXPECT_EQ(root.read("new"), "k=\"v\"\n");
    EXPECT_EQ(MLIBFileAppendKey(root.dir().c_str(), "k", "v", nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(MLIBFileAppendKey(path.c_str(), "c", "1\n2", nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

TEST(CheckKeyValue, IgnoresAsciiCase) {
    ScratchRoot root;
    const std::string path =
        root.write("f", "on=YES\nlong=" + std::string(511, 'x') + "\nlonger=" + std::string(512, 'x') + "\n");
    EXPECT_EQ(BlMORVFileCheckKeyValue(path.c_str(), "on", "yes", 0), 1);
    EXPECT_EQ(BlMORVFileCheckKeyValue(path.c_str(), "on", "no", 1), 0);
    EXPECT_EQ(BlMORVFileCheckKeyValue(path.c_str(), "on", "yess", 1), 0);
    EXPECT_EQ(BlMORVFileCheckKeyValue(path.c_str(), "absent", "yes", 7), 7);
    EXPECT_EQ(BlMORVFileCheckKeyValue(path.c_str(), "long", std::string(511, 'X').c_str(), 7), 1);
    EXPECT_EQ(BlMORVFileCheckKeyValue(path.c_str(), "longer", std::string(512, 'x').c_str(), 7), 0);
    EXPECT_EQ(BlMORVFileCheckKeyValue((root.dir() + "/missing").c_str(), "on", "yes", 7), 0);
    EXPECT_EQ(BlMORVFileCheckKeyValue(nullptr, "on", "yes", 7), 0);
}

TEST(LineKeyMatch, CutsTheLineItWasGiven) {
    const struct {
        const char *line, *key, *left;
        int result;
    } cases[] = {
        {" \"a b\" = c=d", "a b", " \"a b\" ", 1},
        {"#a=1", "a", "#a=1", 0},
        {"a", "a", "a", 1},
        {"=a=1", "a", "=a", 1},
        {"a=1", "b", "a", 0},
        {"", "", "", 1},
        {"==", "", "==", 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.line);
        std::string line = c.line;
        EXPECT_EQ(MLIBILineKeyMatch(line.data(), c.key), c.result);
        EXPECT_STREQ(line.c_str(), c.left);
    }
    EXPECT_EQ(MLIBILineKeyMatch(nullptr, "a"), 0);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

}  // namespace
