#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <functional>
#include <map>
#include <string>

#include "file/edits.h"
#include "support/hashes.h"
#include "support/process.h"
#include "support/scratch.h"

using namespace file_test;
using namespace testing_support;

namespace {

using Pairs = std::map<std::string, std::string>;

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
        const std::string path = root.write("f", c.content);
        char value[64] = "untouched";
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_TRUE(gives(c.result, c.result == 0 ? ERR_KEY_NOT_FOUND : ERR_SUCCESS,
                          MLIBFileGetKeyValue(path.c_str(), c.key, value, sizeof value, c.flags)));
        EXPECT_STREQ(value, c.value);
    }
}

TEST(GetKeyValue, NeverWritesBeyondTheBuffer) {
    ScratchRoot root;
    const std::string path = root.write("f", "key=12345\n");
    const auto get_into = [&](char *buffer, int size) {
        return MLIBFileGetKeyValue(path.c_str(), "key", buffer, size, 0);
    };
    char value[8] = "zzzzzzz";
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, get_into(value, 5)));
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, get_into(value, 0)));
    EXPECT_STREQ(value, "zzzzzzz") << "what does not fit leaves the buffer alone";
    EXPECT_EQ(get_into(value, 6), 6);
    EXPECT_STREQ(value, "12345");
    EXPECT_EQ(value[6], 'z');
    EXPECT_EQ(get_into(nullptr, 0), 6) << "null and 0 measure";
}

TEST(KeyEdits, ChangeJustTheLinesOfTheKey) {
    const std::string text = "a=1\n\nkey=old\n\n", keys = "key=1\n#key=2\n \"key\" = 3\nkeys=4\nkey\n=key=5";
    const Hash pairs{{"a", "3"}, {"c", "4"}}, none;
    const auto set = [](auto key, auto value, const char *format = nullptr) {
        return call<MLIBFileSetKeyValue>(key, value, format);
    };
    const Edit edits[] = {
        {"replaced in place", "a=1\nkey=old\nb=2\n", set("key", "new"), 1, 0, "a=1\nkey=new\nb=2\n"},
        {"the key keeps its spelling", "\t \"key\"  =  old\n", set("key", "new"), 1, 0, "\t \"key\"  =new\n"},
        {"further lines go", "key=1\na=1\nkey=2\n#key=3\nkey=4\n", set("key", "n"), 1, 0,
         "key=n\na=1\n#key=3\n"},
        {"added at the end", "a=1\n", set("key", "v"), 1, 0, "a=1\nkey=v\n"},
        {"a last line without line feed is continued", "a=1", set("key", "v"), 1, 0, "a=1key=v\n"},
        {"an empty file", "", set("key", "v"), 1, 0, "key=v\n"},
        {"quoted by the caller's format", "key=\"old\"\n", set("key", "a b", "%s=\"%s\"\n"), 1, 0,
         "key=\"a b\"\n"},
        {"format with percent and width", "", set("k", "v", "%-3s=100%% %s\n"), 1, 0, "k  =100% v\n"},
        {"a bare key gets a value", "key\nb=1\n", set("key", "v"), 1, 0, "key=v\nb=1\n"},
        {"a bare key with carriage return", "key\r\n", set("key", "v"), 1, 0, "key=v\n"},
        {"carriage returns elsewhere stay", "a=1\r\nkey=1\r\nb=2\r\n", set("key", "2"), 1, 0,
         "a=1\r\nkey=2\nb=2\r\n"},
        {"a line that begins with the sign", "=key=1\n", set("key", "2"), 1, 0, "=key=2\n"},
        {"an empty value", "key=1\n", set("key", ""), 1, 0, "key=\n"},
        {"NUL bytes elsewhere stay", std::string("a=\0\0x\nkey=1\nb\0\n", 16), set("key", "2"), 1, 0,
         std::string("a=\0\0x\nkey=2\nb\0\n", 16)},
        {"not UTF-8", "\xff\xfe=1\nkey=\x80\n", set("\xff\xfe", "\xc3"), 1, 0, "\xff\xfe=\xc3\nkey=\x80\n"},
        {"every line of the key goes", keys, call<MLIBFileRemoveKey>("key"), 4, 0, "#key=2\nkeys=4\n"},
        {"no such key", "keys=4\n", call<MLIBFileRemoveKey>("key"), 0, ERR_KEY_NOT_FOUND, "keys=4\n"},
        {"appended", "a=1\n", call<MLIBFileAppendKey>("b", "2", nullptr), 1, 0, "a=1\nb=2\n"},
        {"there already", "a=1\n", call<MLIBFileAppendKey>("a", "2", nullptr), 0, ERR_KEY_EXISTS, "a=1\n"},
        {"merged", "a=1\n", call<MLIBFileMergePairs>(pairs.get(), nullptr), 0, 0, "a=3\nc=4\n"},
        {"none merged", "a=1\n", call<MLIBFileMergePairs>(none.get(), nullptr), -1, ERR_OP_FAILURE, "a=1\n"},
        {"every blank line", text, call<MLIBFileRemoveKey>(""), -1, ERR_BAD_PARAMETERS, text},
    };
    expect_edits(edits);
}

