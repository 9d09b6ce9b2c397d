// What every function of the family answers to bad arguments, and for what it cannot open or must not touch.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support/hashes.h"
#include "support/outcome.h"
#include "support/process.h"
#include "support/scratch.h"

using namespace testing_support;

namespace {

struct Refusal : testing::Test {
    ScratchRoot root;
    const std::string file = root.write("f", "key=1\n[s]\n");
    const char *const f = file.c_str();
    Hash hash{{"k", "v"}};
    List list{{"k"}};
    char buffer[8];
    char *line = nullptr;
};

TEST_F(Refusal, IsTheAnswerToNullEmptyAndNegativeArguments) {
    EXPECT_TRUE(refuse_nulls(
        -1, MLIBFileGetKeyValue, MLIBFileSetKeyValue, MLIBFileAppendKey, MLIBFileRemoveKey, MLIBFileSetKeys,
        ErrMLIBFileSetPair, MLIBFileMergePairs, MLIBFileGetPair, MLIBFileGetSection, MLIBFileEnumSection,
        ErrMLIBFileAddSection, ErrMLIBFileSetSection, ErrMLIBFileRemoveSection, ErrSetSecKeyVal,
        MLIBIFileMatchSection, MLIBIFileMatch, MLIBFileGetLine, MLIBFileGetLineByKey, MLIBFileAddLine,
        MLIBFileAddLineByKey, MLIBFileSetLine, MLIBFileSetLineByKey, MLIBFileReplaceSubStr, MLIBFileComment,
        MORVFileLineComment, MLIBFileReadLines, MLIBFileMatchLineNo, MLIBFileEnumDir, MLIBFileTouch));
    EXPECT_TRUE(refuse_nulls(0, MLIBILineMatch, MLIBILineKeyMatch));
    EXPECT_TRUE(refuse_nulls(1, MLIBFileGetKeys));
    EXPECT_TRUE(refuse_nulls(nullptr, MLIBFileTempFileOpen));
    EXPECT_TRUE(refuses(-1, MLIBFileGetKeyValue(f, "key", nullptr, 8, 0)));
    EXPECT_TRUE(refuses(-1, MLIBFileGetKeyValue(f, "key", buffer, -1, 0)));
    EXPECT_TRUE(refuses(-1, MLIBFileGetKeyValue(f, "key", buffer, 8, -1)));
    EXPECT_TRUE(refuses(-1, MLIBFileSetKeyValue(f, "key", nullptr, nullptr)));
    EXPECT_TRUE(refuses(-1, MLIBFileSetKeys(f, nullptr, nullptr, nullptr)));
    EXPECT_TRUE(refuses(1, MLIBFileGetKeys(f, nullptr, hash.address(), nullptr)));
    EXPECT_TRUE(refuses(-1, ErrMLIBFileSetSection(f, "s", nullptr, nullptr, nullptr)));
    EXPECT_TRUE(refuses(0, MLIBILineMatch("a", nullptr, 0)));
    EXPECT_TRUE(refuses(0, MLIBILineMatch("a", "a", -1)));
    EXPECT_TRUE(refuses(-1, MLIBIFileMatch("a", nullptr, nullptr)));
    EXPECT_TRUE(refuses(-1, MLIBFileGetLine(f, "k", buffer, 0, 0)));
    EXPECT_TRUE(refuses(-1, MLIBFileAddLine(f, nullptr, nullptr, 0)));
    EXPECT_TRUE(refuses(-1, MLIBFileSetLineByKey(f, List().get(), "x", ":"))) << "it would mean every line";
    EXPECT_TRUE(refuses(-1, MLIBFileReplaceSubStr(f, "", "y")));
    EXPECT_TRUE(refuses(-1, MLIBFileIInverse(f, "k", '!', 0)));
    EXPECT_TRUE(refuses(-1, MORVFileDurabilitySet(7)));
    EXPECT_TRUE(BlMLIBFileExist(nullptr) == 0 && BlMORVFileCheckKeyValue(nullptr, "key", "1", 7) == 0);
    EXPECT_EQ(root.read("f"), "key=1\n[s]\n");
    EXPECT_EQ(root.names(), std::vector<std::string>{"f"});
}

TEST_F(Refusal, OfAMissingFileOrAFolderHasTheCodeOfTheFunction) {
    const std::string missing_path = root.dir() + "/no/such/file", folder_path = root.dir();
    const char *const missing = missing_path.c_str(), *const folder = folder_path.c_str();
    MLIBErrSet(ERR_SUCCESS);
    for (const char *path : {missing, folder}) {
        SCOPED_TRACE(path);
        const auto unopened = [](auto result, auto got) { return gives(result, ERR_OPEN_FAILED, got); };
        EXPECT_TRUE(unopened(-1, MLIBFileGetKeyValue(path, "k", buffer, 8, 0)));
        EXPECT_TRUE(unopened(0, BlMORVFileCheckKeyValue(path, "k", "1", 7)));
        EXPECT_TRUE(unopened(1, MLIBFileGetKeys(path, nullptr, hash.address(), "=")));
        EXPECT_TRUE(unopened(-1, MLIBFileGetPair(path, hash.address())));
        EXPECT_TRUE(unopened(-1, MLIBFileSetKeyValue(path, "k", "v", nullptr)));
        EXPECT_TRUE(unopened(-1, MLIBFileSetKeys(path, hash.get(), nullptr, nullptr)));
        EXPECT_TRUE(gives(-1, ERR_WRITE_FAILED, MLIBFileMergePairs(path, hash.get(), nullptr)));
        EXPECT_TRUE(unopened(-1, MLIBFileGetSection(path, "a", hash.address())));
        EXPECT_TRUE(unopened(-1, MLIBFileEnumSection(path, list.address())));
        EXPECT_TRUE(unopened(-1, ErrMLIBFileAddSection(path, "a", hash.get(), nullptr)));
        EXPECT_TRUE(unopened(-1, ErrMLIBFileSetSection(path, "a", nullptr, hash.get(), nullptr)));
        EXPECT_TRUE(unopened(-1, ErrMLIBFileRemoveSection(path, "a")));
        EXPECT_TRUE(unopened(-1, MLIBFileGetLine(path, "a", buffer, 8, 0)));
        EXPECT_TRUE(unopened(-1, MLIBFileGetLineByKey(path, list.get(), ":", &line)));
        EXPECT_TRUE(unopened(-1, MLIBFileAddLine(path, nullptr, "new", MORV_LINE_AFTER)));
        EXPECT_TRUE(unopened(-1, MLIBFileSetLine(path, "a", "new", 0)));
        EXPECT_TRUE(unopened(-1, MLIBFileComment(path, "a", 1, 0)));
    }
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MLIBFileMatchLineNo(missing, "a")));
    EXPECT_TRUE(gives(-1, ERR_READ_FAILED, MLIBFileReadLines(folder, list.address())));
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MLIBFileEnumDir(missing, "", list.address(), 0)));
    EXPECT_TRUE(gives(-1, ERR_SUCCESS, MLIBFileRemoveKey((folder_path + "/missing").c_str(), "key")))
        << "a missing file is no news";
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MLIBFileRemoveKey(folder, "key")));
    EXPECT_TRUE(gives(-1, ERR_BAD_PARAMETERS, MLIBFileAppendKey(folder, "k", "v", nullptr)));
    EXPECT_TRUE(gives(-1, ERR_SUCCESS, MLIBFileTouch(folder)));
    EXPECT_EQ(root.names(), std::vector<std::string>{"f"}) << "nothing was made";
    MLIBFileGetKeyValue(missing, "k", buffer, 8, 0);
    EXPECT_STREQ(MORVErrorGetFile(), "file_get_key_value");
}

