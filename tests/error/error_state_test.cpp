#include <errno.h>
#include <gtest/gtest.h>
#include <morvsdk/internal/error.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include "support/scratch.h"

using testing_support::ScratchRoot;

namespace {

template <class F>
std::string printed(F print) {
    testing::internal::CaptureStdout();
    print();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

__attribute__((noinline)) void set_at_depth(int depth) {
    if (depth > 0) {
        set_at_depth(depth - 1);
    } else {
        MLIBErrSet(ERR_UNKNOWN);
    }
    asm volatile("" ::: "memory");  // keeps the call from becoming a jump
}

TEST(ErrorState, ForgetsThePlaceWhenACodeIsSetWithoutOne) {
    static const char file[] = "user_get";
    MLIBErrSetEx(ERR_NO_SUCH_USER, file, 12);
    EXPECT_EQ(MLIBErrGet(), ERR_NO_SUCH_USER);
    EXPECT_EQ(MORVErrorGetFile(), file) << "the name is kept as given, not copied";
    EXPECT_EQ(MORVErrorGetLine(), 12);

    MLIBErrSet(ERR_KEY_NOT_FOUND);
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_NOT_FOUND);
    EXPECT_EQ(MORVErrorGetFile(), nullptr);
    EXPECT_EQ(MORVErrorGetLine(), 0);
}

TEST(ErrorState, KeepsTheVolumeWordApart) {
    MLIBErrSet(ERR_UNKNOWN);
    MORVVolISetErr(0x1234);
    EXPECT_EQ(MORVVolGetErr(), 0x1234);
    EXPECT_EQ(volerr, 0x1234);
    EXPECT_EQ(MLIBErrGet(), ERR_UNKNOWN);
    EXPECT_EQ(gDiskErr, 0);
    EXPECT_EQ(gRaidErr, 0);
}

TEST(ErrorNames, StandAtTheIndexOfTheirCode) {
    ASSERT_EQ(errNum, 145);
    const int codes[] = {ERR_SUCCESS,        ERR_TIMER_EXPIRED,         ERR_READ_GEO,
                         ERR_BADPATCH,       ERR_FORMAT_ERROR,          ERR_BAD_DISKSECTOR,
                         ERR_UDPD_RECV_FAIL, ERR_VOLUME_SIZE_TOO_LARGE, ERR_YP_BIND};
    const char *const names[] = {"ERR_SUCCESS",        "ERR_TIMER_EXPIRED",         "ERR_READ_GEO",
                                 "ERR_BADPATCH",       "ERR_FORMAT_ERROR",          "ERR_BAD_DISKSECTOR",
                                 "ERR_UDPD_RECV_FAIL", "ERR_VOLUME_SIZE_TOO_LARGE", "ERR_YP_BIND"};
    for (size_t i = 0; i < std::size(codes); ++i)
        EXPECT_STREQ(rgszErrMsg[codes[i] >> 8], names[i]);
    for (const int unnamed : {0x2F00, 0x3900, 0x4100, 0x7B00, int{ERR_READ_ONLY_FS}})
        EXPECT_EQ(rgszErrMsg[unnamed >> 8], nullptr) << unnamed;
    EXPECT_EQ(std::count(rgszErrMsg, rgszErrMsg + errNum, nullptr), 145 - 85);
}

std::string printed_for(int value) {
    return printed([value] {
        errno = value;
        MLIBErrPrint();
    });
}

TEST(ErrorNames, ArePrintedForTheCodeInErrno) {
    const std::pair<int, const char *> cases[] = {
        {0x0D00, "ERR_BAD_PARAMETERS\n"}, {0, "ERR_SUCCESS\n"}, {0x9000, "ERR_YP_BIND\n"}};
    for (const auto &[value, text] : cases)
        EXPECT_EQ(printed_for(value), text);
    for (const int value : {0x0D01, 0x9100, 0x2F00, -256})
        EXPECT_EQ(printed_for(value), "") << value;
}

TEST(ErrorTrace, HoldsTheInnermost64FramesOfTheLastError) {
    MLIBErrSet(ERR_UNKNOWN);
    const std::string shallow = printed(MORVErrorBackTracePrint);
    const auto lines = [](const std::string &s) { return std::count(s.begin(), s.end(), '\n'); };
    EXPECT_GT(lines(shallow), 2);
    EXPECT_LT(lines(shallow), 64);

    set_at_depth(200);
    const std::string deep = printed(MORVErrorBackTracePrint);
    EXPECT_EQ(lines(deep), 64);
    EXPECT_EQ(deep.find("__libc_start"), std::string::npos) << "the outermost frames are the ones left out";
    EXPECT_EQ(printed(MORVErrorBackTracePrint), deep) << "printing does not use the trace up";

    MLIBErrSet(ERR_UNKNOWN);
    EXPECT_EQ(lines(printed(MORVErrorBackTracePrint)), lines(shallow)) << "each error replaces the trace";
    fini_error_bt();
}

TEST(ErrorTrace, GoesToTheConsoleOfTheSystemRoot) {
    ScratchRoot root;
    const std::string console = root.write("dev/console", "");
    MLIBErrSet(ERR_UNKNOWN);
    MORVErrorBackTracePanic();
    EXPECT_EQ(root.read("dev/console"), printed(MORVErrorBackTracePrint));
    EXPECT_NE(root.read("dev/console"), "");
}

TEST(ErrorLog, IsEmptiedAndAppendedTo) {
    ScratchRoot root;
    const std::string path = root.write("log", "old\n");
    MLIBErrLogInitial(path.c_str());
    EXPECT_EQ(root.read("log"), "");
    EXPECT_EQ(MLIBErrLogSet(path.c_str(), "first"), 0);
    EXPECT_EQ(MLIBErrLogSet(path.c_str(), "100%% done"), 0);
    EXPECT_EQ(root.read("log"), "first\n100% done\n") << "the message is a format";

    const std::string fresh = root.path("fresh");
    MLIBErrLogInitial(fresh.c_str());
    EXPECT_EQ(root.read("fresh"), "");
    EXPECT_EQ(access(fresh.c_str(), F_OK), 0);
}

TEST(ErrorLog, SaysWhyNothingWasLogged) {
    ScratchRoot root;
    const std::string path = root.path("log"), nowhere = root.dir() + "/no/such/log";
    MLIBErrLogInitial(nullptr);
    MLIBErrLogInitial(nowhere.c_str());
    const struct {
        const char *path, *message;
        int code;
    } cases[] = {
        {path.c_str(), nullptr, ERR_BAD_PARAMETERS},
        {nullptr, "x", ERR_BAD_PARAMETERS},
        {nowhere.c_str(), "x", ERR_OPEN_FAILED},
        {"/dev/full", "x", ERR_WRITE_FAILED},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(MLIBErrLogSet(c.path, c.message), -1);
        EXPECT_EQ(MLIBErrGet(), c.code);
        EXPECT_STREQ(MORVErrorGetFile(), "error_log_set");
        EXPECT_GT(MORVErrorGetLine(), 0);
    }
    EXPECT_EQ(MLIBErrLogSet("/dev/null", "x"), 0) << "which cannot be synced";
    EXPECT_EQ(MLIBErrLogSet(path.c_str(), "still works"), 0);
    EXPECT_EQ(MLIBErrGet(), ERR_WRITE_FAILED) << "a success leaves the code of the last failure readable";
}

}  // namespace
