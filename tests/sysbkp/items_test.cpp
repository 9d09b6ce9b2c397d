// Integers and items as they lie in a file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <morvsdk/internal/sysbkp.h>
#include <stdlib.h>
#include <unistd.h>

#include "support/backup_file.h"
#include "support/outcome.h"
#include "support/scratch.h"

using namespace testing_support;

namespace {

TEST(ItemTest, IntegersAreBigEndianOnEveryMachine) {
    const MemoryFile file;
    const int32_t words[] = {0x01020304, -2, INT32_MIN};
    EXPECT_EQ(MORVSysbkpRawIntWrite(file.fd, words, sizeof words), int(sizeof words));
    EXPECT_EQ(file.content(), std::string("\1\2\3\4\xFF\xFF\xFF\xFE\x80\0\0\0", 12));

    int32_t read[3] = {};
    lseek(file.fd, 0, SEEK_SET);
    EXPECT_EQ(MORVSysbkpRawIntRead(file.fd, read, sizeof read), int(sizeof read));
    EXPECT_TRUE(std::equal(read, read + 3, words));
    EXPECT_EQ(MORVSysbkpRawIntRead(file.fd, read, 4), 0);
}

TEST(ItemTest, ManyIntegersGoInOneCall) {
    const std::vector<int32_t> words(1000, 0x01020304);
    const int bytes = int(words.size() * 4);
    const MemoryFile file;
    EXPECT_EQ(MORVSysbkpRawIntWrite(file.fd, words.data(), bytes), bytes);
    std::vector<int32_t> read(1000);
    lseek(file.fd, 0, SEEK_SET);
    EXPECT_EQ(MORVSysbkpRawIntRead(file.fd, read.data(), bytes), bytes);
    EXPECT_EQ(read, words);
}

TEST(ItemTest, IntegersThatCannotBeMovedWholeAreRefused) {
    const MemoryFile file("12345");
    int32_t words[2] = {7, 7};
    EXPECT_EQ(MORVSysbkpRawIntRead(file.fd, words, sizeof words), -1);  // five bytes are there
    const int closed = dup(file.fd);
    close(closed);
    for (const auto &[fd, at, bytes] : {std::tuple{-1, &words[0], 4},
                                        {file.fd, nullptr, 4},
                                        {file.fd, words, 0},
                                        {file.fd, words, -4},
                                        {file.fd, words, 6},
                                        {closed, words, 4}}) {
        EXPECT_EQ(MORVSysbkpRawIntWrite(fd, at, bytes), -1);
        EXPECT_EQ(MORVSysbkpRawIntRead(fd, at, bytes), -1);
    }
    EXPECT_EQ(words[0], 7);
    EXPECT_EQ(file.content(), "12345");
}

TEST(ItemTest, ABlockIsAHeaderAndItems) {
    const MemoryFile file;
    ASSERT_EQ(MORVSysbkpIWriteHeader(file.fd, MORV_SYSBKP_HOSTNAME), 0);
    ASSERT_EQ(MORVSysbkpIWriteString(file.fd, "nas"), 0);
    ASSERT_EQ(MORVSysbkpIWriteLong(file.fd, -5), 0);
    const int64_t end = lseek(file.fd, 0, SEEK_CUR);
    ASSERT_EQ(MORVSysbkpIWriteBlkSize(file.fd, 12, end), 0);
    EXPECT_EQ(lseek(file.fd, 0, SEEK_CUR), end);
    EXPECT_EQ(file.content(), block(2, text("nas") + number(-5)));

    EXPECT_EQ(MORVSysbkpIWriteHeader(file.fd, 4), -1);
    EXPECT_EQ(MORVSysbkpIWriteHeader(file.fd, 3), -1);
    EXPECT_EQ(MORVSysbkpIWriteBlkSize(file.fd, 12, 11), -1);
    EXPECT_EQ(MORVSysbkpIWriteBlkSize(file.fd, 0, 12), -1);
    EXPECT_EQ(MORVSysbkpIWriteBlkSize(file.fd, 12, int64_t{1} << 32), -1);
    EXPECT_EQ(MORVSysbkpIWriteString(file.fd, nullptr), -1);
    EXPECT_EQ(MORVSysbkpIGetIdx(1), 0);
    EXPECT_EQ(MORVSysbkpIGetIdx(0x2000000), 22);
    EXPECT_EQ(MORVSysbkpIGetIdx(0), -1);
}

TEST(ItemTest, ItemsAreReadOneByOne) {
    const MemoryFile file(text("") + number(INT32_MIN) + text("über") + be32(1) + be32(0));
    lseek(file.fd, 0, SEEK_SET);
    char *read = nullptr;
    ASSERT_EQ(MORVSysbkpIReadString(file.fd, &read), 0);
    EXPECT_STREQ(read, "");
    free(read);
    int value = 0;
    ASSERT_EQ(MORVSysbkpIReadLong(file.fd, &value), 0);
    EXPECT_EQ(value, INT32_MIN);
    for (const char *expected : {"über", ""}) {
        ASSERT_EQ(MORVSysbkpIReadString(file.fd, &read), 0);
        EXPECT_STREQ(read, expected);
        free(read);
    }
    EXPECT_EQ(MORVSysbkpIReadLong(file.fd, &value), -1);
    EXPECT_EQ(MORVSysbkpIReadString(file.fd, &read), -1);
}

TEST(ItemTest, WhatIsNoItemIsRefusedAndNothingIsGivenOut) {
    const std::string numbers[] = {text("x") + "xxxx", be32(2) + be32(8) + be32(1) + be32(1),
                                   be32(2) + be32(4), ""};
    for (const std::string &bytes : numbers) {
        const MemoryFile file(bytes);
        lseek(file.fd, 0, SEEK_SET);
        int value = 7;
        EXPECT_EQ(MORVSysbkpIReadLong(file.fd, &value), -1);
        EXPECT_EQ(value, 7);
    }
    using namespace std::string_literals;
    const std::string texts[] = {number(1),
                                 be32(1) + be32(-1) + "abc",
                                 be32(1) + be32(INT32_MAX) + "abc",
                                 be32(1) + be32(5) + "abc\0"s,
                                 be32(1) + be32(3) + "abc",
                                 be32(1) + be32(4) + "a\0c\0"s,
                                 be32(1)};
    for (const std::string &bytes : texts) {
        const MemoryFile file(bytes);
        lseek(file.fd, 0, SEEK_SET);
        char *read = nullptr;
        EXPECT_EQ(MORVSysbkpIReadString(file.fd, &read), -1);
        EXPECT_EQ(read, nullptr);
    }
}

}  // namespace
