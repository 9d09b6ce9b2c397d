#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <sys/stat.h>

#include <string>

#include "support/hashes.h"
#include "support/scratch.h"

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
    EXPECT_EQ(MLIBIFileMatchSection(nullptr, 2, "a"), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
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
    EXPECT_EQ(MLIBFileGetSection(path.c_str(), "b", hash.address()), 1);
    EXPECT_EQ(MLIBErrGet(), ERR_SUCCESS);
    EXPECT_EQ(MLIBFileGetSection(path.c_str(), "a", hash.address()), 2);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS) << "the splitter's, for the blank line";
    EXPECT_EQ(MLIBFileGetSection((root.dir() + "/missing").c_str(), "a", hash.address()), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
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
    EXPECT_EQ(MLIBFileEnumSection(root.write("f", "[" + longest + "n]\n").c_str(), names.address()), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_SUCCESS);
}

TEST(AddSection, StartsOnALineOfItsOwn) {
    ScratchRoot root;
    Hash hash{{"k", "1"}};
    Hash empty;
    const struct {
        const char *before;
        const MLIBSZHASH *hash;
        int result;
        const char *after;
    } cases[] = {
        {"[b]\nx=1\n", hash.get(), 1, "[b]\nx=1\n[a]\nk=1\n"},
        {"[b]\nx=1", hash.get(), 1, "[b]\nx=1\n[a]\nk=1\n"},
        {"", empty.get(), 1, "\n[a]\n"},
        {"x\n[a] \ny=1\n", hash.get(), 0, "x\n[a] \ny=1\n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.before);
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_EQ(ErrMLIBFileAddSection(root.write("f", c.before).c_str(), "a", c.hash, nullptr), c.result);
        EXPECT_EQ(root.read("f"), c.after);
        EXPECT_EQ(MLIBErrGet(), ERR_SUCCESS);
    }
    EXPECT_EQ(ErrMLIBFileAddSection((root.dir() + "/missing").c_str(), "a", hash.get(), nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
    EXPECT_EQ(root.names(), Names{"f"});
    EXPECT_EQ(ErrMLIBFileAddSection(root.write("f", "").c_str(), "a\nb", hash.get(), nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(ErrMLIBFileAddSection(root.write("f", "").c_str(), "a", hash.get(), "%s\n"), -1);
    EXPECT_EQ(root.read("f"), "");
}

TEST(ModifySection, KeepsCommentsAndEverythingOutside) {
    ScratchRoot root;
    Hash hash{{"n", "9"}};
    const std::string before =
        "top=1\n\n[a]\nk=1\n# kept\n\n;kept too\n  # indented goes\n[b]\n\n x=1\r\n[broken\n[a] "
        "\nk=2\n[c]\nlast";
    const std::string path = root.path("f");

    root.write("f", before, 0604);
    EXPECT_EQ(ErrMLIBFileSetSection(path.c_str(), "a", nullptr, hash.get(), nullptr), 1);
    EXPECT_EQ(root.read("f"),
              "top=1\n\n[a]\nn=9\n# kept\n;kept too\n[b]\n\n x=1\r\n[broken\n[a]\nn=9\n[c]\nlast");
    struct stat st;
    stat(path.c_str(), &st);
    EXPECT_EQ(st.st_mode & 07777, mode_t(0604));

    root.write("f", before);
    EXPECT_EQ(ErrMLIBFileSetSection(path.c_str(), "c", "d", hash.get(), "\t%s = %s\n"), 1);
    EXPECT_TRUE(root.read("f").ends_with("k=2\n[d]\n\tn = 9\n"));

    root.write("f", before);
    EXPECT_EQ(ErrMLIBFileRemoveSection(path.c_str(), "a"), 1);
    EXPECT_EQ(root.read("f"), "top=1\n\n# kept\n;kept too\n[b]\n\n x=1\r\n[broken\n[c]\nlast");

    root.write("f", before);
    EXPECT_EQ(ErrMLIBFileRemoveSection(path.c_str(), "nowhere"), 0);
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_NOT_FOUND);
    EXPECT_EQ(root.read("f"), before);

    EXPECT_EQ(ErrMLIBFileSetSection(path.c_str(), "a", nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(ErrMLIBFileSetSection(path.c_str(), "a", "x\ny", hash.get(), nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(ErrMLIBFileRemoveSection(root.dir().c_str(), "a"), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
    EXPECT_EQ(root.read("f"), before);
    EXPECT_EQ(root.names(), Names{"f"});
}

TEST(SetSecKeyVal, MakesTheSectionWhenItIsMissing) {
    ScratchRoot root;
    const std::string path = root.write("f", "[a]\nk=1\n");
    EXPECT_EQ(ErrSetSecKeyVal(path.c_str(), "b", "x", "1", nullptr), 1);
    EXPECT_EQ(root.read("f"), "[a]\nk=1\n[b]\nx=1\n");
    EXPECT_EQ(ErrSetSecKeyVal(path.c_str(), "b", "y", "2", nullptr), 1);
    EXPECT_EQ(ErrSetSecKeyVal(path.c_str(), "b", "x", "3", nullptr), 1);
    Hash b;
    MLIBFileGetSection(path.c_str(), "b", b.address());
    EXPECT_EQ(b.pairs(), (Pairs{{"x", "3"}, {"y", "2"}}));
    const std::string before = root.read("f");
    EXPECT_EQ(ErrSetSecKeyVal(path.c_str(), "new", "x", "a\nb", nullptr), -1);
    EXPECT_EQ(root.read("f"), before) << "what is refused leaves no empty section behind";
    EXPECT_EQ(ErrSetSecKeyVal(path.c_str(), "new", "[x", "1]", nullptr), -1) << "it would open a section";
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(root.read("f"), before);
    EXPECT_EQ(ErrSetSecKeyVal(path.c_str(), "b", "[x", "1]", "\t%s=%s\n"), 1) << "unless it is indented";
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
