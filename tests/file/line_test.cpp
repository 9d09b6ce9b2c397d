#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <stdlib.h>

#include <string>

#include "file/edits.h"
#include "support/hashes.h"
#include "support/scratch.h"

using namespace file_test;
using namespace testing_support;

namespace {

using Names = std::vector<std::string>;

constexpr int kAfter = MORV_LINE_AFTER, kLast = MORV_LINE_LAST, kPrefix = MORV_LINE_PREFIX;
constexpr int kSuffix = MORV_LINE_SUFFIX, kNoCase = MORV_LINE_NOCASE;

TEST(LineMatch, FollowsItsFlags) {
    const struct {
        const char *line, *pattern;
        int flags, result;
    } cases[] = {{"root:x:0\n", "x:0", 0, 1},
                 {"root:x:0\n", "root", kPrefix, 1},
                 {"root:x:0\n", "x:0", kPrefix, 0},
                 {"root:x:0\n", "x:0", kSuffix, 1},
                 {"root:x:0\n", "x:", kSuffix, 0},
                 {"root:x:0", "x:0", kSuffix, 0},
                 {"a\n", "longer than the line", kSuffix, 0},
                 {"ab\n", "a", kPrefix | kSuffix, 1},
                 {"#root\n", "root", 0, 0},
                 {";root\n", "root", 0, 0},
                 {" #root\n", "root", 0, 1},
                 {"ROOT\n", "root", 0, 0},
                 {"ROOT\n", "rOOt", kNoCase, 1},
                 {"Stra\xc3\x9f\n", "STRASS", kNoCase, 1},
                 {"\xce\xb1\xce\xb2\n", "\xce\x91\xce\x92", kNoCase | kSuffix, 1},
                 {"bad \xff\n", "bad", kNoCase, 0},
                 {"fine\n", "\xff", kNoCase, 0},
                 {"fine\n", "", 0, 1}};
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.line) + c.pattern);
        EXPECT_EQ(MLIBILineMatch(c.line, c.pattern, c.flags), c.result);
    }
}

TEST(FieldMatch, ComparesPiecesInOrder) {
    const struct {
        const char *line;
        Names fields;
        int result;
    } cases[] = {{"root:x:0\n", {"root"}, 1},
                 {"root:x:0\n", {"", "x"}, 1},
                 {"root:x:0\n", {"root", "y"}, 0},
                 {"root:x:0\n", {"", "", "0\n"}, 1},
                 {"root:x:0\n", {"", "", "0"}, 0},
                 {"root:x:0\n", {"", "", "", ""}, 0},
                 {"a::c\n", {"a", "c\n"}, 1},
                 {"::a\n", {"a\n"}, 1},
                 {"root:x:0\n", {}, 1},
                 {"#root:x\n", {"#root"}, 0},
                 {"\n", {""}, 1},
                 {"", {""}, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(MLIBIFileMatch(c.line, List(c.fields).get(), ":"), c.result);
    }
    EXPECT_EQ(MLIBIFileMatch("a", nullptr, ":"), 1);
}

TEST(GetLine, AnswersTheFirstOrTheLastMatch) {
    ScratchRoot root;
    const std::string path = root.write("f", "#a0\na1\nb\na22");
    const char *const p = path.c_str();
    char line[4] = "zz";
    EXPECT_EQ(MLIBFileGetLine(p, "a", line, sizeof line, 0), 3);
    EXPECT_STREQ(line, "a1");
    EXPECT_EQ(MLIBFileGetLine(p, "a", line, sizeof line, MORV_LINE_LAST), 4);
    EXPECT_STREQ(line, "a22");
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MLIBFileGetLine(p, "a22", line, 3, 0)));
    EXPECT_STREQ(line, "a22");
    EXPECT_TRUE(gives(0, ERR_KEY_NOT_FOUND, MLIBFileGetLine(p, "zzz", line, sizeof line, 0)));

    char *copy = nullptr;
    EXPECT_EQ(MLIBFileGetLineByKey(p, List({"a22"}).get(), ":", &copy), 1);
    EXPECT_STREQ(copy, "a22");
    free(copy);
    EXPECT_TRUE(gives(0, ERR_KEY_NOT_FOUND, MLIBFileGetLineByKey(p, List({"w"}).get(), ":", &copy)));
}

