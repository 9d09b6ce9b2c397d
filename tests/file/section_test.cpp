#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <string.h>

#include <string>

#include "file/edits.h"
#include "support/hashes.h"
#include "support/scratch.h"

using namespace file_test;
using namespace testing_support;

namespace {

using Pairs = std::map<std::string, std::string>;
using Names = std::vector<std::string>;

TEST(SectionLine, NeedsItsBracketsAtTheEnds) {
    const struct {
        const char *line;
        int is_section, is_named_a;
    } cases[] = {
        {"[a]\n", 1, 1},      {"[a]", 1, 1},   {"[a] \t\v\f\r\n", 1, 1}, {" [a]\n", 0, 0}, {"[ a ]\n", 1, 0},
        {"[a]x\n", 0, 0},     {"[A]\n", 1, 0}, {"[ab]\n", 1, 0},         {"[a]]\n", 1, 0}, {"[a\n", 0, 0},
        {"[a] # b]\n", 1, 0}, {"[\n", 0, 0},   {"[]\n", 1, 0},           {"#[a]\n", 0, 0}, {"\n", 0, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(MLIBIFileIsSection(c.line, int(strlen(c.line))), c.is_section);
        EXPECT_EQ(MLIBIFileMatchSection(c.line, int(strlen(c.line)), "a"), c.is_named_a);
    }
    EXPECT_EQ(MLIBIFileMatchSection("[]", 2, ""), 1);
    EXPECT_EQ(MLIBIFileMatchSection("[abc]", 2, "abc"), 0) << "no byte beyond the length counts";
}

TEST(GetSection, ReadsTheFirstOfThatName) {
    ScratchRoot root;
    const struct {
        const char *why, *content;
        Pairs pairs;
    } cases[] = {
        {"plain", "x=0\n[a]\nk=1\n \"l\" = \" 2 \"\n[b]\nk=3\n", {{"k", "1"}, {"l", " 2 "}}},
        {"only the first", "[a]\nk=1\n[b]\n[a]\nk=2\n", {{"k", "1"}}},
        {"comments with a sign are pairs", "[a]\n#k=1\n;l=2\n# none\n", {{"#k", "1"}, {";l", "2"}}},
        {"the last of a key", "[a]\nk=1\nk=2", {{"k", "2"}}},
        {"ends at any bracket", "[a]\nk=1\n[broken\nl=2\n", {{"k", "1"}}},
        {"an indented bracket does not end it", "[a]\n [b]\nk=1\n", {{"k", "1"}}},
        {"empty", "[a]\n[b]\nk=1\n", {}},
        {"empty at the end", "[a]", {}},
        {"the name elsewhere first", "a=a\n[xa]\n[ab]\nk=1\n[a]\nk=2\n", {{"k", "2"}}},
        {"no such section", "[A]\nk=1\n", {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.why);
        Hash hash;
        EXPECT_EQ(MLIBFileGetSection(root.write("f", c.content).c_str(), "a", hash.address()),
                  int(c.pairs.size()));
        EXPECT_EQ(hash.pairs(), c.pairs);
    }
}

TEST(GetSection, LeavesTheHashAloneWhenThereIsNone) {
    ScratchRoot root;
    const std::string path = root.write("f", "[a]\nk=1\n\n");
    Hash hash{{"kept", "1"}};
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_TRUE(gives(1, ERR_SUCCESS, MLIBFileGetSection(path.c_str(), "b", hash.address())));
    EXPECT_TRUE(gives(2, ERR_BAD_PARAMETERS, MLIBFileGetSection(path.c_str(), "a", hash.address())))
        << "the splitter's code, for the blank line";
}

TEST(EnumSection, ListsNamesAsTheyStand) {
    ScratchRoot root;
    List list({"before"});
    EXPECT_EQ(
        MLIBFileEnumSection(root.write("f", "[b]\n[ a ]\nx=1\n[b] \n [no]\n[broken\n[x]y]\n[]\n").c_str(),
                            list.address()),
        6);
    EXPECT_EQ(list.items(), (Names{"before", "b", " a ", "b", "x]y", ""}));

    const std::string longest(1020, 'n');
    List names;
    EXPECT_EQ(MLIBFileEnumSection(root.write("f", "[" + longest + "]\n").c_str(), names.address()), 1);
    EXPECT_EQ(names.items(), Names{longest});
    MLIBErrSet(ERR_SUCCESS);
    root.write("f", "[" + longest + "n]\n");
    EXPECT_TRUE(gives(-1, ERR_SUCCESS, MLIBFileEnumSection(root.path("f").c_str(), names.address())));
}

TEST(SectionEdits, KeepCommentsAndEverythingOutside) {
    const Hash pair{{"n", "9"}}, none;
    const MLIBSZHASH *const n = pair.get();
    const std::string top = "top=1\n\n", rest = "[b]\n\n x=1\r\n[broken\n", last = "[c]\nlast";
    const std::string before =
        top + "[a]\nk=1\n# kept\n\n;kept too\n  # indented goes\n" + rest + "[a] \nk=2\n" + last;
    const std::string all_but_last = before.substr(0, before.size() - last.size());
    const Edit edits[] = {
        {"add", "[b]\nx=1\n", call<ErrMLIBFileAddSection>("a", n, nullptr), 1, 0, "[b]\nx=1\n[a]\nn=9\n"},
        {"add", "[b]\nx=1", call<ErrMLIBFileAddSection>("a", n, nullptr), 1, 0, "[b]\nx=1\n[a]\nn=9\n"},
        {"add an empty one", "", call<ErrMLIBFileAddSection>("a", none.get(), nullptr), 1, 0, "\n[a]\n"},
        {"there already", "[a] \ny", call<ErrMLIBFileAddSection>("a", n, nullptr), 0, 0, "[a] \ny"},
        {"line feed", "", call<ErrMLIBFileAddSection>("a\nb", n, nullptr), -1, ERR_BAD_PARAMETERS, ""},
        {"bad format", "", call<ErrMLIBFileAddSection>("a", n, "%s\n"), -1, ERR_BAD_PARAMETERS, ""},
        {"set", before, call<ErrMLIBFileSetSection>("a", nullptr, n, nullptr), 1, 0,
         top + "[a]\nn=9\n# kept\n;kept too\n" + rest + "[a]\nn=9\n" + last},
        {"rename", before, call<ErrMLIBFileSetSection>("c", "d", n, "\t%s = %s\n"), 1, 0,
         all_but_last + "[d]\n\tn = 9\n"},
        {"rename badly", before, call<ErrMLIBFileSetSection>("a", "x\ny", n, nullptr), -1, ERR_BAD_PARAMETERS,
         before},
        {"remove", before, call<ErrMLIBFileRemoveSection>("a"), 1, 0,
         top + "# kept\n;kept too\n" + rest + last},
        {"make it for a key", "[a]\nk=1\n", call<ErrSetSecKeyVal>("b", "x", "1", nullptr), 1, 0,
         "[a]\nk=1\n[b]\nx=1\n"},
        {"set its key", "[b]\nx=1\n[c]\n", call<ErrSetSecKeyVal>("b", "x", "3", nullptr), 1, 0,
         "[b]\nx=3\n[c]\n"},
        {"no empty section is left behind", "[a]\n", call<ErrSetSecKeyVal>("b", "x", "1\n2", nullptr), -1,
         ERR_BAD_PARAMETERS, "[a]\n"},
        {"the key would open a section", "[a]\n", call<ErrSetSecKeyVal>("b", "[x", "1]", nullptr), -1,
         ERR_BAD_PARAMETERS, "[a]\n"},
        {"unless indented", "[a]\n", call<ErrSetSecKeyVal>("a", "[x", "1]", "\t%s=%s\n"), 1, 0,
         "[a]\n\t[x=1]\n"},
    };
    expect_edits(edits);
    ScratchRoot root;
    const std::string path = root.write("f", before);
    EXPECT_TRUE(gives(0, ERR_KEY_NOT_FOUND, ErrMLIBFileRemoveSection(path.c_str(), "d")));
    EXPECT_EQ(root.read("f"), before);
}

TEST(SetSecKeyVal, KeepsCommentsOnceAndPairsBehindEmptyOnes) {
    ScratchRoot root;
    const std::string path = root.write("f", "[a]\n#x=1\n;y=2\nempty=\nk=1\n  #z=3\n");
    for (const char *value : {"2", "3"})
        EXPECT_EQ(ErrSetSecKeyVal(path.c_str(), "a", "k", value, nullptr), 1);
    const std::string text = root.read("f");
    EXPECT_TRUE(text.ends_with("\n#x=1\n;y=2\n") || text.ends_with("\n#x=1\n;y=2\n#z=3\n")) << text;
    Hash a;
    MLIBFileGetSection(path.c_str(), "a", a.address());
    EXPECT_EQ(a.pairs(), (Pairs{{"#x", "1"}, {";y", "2"}, {"empty", ""}, {"k", "3"}, {"#z", "3"}}));
}

}  // namespace