TEST(KeyEdits, RefuseWhatWouldBreakTheFile) {
    const std::string text = "a=1\n\nkey=old\n\n";
    const struct {
        const char *key, *value, *format;
    } cases[] = {{"key", "a\nroot=1", nullptr},    {"k\ney", "v", nullptr},  {"key", "v", "%s=%d\n"},
                 {"key", "v", "%s=%s%s\n"},        {"key", "v", "%s=%*s\n"}, {"key", "v", "%s=%n%s\n"},
                 {"", "every blank line", nullptr}};
    for (const auto &[key, value, format] : cases) {
        const Edit edits[] = {
            {"set", text, call<MLIBFileSetKeyValue>(key, value, format), -1, ERR_BAD_PARAMETERS, text},
            {"append", text, call<MLIBFileAppendKey>(key, value, format), -1, ERR_BAD_PARAMETERS, text},
        };
        expect_edits(edits);
    }
}

TEST(SetKeyValue, KeepsOwnerModeAttributesAndLinks) {
    ScratchRoot root;
    const std::string path = root.write("real", "key=1\n", 0640);
    const bool owned = chown(path.c_str(), 12, 34) == 0;
    const bool attributed = setxattr(path.c_str(), "user.note", "kept", 4, 0) == 0;
    const std::string link = root.path("folder/link");
    ASSERT_EQ(symlink("../real", link.c_str()), 0);

    ASSERT_EQ(MLIBFileSetKeyValue(link.c_str(), "key", "2", nullptr), 1);
    EXPECT_EQ(root.read("real"), "key=2\n");
    struct stat st;
    ASSERT_EQ(lstat(link.c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode)) << "the link survives";
    st = stat_of(path);
    EXPECT_EQ(st.st_mode, mode_t(S_IFREG | 0640));
    EXPECT_TRUE(!owned || (st.st_uid == 12 && st.st_gid == 34));
    char value[8];
    EXPECT_EQ(getxattr(path.c_str(), "user.note", value, sizeof value), attributed ? 4 : -1);
}

TEST(SetKeyValue, KeepsSetUserIdForItsOwnerToo) {
    ScratchRoot root;
    const std::string path = root.write("f", "key=1\n", 0755);
    // As root writing clears nothing, so an ordinary owner it is.
    const bool is_root = geteuid() == 0;
    ASSERT_TRUE(!is_root || (chmod(root.dir().c_str(), 0777) == 0 && chown(path.c_str(), 1234, 1234) == 0));
    ASSERT_EQ(chmod(path.c_str(), 06755), 0);
    EXPECT_EQ(in_child([&] {
                  if (is_root && (setgid(1234) != 0 || setuid(1234) != 0)) return 2;
                  return MLIBFileSetKeyValue(path.c_str(), "key", "2", nullptr) == 1 ? 0 : 1;
              }),
              0);
    EXPECT_EQ(mode_of(path), 06755u);
}

