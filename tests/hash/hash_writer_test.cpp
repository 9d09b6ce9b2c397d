#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <morvsdk/internal/hash.h>
#include <stdio.h>
#include <stdlib.h>

#include <string>

#include "support/alloc_fault.h"

using testing_support::AllocFault;

namespace {

class Writer : public testing::Test {
  protected:
    void SetUp() override {
        hash_ = PshMLIBSzHashAlloc(0);
        MLIBSzHashSetValue(&hash_, "abcd", "%s %n");  // bucket 5
        MLIBSzHashSetValue(&hash_, "a", "one");       // bucket 2
        stream_ = open_memstream(&text_, &length_);
    }
    void TearDown() override {
        fclose(stream_);
        free(text_);
        MLIBSzHashFree(hash_);
    }
    std::string written() {
        fflush(stream_);
        std::string text(text_, length_);
        rewind(stream_);
        return text;
    }

    MLIBSZHASH *hash_ = nullptr;
    FILE *stream_ = nullptr;
    char *text_ = nullptr;
    size_t length_ = 0;
};

TEST_F(Writer, WritesASectionInBucketOrder) {
    const struct {
        const char *section, *format, *text, *without_pairs;
    } cases[] = {
        {nullptr, nullptr, "a=one\nabcd=%s %n\n", ""},
        {"global", nullptr, "[global]\na=one\nabcd=%s %n\n", "[global]\n"},
        {nullptr, "%s=\"%s\"\n", "a=\"one\"\nabcd=\"%s %n\"\n", ""},
        {"s", "\t%s = %s\n", "[s]\n\ta = one\n\tabcd = %s %n\n", "[s]\n"},
        {nullptr, "%%%s=%s\n", "%a=one\n%abcd=%s %n\n", ""},
        {nullptr, "%%s=%s %s\n", "%s=a one\n%s=abcd %s %n\n", ""},
    };
    MLIBSZHASH *const empty = PshMLIBSzHashAlloc(0);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        for (const MLIBSZHASH *hash : {hash_, empty, static_cast<MLIBSZHASH *>(nullptr)}) {
            EXPECT_EQ(ErrMLIBIFileHash2File(stream_, c.section, hash, c.format), 0);
            EXPECT_EQ(written(), hash == hash_ ? c.text : c.without_pairs);
        }
    }
    MLIBSzHashFree(empty);
}

TEST_F(Writer, WritesNothingThroughAFormatThatItRefuses) {
    for (const char *format :
         {"", "%s=%s", "%s %s\n", "=%s%s\n", "%s=%s%s\n", "%s=%s\n%d", "%n%s=%s\n", "%s=%*s%s\n", "%s=%s\n%",
          "%1$s%s=%s\n", "%ls%s=%s\n", "%s=%s\n%99999999999s"}) {
        SCOPED_TRACE(format);
        MLIBErrSet(ERR_UNKNOWN);
        EXPECT_EQ(ErrMLIBIFileHash2File(stream_, "section", hash_, format), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
        PslSzHashRemoveAll(hash_);  // nor when there is nothing to expand
    }
    EXPECT_EQ(written(), "");
    EXPECT_EQ(ErrMLIBIFileHash2File(nullptr, nullptr, hash_, nullptr), -1);
}

TEST_F(Writer, SaysThatTheStreamDidNotTakeIt) {
    FILE *full = fopen("/dev/full", "w");
    setvbuf(full, nullptr, _IONBF, 0);
    EXPECT_EQ(ErrMLIBIFileHash2File(full, nullptr, hash_, nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_WRITE_FAILED);
    EXPECT_EQ(ErrMLIBIFileHash2File(full, "section", nullptr, nullptr), -1);
    fclose(full);
}

TEST_F(Writer, WritesNothingWhenMemoryFails) {
    const std::string long_value(1000, 'v');
    MLIBSzHashSetValue(&hash_, "a", long_value.c_str());
    const std::string all = "[section]\na=" + long_value + "\nabcd=%s %n\n";
    std::string text;
    const int faults = testing_support::for_each_alloc_fault([&](int) {
        const int result = ErrMLIBIFileHash2File(stream_, "section", hash_, nullptr);
        const bool reached = AllocFault::disarm();
        text = written();
        EXPECT_EQ(result, reached ? -1 : 0);
        EXPECT_EQ(text, reached ? "" : all);
        return reached;
    });
    EXPECT_GE(faults, 0);
    EXPECT_EQ(text, all);
}

TEST(FormatCheck, WantsTwoStringsWithAnEqualsSignBetweenAndALineFeedBehind) {
    for (const char *format : {static_cast<const char *>(nullptr), "%s=%s\n", "%s = \"%s\" # x\n",
                               "export %s=%s;\n\n", "%s=%s\n%d", "%%s=%s\n%s\n"}) {
        EXPECT_EQ(MLIBIFileCheckFormat(format), 1) << format;
    }
    for (const char *format : {"", "%s=%s", "%s%s=\n", "%s=\n%s", "=%s%s\n", "%s==%d\n"})
        EXPECT_EQ(MLIBIFileCheckFormat(format), 0) << format;
}

}  // namespace
