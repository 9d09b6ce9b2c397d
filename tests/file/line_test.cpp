#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <string>

#include "support/hashes.h"
#include "support/scratch.h"

using namespace testing_support;

namespace {

using Names = std::vector<std::string>;

TEST(LineMatch, FollowsItsFlags) {
    const struct {
        const char *line, *pattern;
        int flags, result;
    } cases[] = {
        {"root:x:0\n", "x:0", 0, 1},
        {"root:x:0\n", "root", MORV_LINE_PREFIX, 1},
        {"root:x:0\n", "x:0", MORV_LINE_PREFIX, 0},
        {"root:x:0\n", "x:0", MORV_LINE_SUFFIX, 1},
        {"root:x:0\n", "x:", MORV_LINE_SUFFIX, 0},
        {"root:x:0", "x:0", MORV_LINE_SUFFIX, 0},
        {"a\n", "longer than the line", MORV_LINE_SUFFIX, 0},
        {"ab\n", "a", MORV_LINE_PREFIX | MORV_LINE_SUFFIX, 1},
        {"#root\n", "root", 0, 0},
        {";root\n", "root", 0, 0},
        {" #root\n", "root", 0, 1},
        {"ROOT\n", "root", 0, 0},
        {"ROOT\n", "rOOt", MORV_LINE_NOCASE, 1},
        {"Stra\xc3\x9f"
         "e\n",
         "STRASSE", MORV_LINE_NOCASE, 1},
        {"\xce\xb1\xce\xb2\n", "\xce\x91\xce\x92", MORV_LINE_NOCASE | MORV_LINE_SUFFIX, 1},
        {"bad \xff\n", "bad", MORV_LINE_NOCASE, 0},
        {"fine\n", "\xff", MORV_LINE_NOCASE, 0},
        {"fine\n", "", 0, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.line) + c.pattern);
        EXPECT_EQ(MLIBILineMatch(c.line, c.pattern, c.flags), c.result);
    }
    for (int i = 0; i < 3; ++i) {
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_EQ(MLIBILineMatch(i == 0 ? nullptr : "a", i == 1 ? nullptr : "a", i == 2 ? -1 : 0), 0);
        EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    }
}

