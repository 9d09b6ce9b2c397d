// Logs as text.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include "log/rings.h"

namespace {

using namespace testing_support;

constexpr char kEnglish[] =
    "\n[11000000]\n11000000=Other\n11000001=Info\n11000002=Warning\n11000003=123456789012\n"
    "\n[12B00000]\n12B00001=User [@1] was added by @2 (@1).\n12B00002=@5 @ @@1\n12B00003=\n";
constexpr char kGerman[] = "[11000000]\n11000001=Hinweis\n[12B00000]\n12B00001=Benutzer [@1] angelegt.\n";

class LogText : public testing::Test {
  protected:
    LogText() {
        setenv("TZ", "UTC-8", 1);
        setenv("USERNAME", "alice", 1);
        root_.path("etc/x");
        root_.path("var/log/x");
        root_.write("usr/morv/morvsdk/texts/enu/events", kEnglish);
        root_.write("usr/morv/morvsdk/texts/ger/events", kGerman);
        clock_seconds = 951797820;                 // the day before the first of March of a leap year
        MORVLogGet1(1, output_.c_str(), nullptr);  // forgets the texts of other tests
        logged.clear();
    }
    ~LogText() override {
        clock_seconds = 0;
        unsetenv("TZ");
        unsetenv("USERNAME");
    }

    int add(int type, uint32_t event, const char *first = nullptr, const char *second = nullptr) const {
        return MORVLogSet1(MORV_LOG_SYSTEM, uint16_t(type), event, first, second, nullptr, nullptr);
    }
    std::string read(const char *language = nullptr) const {
        EXPECT_EQ(MORVLogGet1(MORV_LOG_SYSTEM, output_.c_str(), language), 0);
        return read_file(output_);
    }
    std::string line(const char *type, const char *sentence) const {
        return std::string(type) + "\t2000/02/29 12:17:00\t" + program_invocation_short_name + "\talice\t" +
               sentence + "\n";
    }