TEST_F(Refusal, LeavesPipesAndDevicesAlone) {
    const std::string fifo = root.path("fifo"), device = root.path("device");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    ASSERT_EQ(symlink("/dev/null", device.c_str()), 0);
    for (const std::string &name : {fifo, device}) {
        SCOPED_TRACE(name);
        const char *const path = name.c_str();
        EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MLIBFileSetKeyValue(path, "k", "v", nullptr)));
        EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MLIBFileAppendKey(path, "k", "v", nullptr)));
        EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MLIBFileAddLine(path, nullptr, "x", MORV_LINE_AFTER)));
        EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, ErrMLIBFileSetPair(path, hash.get(), nullptr)));
    }
    EXPECT_TRUE(S_ISCHR(stat_of("/dev/null").st_mode));
    EXPECT_TRUE(S_ISFIFO(stat_of(fifo).st_mode));
}

TEST_F(Refusal, LosesNothingWithoutDescriptors) {
    const char *const path = f;
    EXPECT_EQ(in_child([&] {
                  const rlimit none = {3, 3};
                  setrlimit(RLIMIT_NOFILE, &none);
                  MLIBErrSet(ERR_SUCCESS);
                  const bool refused =
                      gives(-1, ERR_OPEN_FAILED, MLIBFileSetKeyValue(path, "key", "2", nullptr)) &&
                      gives(-1, ERR_OPEN_FAILED, MLIBFileAddLine(path, nullptr, "x", 0));
                  return refused ? 0 : 1;
              }),
              0);
    EXPECT_EQ(root.read("f"), "key=1\n[s]\n");
}

TEST_F(Refusal, DoesNotMakeAnUnreadableFileAnew) {
    if (getuid() != 0) GTEST_SKIP() << "needs another user";
    ASSERT_EQ(chmod(f, 0200) | chown(f, 65534, 65534) | chmod(root.dir().c_str(), 0777), 0);
    EXPECT_EQ(in_child([&] {
                  if (setgid(65534) != 0 || setuid(65534) != 0) return 1;
                  return gives(-1, ERR_OPEN_FAILED, MLIBFileSetKeyValue(f, "key", "2", nullptr)) ? 0 : 2;
              }),
              0);
    EXPECT_EQ(root.read("f"), "key=1\n[s]\n");
}

}  // namespace