TEST(FieldMatch, ComparesPiecesInOrder) {
    const struct {
        const char *line;
        Names fields;
        int result;
    } cases[] = {
        {"root:x:0\n", {"root"}, 1},
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
        {"", {""}, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(MLIBIFileMatch(c.line, List(c.fields).get(), ":"), c.result);
    }
    EXPECT_EQ(MLIBIFileMatch("a", nullptr, ":"), 1);
    EXPECT_EQ(MLIBIFileMatch("a", nullptr, nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

TEST(GetLine, AnswersTheFirstOrTheLastMatch) {
    ScratchRoot root;
    const std::string path = root.write("f", "#a0\na1\nb\na22");
    char line[4] = "zz";
    EXPECT_EQ(MLIBFileGetLine(path.c_str(), "a", line, sizeof line, 0), 3);
    EXPECT_STREQ(line, "a1");
    EXPECT_EQ(MLIBFileGetLine(path.c_str(), "a", line, sizeof line, MORV_LINE_LAST), 4);
    EXPECT_STREQ(line, "a22");
    EXPECT_EQ(MLIBFileGetLine(path.c_str(), "a22", line, 3, 0), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
    EXPECT_STREQ(line, "a22");
    EXPECT_EQ(MLIBFileGetLine(path.c_str(), "zzz", line, sizeof line, 0), 0);
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_NOT_FOUND);
    EXPECT_EQ(MLIBFileGetLine(path.c_str(), "a", line, 0, 0), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

TEST(AddLine, InsertsWhereItIsTold) {
    ScratchRoot root;
    const struct {
        const char *before, *pattern;
        int flags, result;
        const char *after;
    } cases[] = {
        {"a\nb\na\n", "a", 0, 1, "new\na\nb\na\n"},
        {"a\nb\na\n", "a", MORV_LINE_AFTER, 1, "a\nnew\nb\na\n"},
        {"a\nb\na\n", "a", MORV_LINE_LAST, 1, "a\nb\nnew\na\n"},
        {"a\nb\na\n", "a", MORV_LINE_LAST | MORV_LINE_AFTER, 1, "a\nb\na\nnew\n"},
        {"a\nb", "b", MORV_LINE_AFTER, 1, "a\nb\nnew\n"},
        {"a\nb", "b", 0, 1, "a\nnew\nb"},
        {"a\n", nullptr, 0, 1, "new\na\n"},
        {"a\n", nullptr, MORV_LINE_AFTER, 1, "a\nnew\n"},
        {"a", nullptr, MORV_LINE_AFTER, 1, "a\nnew\n"},
        {"", nullptr, 0, 1, "new\n"},
        {"", nullptr, MORV_LINE_AFTER, 1, "new\n"},
        {"#a\n", "a", 0, 0, "#a\n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.before);
        const std::string path = root.write("f", c.before);
        EXPECT_EQ(MLIBFileAddLine(path.c_str(), c.pattern, "new", c.flags), c.result);
        EXPECT_EQ(root.read("f"), c.after);
    }
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_NOT_FOUND);
    EXPECT_EQ(MLIBFileAddLine(root.path("made").c_str(), "a", "new", 0), 1);
    EXPECT_EQ(root.read("made"), "new\n");
    EXPECT_EQ(MLIBFileAddLine(root.dir().c_str(), nullptr, "new", MORV_LINE_AFTER), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
    EXPECT_EQ(MLIBFileAddLine("x", nullptr, nullptr, 0), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

TEST(SetLine, ReplacesOrDeletesOneLine) {
    ScratchRoot root;
    const struct {
        const char *before, *line;
        int flags, result;
        const char *after;
    } cases[] = {
        {"x\na1\na2\n", "new", 0, 1, "x\nnew\na2\n"},
        {"x\na1\na2", "new", MORV_LINE_LAST, 1, "x\na1\nnew\n"},
        {"x\na1\na2\n", nullptr, 0, 1, "x\na2\n"},
        {"x\n", "new", 0, 0, "x\n"},
        {"a", nullptr, 0, 1, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.before);
        EXPECT_EQ(MLIBFileSetLine(root.write("f", c.before).c_str(), "a", c.line, c.flags), c.result);
        EXPECT_EQ(root.read("f"), c.after);
    }
    EXPECT_EQ(MLIBFileSetLine(root.path("made").c_str(), "a", "new", 0), 1);
    EXPECT_EQ(root.read("made"), "new\n");
    EXPECT_EQ(MLIBFileSetLine(root.path("empty").c_str(), "a", nullptr, 0), 1);
    EXPECT_TRUE(BlMLIBFileExist(root.path("empty").c_str()));
}

TEST(LinesByFields, AreReadReplacedAndInserted) {
    ScratchRoot root;
    const std::string path = root.write("f", "#u:1\nu:1:a\nv:1:b\nu:2:c", 0640);
    List u({"u"});
    char *line = nullptr;
    EXPECT_EQ(MLIBFileGetLineByKey(path.c_str(), List({"", "2"}).get(), ":", &line), 1);
    EXPECT_STREQ(line, "u:2:c");
    free(line);
    EXPECT_EQ(MLIBFileGetLineByKey(path.c_str(), List({"w"}).get(), ":", &line), 0);
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_NOT_FOUND);

    EXPECT_EQ(MLIBFileAddLineByKey(path.c_str(), u.get(), "w:3", MORV_LINE_AFTER, ":"), 1);
    EXPECT_EQ(root.read("f"), "#u:1\nu:1:a\nw:3\nv:1:b\nu:2:c");
    EXPECT_EQ(MLIBFileAddLineByKey(path.c_str(), List({"zz"}).get(), "w:3", 0, ":"), 0);
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_NOT_FOUND);

    EXPECT_EQ(MLIBFileSetLineByKey(path.c_str(), u.get(), "u:9\n", ":"), 2);
    EXPECT_EQ(root.read("f"), "#u:1\nu:9\nw:3\nv:1:b\nu:9\n");
    struct stat before, after;
    stat(path.c_str(), &before);
    EXPECT_EQ(MLIBFileSetLineByKey(path.c_str(), List({"zz"}).get(), "x", ":"), 0);
    stat(path.c_str(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(MLIBFileSetLineByKey(path.c_str(), List().get(), "x", ":"), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS) << "no fields would mean every line";
}

TEST(ReplaceSubStr, CountsWithoutOverlaps) {
    ScratchRoot root;
    const std::string path = root.write("f", std::string("aaa a\n#a\nx\0a\n", 13));
    EXPECT_EQ(MLIBFileReplaceSubStr(path.c_str(), "aa", "b"), 1);
    EXPECT_EQ(root.read("f"), std::string("ba a\n#a\nx\0a\n", 12));
    EXPECT_EQ(MLIBFileReplaceSubStr(path.c_str(), "a", "aa"), 4);
    EXPECT_EQ(root.read("f"), std::string("baa aa\n#aa\nx\0aa\n", 16));
    EXPECT_EQ(MLIBFileReplaceSubStr(path.c_str(), "zz", "y"), 0);
    EXPECT_EQ(MLIBFileReplaceSubStr(path.c_str(), "", "y"), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

TEST(Comment, AndRestoreAreEachOthersInverse) {
    ScratchRoot root;
    const std::string before = "a=1\n#a=2\n;a=3\nb=1\n";
    const std::string path = root.write("f", before);
    EXPECT_EQ(MLIBFileComment(path.c_str(), "a=", 1, MORV_LINE_PREFIX), 1);
    EXPECT_EQ(root.read("f"), ";a=1\n#a=2\n;a=3\nb=1\n");
    EXPECT_EQ(MLIBFileComment(path.c_str(), "a=1", 0, 0), 1);
    EXPECT_EQ(root.read("f"), before);
    EXPECT_EQ(MORVFileLineComment(path.c_str(), "a", 0, 0), 1);
    EXPECT_EQ(root.read("f"), "a=1\na=2\n;a=3\nb=1\n");
    EXPECT_EQ(MORVFileLineComment(path.c_str(), "zzz", 1, 0), 0);
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_NOT_FOUND);
    EXPECT_EQ(MLIBFileIInverse(path.c_str(), "a=", ';', 0), 3);
    EXPECT_EQ(root.read("f"), ";a=1\n;a=2\na=3\nb=1\n");
    EXPECT_EQ(MLIBFileIInverse(path.c_str(), "a=", '!', 0), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(MLIBFileComment((root.dir() + "/missing").c_str(), "a", 1, 0), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
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
    EXPECT_EQ(MLIBFileReadLines(root.dir().c_str(), list.address()), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_READ_FAILED);
    EXPECT_EQ(MLIBFileMatchLineNo((root.dir() + "/missing").c_str(), "a"), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
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
    EXPECT_EQ(found(".conf", MORV_LINE_SUFFIX), (Names{".hidden.conf", "a.conf", "b.conf"}));
    EXPECT_EQ(found("conf", MORV_LINE_PREFIX), Names{"conf.a"});
    EXPECT_EQ(found("", 0), (Names{".hidden.conf", "a.conf", "b.conf", "conf.a"}));
    List list;
    EXPECT_EQ(MLIBFileEnumDir((root.dir() + "/missing").c_str(), "", list.address(), 0), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
}

}  // namespace