TEST(LineEdits, ChangeWhatTheyAreToldAndNothingElse) {
    const std::string users = "#u:1\nu:1:a\nv:1:b\nu:2:c";
    const List u({"u"}), second({"", "2"}), zz({"zz"});
    const Edit edits[] = {
        {"add", "a\nb\na\n", call<MLIBFileAddLine>("a", "new", 0), 1, 0, "new\na\nb\na\n"},
        {"add", "a\nb\na\n", call<MLIBFileAddLine>("a", "new", kAfter), 1, 0, "a\nnew\nb\na\n"},
        {"add", "a\nb\na\n", call<MLIBFileAddLine>("a", "new", kLast), 1, 0, "a\nb\nnew\na\n"},
        {"add", "a\nb\na\n", call<MLIBFileAddLine>("a", "new", kLast | kAfter), 1, 0, "a\nb\na\nnew\n"},
        {"add", "a\nb", call<MLIBFileAddLine>("b", "new", kAfter), 1, 0, "a\nb\nnew\n"},
        {"add", "a\nb", call<MLIBFileAddLine>("b", "new", 0), 1, 0, "a\nnew\nb"},
        {"add", "a\n", call<MLIBFileAddLine>(nullptr, "new", 0), 1, 0, "new\na\n"},
        {"add", "a\n", call<MLIBFileAddLine>(nullptr, "new", kAfter), 1, 0, "a\nnew\n"},
        {"add", "a", call<MLIBFileAddLine>(nullptr, "new", kAfter), 1, 0, "a\nnew\n"},
        {"add", "", call<MLIBFileAddLine>(nullptr, "new", 0), 1, 0, "new\n"},
        {"add", "", call<MLIBFileAddLine>(nullptr, "new", kAfter), 1, 0, "new\n"},
        {"add", "#a\n", call<MLIBFileAddLine>("a", "new", 0), 0, ERR_KEY_NOT_FOUND, "#a\n"},
        {"set", "x\na1\na2\n", call<MLIBFileSetLine>("a", "new", 0), 1, 0, "x\nnew\na2\n"},
        {"set", "x\na1\na2", call<MLIBFileSetLine>("a", "new", kLast), 1, 0, "x\na1\nnew\n"},
        {"set", "x\na1\na2\n", call<MLIBFileSetLine>("a", nullptr, 0), 1, 0, "x\na2\n"},
        {"set", "x\n", call<MLIBFileSetLine>("a", "new", 0), 0, ERR_KEY_NOT_FOUND, "x\n"},
        {"set", "a", call<MLIBFileSetLine>("a", nullptr, 0), 1, 0, ""},
        {"add by fields", users, call<MLIBFileAddLineByKey>(u.get(), "new", kAfter, ":"), 1, 0,
         "#u:1\nu:1:a\nnew\nv:1:b\nu:2:c"},
        {"add by fields", users, call<MLIBFileAddLineByKey>(second.get(), "new", 0, ":"), 1, 0,
         "#u:1\nu:1:a\nv:1:b\nnew\nu:2:c"},
        {"add by fields", users, call<MLIBFileAddLineByKey>(zz.get(), "new", 0, ":"), 0, ERR_KEY_NOT_FOUND,
         users},
        {"set by fields", users, call<MLIBFileSetLineByKey>(u.get(), "u:9\n", ":"), 2, 0,
         "#u:1\nu:9\nv:1:b\nu:9\n"},
        {"set by fields", users, call<MLIBFileSetLineByKey>(zz.get(), "x", ":"), 0, 0, users},
        {"replace", std::string("aaa a\n#a\nx\0a\n", 13), call<MLIBFileReplaceSubStr>("aa", "b"), 1, 0,
         std::string("ba a\n#a\nx\0a\n", 12)},
        {"replace", std::string("ba a\n#a\nx\0a\n", 12), call<MLIBFileReplaceSubStr>("a", "aa"), 4, 0,
         std::string("baa aa\n#aa\nx\0aa\n", 16)},
        {"replace", "a\n", call<MLIBFileReplaceSubStr>("zz", "y"), 0, 0, "a\n"},
        {"comment", "a=1\n#a=2\n;a=3\nb=1\n", call<MLIBFileComment>("a=", 1, kPrefix), 1, 0,
         ";a=1\n#a=2\n;a=3\nb=1\n"},
        {"comment", ";a=1\n#a=2\n;a=3\nb=1\n", call<MLIBFileComment>("a=1", 0, 0), 1, 0,
         "a=1\n#a=2\n;a=3\nb=1\n"},
        {"comment", "a=1\n#a=2\n;a=3", call<MORVFileLineComment>("a", 0, 0), 1, 0, "a=1\na=2\n;a=3"},
        {"comment", "a=1\n", call<MORVFileLineComment>("a", 1, 0), 1, 0, "#a=1\n"},
        {"comment", "a=1\n", call<MORVFileLineComment>("zzz", 1, 0), 0, ERR_KEY_NOT_FOUND, "a=1\n"},
        {"invert", "a=1\na=2\n;a=3\nb=1\n", call<MLIBFileIInverse>("a=", ';', 0), 3, 0,
         ";a=1\n;a=2\na=3\nb=1\n"},
    };
    expect_edits(edits);
}