    const ScratchRoot root_;
    const std::string output_ = root_.path("out");
};

TEST_F(LogText, HasALineForEachEventInTheLanguageAskedFor) {
    ASSERT_EQ(add(1, MORV_EVENT_USER_ADDED, "bob", "carl"), 0);
    ASSERT_EQ(add(0x102, MORV_EVENT_USER_ADDED, "@2", ""), 0);
    ASSERT_EQ(add(3, MORV_EVENT_USER_ADDED, "a\tb\nc"), 0);
    ASSERT_EQ(add(9, MORV_EVENT_USER_CHANGED), 0);
    EXPECT_EQ(read(), line("1\tInfo", "User [bob] was added by carl (bob).") +
                          line("258\tWarning", "User [@2] was added by   (@2).") +
                          line("3\tUnknown", "User [a b c] was added by @2 (a b c).") +
                          line("9\tOther", "@5 @ @@1"));
    // The next call may use another language, and only a call that forgets the texts.
    EXPECT_EQ(read("ger").substr(0, 9), "1\tHinweis");
    const std::string path = root_.path("var/log/morvsys.log");
    ASSERT_EQ(MORVLogGet1a(path.c_str(), output_.c_str(), "enu"), 0);
    ASSERT_EQ(MORVLogGet1a(path.c_str(), output_.c_str(), "ger"), 0);
    EXPECT_NE(read_file(output_).find("User [bob]"), std::string::npos);
    EXPECT_NE(read("enu").find("User [bob]"), std::string::npos);
    EXPECT_NE(read("ger").find("Benutzer [bob]"), std::string::npos);
    EXPECT_EQ(MLIBErrGet(), ERR_SUCCESS);
}

TEST_F(LogText, LeavesOutEventsWithoutATextAndTellsOfThemOnce) {
    ASSERT_EQ(add(1, 0x12B0ABCD, "one"), 0);
    ASSERT_EQ(add(1, 0x12B0ABCD, "two"), 0);
    ASSERT_EQ(add(1, MORV_EVENT_USER_DELETED, "bob"), 0);
    ASSERT_EQ(add(1, 0x77000001), 0);
    logged.clear();
    EXPECT_EQ(read(), "");
    const std::string program = program_invocation_short_name, file = "/usr/morv/morvsdk/texts/enu/events";
    const auto missed = [&](const char *event, const char *argument) {
        return std::string("3 Can not get the log szEvent id = ") + event + ", szLang = enu, szArg1 = [" +
               argument + "], szArg2 = [], szArg3 = [], szArg4 = [], szSource = " + program + "\n";
    };
    EXPECT_EQ(logged, "3 event 12B0ABCD not found in " + file + "\n" + missed("12B0ABCD", "one") +
                          missed("12B0ABCD", "two") + missed("12B00003", "bob") +
                          "3 section 77000000 not found in " + file + "\n3 event 77000001 not found in " +
                          file + "\n" + missed("77000001", ""));
    // A language is no path.
    for (const char *language :
         {"../enu", "", "fre", "a/b", "12345678901234567890123456789012345678901234567890"})
        EXPECT_EQ(read(language), "");
    EXPECT_EQ(MLIBErrGet(), ERR_SUCCESS);
}

TEST_F(LogText, IsMadeOfPartsThatCanBeHadAlone) {
    EXPECT_STREQ(MORVLogConvertType(1, nullptr), "Info");
    EXPECT_STREQ(MORVLogConvertType(0x302, "enu"), "Warning");
    EXPECT_STREQ(MORVLogConvertType(3, "enu"), "Unknown");
    EXPECT_STREQ(MORVLogConvertType(1, "ger"), "Hinweis");
    EXPECT_STREQ(MORVLogConvertType(1, "../enu"), "Unknown");
    EXPECT_STREQ(MORVLogConvertTime1(0), "1970/01/01 08:00:00");
    EXPECT_STREQ(MORVLogConvertTime1(-28801), "1969/12/31 23:59:59");
    EXPECT_STREQ(MORVLogConvertTime1(0xFFFFFFFF), "2106/02/07 14:28:15");
    MORVLogConvertTime1(INT64_MAX);
    MORVLogConvertTime1(INT64_MIN);
    // The clock goes back an hour within one minute of the hand.
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    EXPECT_STREQ(MORVLogConvertTime1(1224982799), "2008/10/26 02:59:59");
    EXPECT_STREQ(MORVLogConvertTime1(1224982800), "2008/10/26 02:00:00");
    setenv("TZ", "XXX-0:20:30", 1);
    EXPECT_STREQ(MORVLogConvertTime1(59), "1970/01/01 00:21:29");

    char *sentence = MORVLogConvertEventKey(MORV_EVENT_USER_ADDED, nullptr, "bob", nullptr, nullptr, nullptr);
    EXPECT_STREQ(sentence, "User [bob] was added by @2 (bob).");
    free(sentence);
    sentence = MORVLogConvertEventKey(0x12B0ABCD, "enu", nullptr, nullptr, nullptr, nullptr);
    EXPECT_STREQ(sentence, "");
    free(sentence);

    // A record that is cut short anywhere is passed over.
    char *record = nullptr;
    const int length =
        MORVLogInitEventBuffer(&record, 1, MORV_EVENT_USER_ADDED, "bob", "carl", nullptr, nullptr);
    for (int cut = 0; cut <= length - 2; ++cut) {
        std::string exact(record + 2, size_t(cut));  // so that a read beyond its end is noticed
        exact.shrink_to_fit();
        FILE *const file = fopen(output_.c_str(), "w");
        EXPECT_EQ(MORVLogEventSpread(file, exact.data(), "enu", cut), 0);
        fclose(file);
        EXPECT_EQ(read_file(output_).empty(), cut < length - 2) << cut;
    }
    free(record);
    EXPECT_EQ(MORVLogEventSpread(nullptr, nullptr, nullptr, 5), 0);
}

TEST_F(LogText, NamesTheUserOfTheProcess) {
    EXPECT_STREQ(MORVLogObtainUser(), "alice");
    setenv("USERNAME", "root", 1);
    EXPECT_STREQ(MORVLogObtainUser(), "admin");
    unsetenv("USERNAME");
    const std::string id = std::to_string(geteuid());
    MLIBErrSet(ERR_KEY_EXISTS);
    EXPECT_STREQ(MORVLogObtainUser(), "");
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_EXISTS);
    MLIBErrSet(ERR_SUCCESS);
    // Before there is any mirror: an event may tell that it could not be built.
    root_.write("etc/passwd", "cut\nodd:x:" + id + "x:0::/:\ndora:x:" + id + ":0:dora:/:/bin/sh\n");
    EXPECT_STREQ(MORVLogObtainUser(), "dora");
    unlink(root_.path("etc/passwd").c_str());
    root_.write("etc/passwd", "root:x:" + id + ":0:root:/root:/bin/sh\n");
    EXPECT_STREQ(MORVLogObtainUser(), "admin");
    setenv("USERNAME", std::string(300, 'x').c_str(), 1);
    EXPECT_STREQ(MORVLogObtainUser(), "admin");
}

TEST_F(LogText, ThatCannotBeWrittenOrReadIsAFailure) {
    EXPECT_EQ(MORVLogGet1(MORV_LOG_SYSTEM, output_.c_str(), nullptr), -1);
    ASSERT_EQ(add(1, MORV_EVENT_USER_ADDED), 0);
    logged.clear();
    EXPECT_EQ(MORVLogGet1(MORV_LOG_SYSTEM, (root_.dir() + "/none/out").c_str(), nullptr), -1);
    EXPECT_EQ(logged, "3 output log file open failed [2].\n\n");
    EXPECT_EQ(MORVLogGet1(MORV_LOG_SYSTEM, "/dev/full", nullptr), -1);
    EXPECT_EQ(MORVLogGet1(MORV_LOG_RESERVED, output_.c_str(), nullptr), -1);
    EXPECT_EQ(MORVLogGet1a(nullptr, nullptr, nullptr), -1);

    // The log itself is no file for its text, whatever it is called.
    const std::string path = root_.path("var/log/morvsys.log"), other = root_.path("other");
    const std::string bytes = read_file(path);
    ASSERT_EQ(link(path.c_str(), other.c_str()), 0);
    EXPECT_EQ(MORVLogGet1(MORV_LOG_SYSTEM, other.c_str(), nullptr), -1);
    EXPECT_EQ(read_file(path), bytes);

    ASSERT_EQ(chdir(root_.dir().c_str()), 0);
    EXPECT_EQ(MORVLogGet1(MORV_LOG_SYSTEM, nullptr, nullptr), 0);
    EXPECT_NE(root_.read("output"), "");
}

}  // namespace