TEST(NewFiles, AreGivenTheirModeByTheUmaskOrByTheFunction) {
    ScratchRoot root;
    const bool foreign =
        chown(root.dir().c_str(), uid_t(-1), 34) == 0 && chmod(root.dir().c_str(), 02755) == 0;
    const std::string set = root.path("set"), appended = root.path("appended"), link = root.path("dangling"),
                      own = root.path("own");
    ASSERT_EQ(symlink("made", link.c_str()), 0);
    Hash pairs{{"k", "v"}};
    const mode_t mask = umask(027);
    EXPECT_EQ(MLIBFileSetKeyValue(set.c_str(), "k", "v", nullptr), 1);
    EXPECT_EQ(MLIBFileSetKeyValue(link.c_str(), "k", "v", nullptr), 1);
    EXPECT_EQ(MLIBFileAppendKey(appended.c_str(), "k", "v", "%s=\"%s\"\n"), 1);
    EXPECT_EQ(MLIBFileSetKeys(own.c_str(), pairs.get(), nullptr, "%s=\"%s\"\n"), 1);
    umask(mask);
    EXPECT_EQ(root.read("set"), "k=v\n");
    EXPECT_EQ(root.read("made"), "k=v\n") << "a link to nothing is followed";
    EXPECT_EQ(root.read("appended"), "k=\"v\"\n");
    EXPECT_EQ(root.read("own"), "k=\"v\"\n");
    EXPECT_TRUE(mode_of(set) == 0640 && mode_of(appended) == 0640 && mode_of(own) == 0644);
    EXPECT_EQ(stat_of(set).st_gid, foreign ? 34 : getegid());
    EXPECT_EQ(stat_of(own).st_gid, getegid()) << "whatever the folder's group";
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
    EXPECT_EQ(mode_of(path), 0600u);
    EXPECT_EQ(root.names(), std::vector<std::string>{"new"});
}

TEST(SetKeyValue, HandlesLinesOfAnyLengthUpTo64MiB) {
    ScratchRoot root;
    // The whole file fills a buffer to the byte, or all but a byte of it, or one byte more.
    for (const size_t size : {32767u, 32768u, 32769u, 131071u, 131072u, 131073u, 64u << 20}) {
        SCOPED_TRACE(size);
        const std::string huge(size - 9, 'x');
        const std::string path = root.write("f", "a=" + huge + "\nkey=1\n");
        ASSERT_EQ(MLIBFileSetKeyValue(path.c_str(), "key", "2", nullptr), 1);
        EXPECT_EQ(MLIBFileGetKeyValue(path.c_str(), "a", nullptr, 0, 0), int(huge.size()) + 1);
        EXPECT_TRUE(root.read("f") == "a=" + huge + "\nkey=2\n");
        Hash all;
        EXPECT_EQ(MLIBFileGetPair(path.c_str(), all.address()), 2);
        EXPECT_TRUE(all.pairs().at("a") == huge);
    }
}

TEST(SetKeys, ReplacesRemovesAndAddsInOneRewrite) {
    ScratchRoot root;
    const std::string path =
        root.write("f",
                   "# comment\n  # indented comment\n\n  \"b\"  = old\na=old\nb=later lines stay\ngone=1\n"
                   "gone=later lines stay\nbare\nlast=1");
    Hash set{{"a", "1"}, {"b", "2"}, {"bare", "3"}, {"gone", "4"}, {"new", "5"}, {"", "no key"}};
    Hash remove{{"gone", ""}, {"nowhere", ""}};
    EXPECT_EQ(MLIBFileSetKeys(path.c_str(), set.get(), remove.get(), nullptr), 6);
    EXPECT_EQ(root.read("f"),
              "# comment\n  # indented comment\n\nb=2\na=1\nb=later lines stay\ngone=4\nbare=3\n"
              "last=1new=5\n");
    EXPECT_EQ(set.pairs(), Pairs{});
    EXPECT_EQ(remove.pairs(), (Pairs{{"nowhere", ""}})) << "what was not handled stays";
}

TEST(SetKeys, HandlesOneHashForBothAndKeepsItWhenNothingWasWritten) {
    ScratchRoot root;
    const std::string path = root.write("f", "a=0\nb=1\n");
    Hash both{{"a", "1"}}, bad{{"a", "1"}, {"b", "line\nfeed"}};
    EXPECT_TRUE(refuses(-1, MLIBFileSetKeys(path.c_str(), bad.get(), nullptr, nullptr)));
    EXPECT_EQ(bad.pairs().size(), 2u);
    EXPECT_EQ(root.read("f"), "a=0\nb=1\n");
    EXPECT_EQ(MLIBFileSetKeys(path.c_str(), both.get(), both.get(), nullptr), 1);
    EXPECT_EQ(root.read("f"), "b=1\n") << "the key is removed, and not added again";
    EXPECT_EQ(both.pairs(), Pairs{});
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
}