TEST(LineEdits, MakeAMissingFileWhenALineIsAddedOrSet) {
    ScratchRoot root;
    const std::string added = root.path("added"), set = root.path("set"), empty = root.path("empty");
    EXPECT_EQ(MLIBFileAddLine(added.c_str(), "a", "new", 0), 1);
    EXPECT_EQ(MLIBFileSetLine(set.c_str(), "a", "new", 0), 1);
    EXPECT_EQ(MLIBFileSetLine(empty.c_str(), "a", nullptr, 0), 1);
    EXPECT_EQ(root.read("added") + root.read("set") + root.read("empty"), "new\nnew\n");
    EXPECT_TRUE(BlMLIBFileExist(empty.c_str()));
}

TEST(ReadLines, ComesInPiecesOf1023Bytes) {
    ScratchRoot root;
    const std::string longest(1022, 'x');
    const std::string path = root.write("f", "a\n" + longest + "\n" + longest + "xy\nlast");
    List list;
    EXPECT_EQ(MLIBFileReadLines(path.c_str(), list.address()), 0);
    EXPECT_EQ(list.items(), (Names{"a\n", longest + "\n", longest + "x", "y\n", "last"}));
    EXPECT_EQ(MLIBFileMatchLineNo(path.c_str(), "a"), 1);
    EXPECT_EQ(MLIBFileMatchLineNo(path.c_str(), longest.c_str()), 2);
    EXPECT_EQ(MLIBFileMatchLineNo(path.c_str(), "y"), 4) << "each piece counts as a line";
    EXPECT_EQ(MLIBFileMatchLineNo(path.c_str(), "las"), 5) << "the last character of a piece never counts";
    EXPECT_EQ(MLIBFileMatchLineNo(path.c_str(), (longest + "xy").c_str()), 0);
}

TEST(EnumDir, PushesTheNamesThatMatch) {
    ScratchRoot root;
    for (const char *name : {"d/a.conf", "d/b.conf", "d/conf.a", "d/#c.conf", "d/.hidden.conf"})
        root.write(name, "");
    const std::string path = root.path("d");
    const auto found = [&](const char *pattern, int flags) {
        List list;
        MLIBSzListSortItems(list.get(), SZLIST_MODE_SORT);
        EXPECT_EQ(MLIBFileEnumDir(path.c_str(), pattern, list.address(), flags), list.get()->nItem);
        return list.items();
    };
    EXPECT_EQ(found(".conf", kSuffix), (Names{".hidden.conf", "a.conf", "b.conf"}));
    EXPECT_EQ(found("conf", kPrefix), Names{"conf.a"});
    EXPECT_EQ(found("", 0), (Names{".hidden.conf", "a.conf", "b.conf", "conf.a"}));
}

}  // namespace
