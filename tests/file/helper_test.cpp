#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support/process.h"
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
    struct stat st;
    ASSERT_EQ(stat(name.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, mode_t(0600));
    EXPECT_EQ(read_file(name), "x");

    std::string bad = root.path("no template");
    EXPECT_EQ(MLIBFileTempFileOpen(bad.data()), nullptr);
    EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
    EXPECT_EQ(MLIBFileTempFileOpen(nullptr), nullptr);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
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
    EXPECT_EQ(MLIBFileITmpName(nullptr, name, 5), -1);
}

TEST(Touch, MakesWhatIsMissingAndNothingElse) {
    ScratchRoot root;
    const std::string path = root.write("f", "content");
    const timespec old[2] = {{1, 0}, {1, 0}};
    utimensat(AT_FDCWD, path.c_str(), old, 0);
    EXPECT_EQ(MLIBFileTouch(path.c_str()), 0);
    struct stat st;
    stat(path.c_str(), &st);
    EXPECT_EQ(st.st_mtime, 1);
    EXPECT_EQ(root.read("f"), "content");
    EXPECT_EQ(MLIBFileTouch(root.path("new").c_str()), 0);
    EXPECT_EQ(BlMLIBFileExist(root.path("new").c_str()), 1);
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_EQ(MLIBFileTouch(root.dir().c_str()), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_SUCCESS);
    EXPECT_EQ(MLIBFileTouch(nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
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
    EXPECT_EQ(BlMLIBFileExist(nullptr), 0);
}

TEST(SystemCalls, ArePassedOn) {
    ScratchRoot root;
    const std::string a = root.path("a");
    FILE *stream = pfMLIBSysFopen(a.c_str(), "wbbbbbb+");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(fgetc(stream), EOF);
    EXPECT_TRUE(ferror(stream)) << "the eighth character, which would allow reading, does not count";
    fclose(stream);
    EXPECT_EQ(pfMLIBSysFopen(nullptr, "r"), nullptr);
    EXPECT_EQ(errno, EINVAL);
    stream = pfMLIBSysFdopen(open(a.c_str(), O_RDWR), "r+");
    ASSERT_NE(stream, nullptr);
    stream = pfMLIBSysFreopen(root.path("b").c_str(), "w", stream);
    ASSERT_NE(stream, nullptr);
    fclose(stream);
    EXPECT_EQ(MLIBSysRename(root.path("b").c_str(), root.path("c").c_str()), 0);
    EXPECT_EQ(MLIBSysUnlink(root.path("c").c_str()), 0);
    EXPECT_EQ(MLIBSysUnlink(root.path("c").c_str()), -1);
    EXPECT_EQ(errno, ENOENT);
    ASSERT_EQ(mkdir(root.path("d").c_str(), 0755), 0);
    EXPECT_EQ(MLIBSysRmdir(root.path("d").c_str()), 0);
    EXPECT_EQ(MLIBSysRemove(a.c_str()), 0);
    EXPECT_EQ(root.names(), std::vector<std::string>{});
}

TEST(SystemRoot, StandsInFrontOfTheSystemsOwnPaths) {
    ScratchRoot root;
    EXPECT_EQ(MORVSysRootSet((root.dir() + "/missing").c_str()), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_PATH_NOT_FOUND);
    EXPECT_EQ(MORVSysRootSet(root.write("file", "").c_str()), -1);
    root.path("tmp/x");
    ASSERT_EQ(chdir(root.dir().c_str()), 0);
    EXPECT_EQ(MORVSysRootSet("tmp/.."), 0);
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_EQ(ErrMLIBILockCheckDir(), 0) << "a relative root was resolved";
    EXPECT_EQ(root.names("tmp/lock").size(), 18u);
    EXPECT_EQ(MORVFileDurabilitySet(7), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

TEST(ExhaustedDescriptors, LoseNothing) {
    ScratchRoot root;
    const std::string path = root.write("f", "key=1\n");
    EXPECT_EQ(in_child([&] {
                  const rlimit none = {3, 3};
                  setrlimit(RLIMIT_NOFILE, &none);
                  const bool refused = MLIBFileSetKeyValue(path.c_str(), "key", "2", nullptr) == -1 &&
                                       MLIBErrGet() == ERR_OPEN_FAILED &&
                                       MLIBFileAddLine(path.c_str(), nullptr, "x", 0) == -1 &&
                                       MLIBErrGet() == ERR_OPEN_FAILED;
                  return refused ? 0 : 1;
              }),
              0);
    EXPECT_EQ(root.read("f"), "key=1\n");
}

TEST(UnreadableFile, IsNotMadeAnew) {
    if (getuid() != 0) GTEST_SKIP() << "needs another user";
    ScratchRoot root;
    const std::string path = root.write("f", "key=1\n", 0200);
    ASSERT_EQ(chown(path.c_str(), 65534, 65534), 0);
    ASSERT_EQ(chmod(root.dir().c_str(), 0777), 0);
    EXPECT_EQ(in_child([&] {
                  if (setgid(65534) != 0 || setuid(65534) != 0) return 1;
                  return MLIBFileSetKeyValue(path.c_str(), "key", "2", nullptr) == -1 &&
                                 MLIBErrGet() == ERR_OPEN_FAILED
                             ? 0
                             : 2;
              }),
              0);
    EXPECT_EQ(root.read("f"), "key=1\n");
}

}  // namespace