TEST(ReadersOfPairs, DoNotLoseTheLineAfterAnEmptyValue) {
    ScratchRoot root;
    const Pairs pairs{{"a", ""}, {"b", "2"}, {"c", ""}, {"d", "4"}, {"e", ""}, {"f", "6"}, {"g", ""}};
    const std::string path = root.write("f", "[s]\na=\nb=2\nc= \t \nd=4\ne=\r\nf=6\ng=\"\"\n");
    const char *const p = path.c_str();
    const List wanted({"b", "d", "f", "g", "a", "c", "e"});
    const std::function<int(MLIBSZHASH **)> readers[] = {
        [&](auto hash) { return MLIBFileGetKeys(p, nullptr, hash, "="); },
        [&](auto hash) { return MLIBFileGetKeys(p, wanted.get(), hash, "="); },
        [&](auto hash) { return MLIBFileGetPair(p, hash); },
        [&](auto hash) { return MLIBFileGetSection(p, "s", hash); }};
    for (const auto &read : readers) {
        Hash found;
        EXPECT_EQ(read(found.address()), 7);
        EXPECT_EQ(found.pairs(), pairs);
    }
}

TEST(GetPair, ReadsEveryPairAndLeavesTheSplittersErrorBehind) {
    ScratchRoot root;
    Hash clean, odd;
    const std::string path = root.write("f", "a=1\n#x\n;y=2\n\"b\" = c=d\n");
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_TRUE(gives(2, ERR_SUCCESS, MLIBFileGetPair(path.c_str(), clean.address())));
    EXPECT_EQ(clean.pairs(), (Pairs{{"a", "1"}, {"b", "c=d"}}));

    root.write("f", "a=1\n\n  =2\nbare\n");
    EXPECT_EQ(MLIBFileGetPair(path.c_str(), odd.address()), 1);
    EXPECT_STREQ(MORVErrorGetFile(), "string_sep_pair");
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

TEST(SetPair, WritesInPlaceAndNeverForABadFormat) {
    ScratchRoot root;
    const std::string path = root.write("f", "old=1\n");
    ASSERT_EQ(link(path.c_str(), root.path("other").c_str()), 0);
    Hash pairs{{"a", "1"}, {"b", "2"}};
    EXPECT_TRUE(refuses(-1, ErrMLIBFileSetPair(path.c_str(), pairs.get(), "%s:%s\n")));
    EXPECT_EQ(root.read("f"), "old=1\n");
    EXPECT_EQ(ErrMLIBFileSetPair(path.c_str(), pairs.get(), nullptr), 0);
    EXPECT_EQ(root.read("other"), "a=1\nb=2\n") << "the same file, not a new one";
    EXPECT_TRUE(refuses(-1, ErrMLIBFileSetPair(path.c_str(), Hash{{"", "x"}}.get(), nullptr)));
    EXPECT_EQ(root.read("f"), "a=1\nb=2\n");
}

TEST(CheckKeyValue, IgnoresAsciiCase) {
    ScratchRoot root;
    const std::string path =
        root.write("f", "on=YES\nlong=" + std::string(511, 'x') + "\nlonger=" + std::string(512, 'x') + "\n");
    const auto check = [&](const char *key, const std::string &expected, int fallback) {
        return BlMORVFileCheckKeyValue(path.c_str(), key, expected.c_str(), fallback);
    };
    EXPECT_EQ(check("on", "yes", 0), 1);
    EXPECT_EQ(check("on", "no", 1), 0);
    EXPECT_EQ(check("on", "yess", 1), 0);
    EXPECT_EQ(check("absent", "yes", 7), 7);
    EXPECT_EQ(check("long", std::string(511, 'X'), 7), 1);
    EXPECT_EQ(check("longer", std::string(512, 'x'), 7), 0);
}

TEST(LineKeyMatch, CutsTheLineItWasGiven) {
    const struct {
        const char *line, *key, *left;
        int result;
    } cases[] = {{" \"a b\" = c=d", "a b", " \"a b\" ", 1},
                 {"#a=1", "a", "#a=1", 0},
                 {"a", "a", "a", 1},
                 {"=a=1", "a", "=a", 1},
                 {"a=1", "b", "a", 0},
                 {"", "", "", 1},
                 {"==", "", "==", 1}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.line);
        std::string line = c.line;
        EXPECT_EQ(MLIBILineKeyMatch(line.data(), c.key), c.result);
        EXPECT_STREQ(line.c_str(), c.left);
    }
}

}  // namespace
