#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support/outcome.h"
#include "support/scratch.h"

using namespace testing_support;

namespace {

TEST(SetContent, ReplacesOrMakesTheFileWithAnyBytes) {
    ScratchRoot root;
    const std::string bytes("a\0b\n\xFF", 5);
    const std::string path = root.write("f", "old", 0640);
    ASSERT_EQ(symlink("new", root.path("link").c_str()), 0);
    for (const std::string &name : {path, root.path("link")})
        EXPECT_EQ(MORVFileSetContent(name.c_str(), bytes.data(), bytes.size()), 0);
    EXPECT_EQ(root.read("f"), bytes);
    EXPECT_EQ(root.read("new"), bytes);
    struct stat st;
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, mode_t(0640));
    EXPECT_EQ(MORVFileSetContent(path.c_str(), nullptr, 0), 0);
    EXPECT_EQ(root.read("f"), "");
    EXPECT_EQ(MORVFileSetContent(path.c_str(), nullptr, 1), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(MORVFileSetContent(root.dir().c_str(), "x", 1), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
}

TEST(TempFile, IsPrivateAndOpen) {
    ScratchRoot root;
    std::string name = root.path("t.XXXXXX");
    FILE *stream = MLIBFileTempFileOpen(name.data());
    ASSERT_NE(stream, nullptr);
    fputs("x", stream);
    fclose(stream);
    EXPECT_EQ(mode_of(name), 0600u);
    EXPECT_EQ(read_file(name), "x");

    std::string bad = root.path("no template");
    EXPECT_TRUE(gives(nullptr, ERR_OPEN_FAILED, MLIBFileTempFileOpen(bad.data())));
}

TEST(TempName, CountsUpAlsoWhenItFails) {
    char name[64];
    const std::string prefix = "/tmp/x" + std::to_string(getpid()) + "-";
    ASSERT_EQ(MLIBFileITmpName("/tmp/x", name, sizeof name), 0);
    ASSERT_TRUE(std::string(name).starts_with(prefix));
    const int first = atoi(name + prefix.size());
    EXPECT_EQ(MLIBFileITmpName("/tmp/x", name, 5), -1);
    ASSERT_EQ(MLIBFileITmpName("/tmp/x", name, int(prefix.size() + std::to_string(first + 2).size() + 1)), 0);
    EXPECT_EQ(name, prefix + std::to_string(first + 2));
    EXPECT_EQ(MLIBFileITmpName("/tmp/x", name, -1), -1);
}

TEST(Touch, MakesWhatIsMissingAndNothingElse) {
    ScratchRoot root;
    const std::string path = root.write("f", "content");
    const timespec old[2] = {{1, 0}, {1, 0}};
    utimensat(AT_FDCWD, path.c_str(), old, 0);
    EXPECT_EQ(MLIBFileTouch(path.c_str()), 0);
    EXPECT_EQ(stat_of(path).st_mtime, 1);
    EXPECT_EQ(root.read("f"), "content");
    EXPECT_EQ(MLIBFileTouch(root.path("new").c_str()), 0);
    EXPECT_EQ(BlMLIBFileExist(root.path("new").c_str()), 1);
}

TEST(Exist, IsTrueOnlyForRegularFiles) {
    ScratchRoot root;
    const std::string path = root.write("f", "");
    ASSERT_EQ(symlink("f", root.path("link").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", root.path("dangling").c_str()), 0);
    EXPECT_EQ(BlMLIBFileExist(path.c_str()), 1);
    EXPECT_EQ(BlMLIBFileExist(root.path("link").c_str()), 1);
    EXPECT_EQ(BlMLIBFileExist(root.path("dangling").c_str()), 0);
    EXPECT_EQ(BlMLIBFileExist(root.dir().c_str()), 0);
    EXPECT_EQ(BlMLIBFileExist("/dev/null"), 0);
}

TEST(SystemCalls, ArePassedOnWithSevenCharactersOfTheMode) {
    ScratchRoot root;
    const std::string a = root.path("a"), b = root.path("b"), c = root.path("c");
    FILE *stream = pfMLIBSysFopen(a.c_str(), "wbbbbbb+");
    ASSERT_NE(stream, nullptr);
    EXPECT_TRUE(fgetc(stream) == EOF && ferror(stream))
        << "the eighth, which would allow reading, is cut off";
    fclose(stream);
    EXPECT_TRUE(pfMLIBSysFopen(nullptr, "r") == nullptr && errno == EINVAL);
    stream = pfMLIBSysFreopen(b.c_str(), "w", pfMLIBSysFdopen(open(a.c_str(), O_RDWR), "r+"));
    ASSERT_NE(stream, nullptr);
    fclose(stream);
    EXPECT_TRUE(MLIBSysRename(b.c_str(), c.c_str()) == 0 && MLIBSysUnlink(c.c_str()) == 0);
    EXPECT_EQ(MLIBSysRemove(a.c_str()), 0);
    EXPECT_TRUE(MLIBSysUnlink(c.c_str()) == -1 && errno == ENOENT);
    root.path("d/x");
    EXPECT_EQ(MLIBSysRmdir((root.dir() + "/d").c_str()), 0);
    EXPECT_EQ(root.names(), std::vector<std::string>{});
}

TEST(SystemRoot, StandsInFrontOfTheSystemsOwnPaths) {
    ScratchRoot root;
    for (const std::string &path : {root.dir() + "/missing", root.write("file", "")})
        EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, MORVSysRootSet(path.c_str())));
    root.path("tmp/x");
    ASSERT_EQ(chdir(root.dir().c_str()), 0);
    EXPECT_EQ(MORVSysRootSet("tmp/.."), 0);
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_EQ(ErrMLIBILockCheckDir(), 0) << "a relative root was resolved";
    EXPECT_EQ(root.names("tmp/lock").size(), 18u);
}

}  // namespace
