// Looking into a file.
#include <gtest/gtest.h>
#include <morvsdk/sysbkp.h>
#include <sys/stat.h>

#include "support/backup_file.h"
#include "support/outcome.h"
#include "support/scratch.h"

using namespace testing_support;

namespace {

// What a walk saw, as a text.
struct Seen {
    std::string lines;
    std::string problems;
};

int on_begin(const MORVSYSBKPBLOCK *block, void *context) {
    auto &seen = *static_cast<Seen *>(context);
    seen.lines += std::string(block->szName ? block->szName : "?") + " " + std::to_string(block->size) + "\n";
    return 0;
}

int on_item(const MORVSYSBKPBLOCK *, const MORVSYSBKPITEM *item, void *context) {
    auto &seen = *static_cast<Seen *>(context);
    std::string line = std::string("  ") + item->szName;
    if (item->record >= 0) line += " " + std::to_string(item->record);
    if (item->entry >= 0) line += "." + std::to_string(item->entry);
    line += "=" + (item->type == MORV_SYSBKP_LONG ? std::to_string(item->value) : std::string(item->szText));
    EXPECT_EQ(std::string(item->szText).size(), size_t(item->length));
    seen.lines += line + (item->isSecret ? " (secret)\n" : "\n");
    return 0;
}

int on_end(const MORVSYSBKPBLOCK *block, const char *problem, void *context) {
    auto &seen = *static_cast<Seen *>(context);
    if (problem)
        seen.problems += std::string(block && block->szName ? block->szName : "?") + ": " + problem + "\n";
    return 0;
}

class EnumTest : public testing::Test {
  protected:
    int look(const std::string &content) {
        seen = {};
        const std::string file = root.write("backup", content);
        const MORVSYSBKPVISITOR visitor = {on_begin, on_item, on_end, &seen};
        return MORVSysbkpEnum(file.c_str(), &visitor, nullptr);
    }

    ScratchRoot root;
    Seen seen;
};

const std::string kUser = text("alice") + text("$1$x") + text("Alice") + text("AA") + text("BB") +
                          number(-1) + number(3) + text("a@b") + number(1);
const std::string kGroups = number(2) + number(1) + text("team") + number(65536) + text("about") + number(2) +
                            text("alice") + text("bob") + number(1) + text("empty") + number(65537) +
                            text("") + number(0);

TEST_F(EnumTest, NamesEveryItemOfEveryBlock) {
    EXPECT_EQ(look(backup(block(0x2, text("nas")) + block(0x100, number(1) + kUser) + block(0x200, kGroups))),
              3);
    EXPECT_EQ(seen.lines,
              "hostname 12\n  hostname=nas\n"
              "user 123\n  users=1\n  name 0=alice\n  password 0=$1$x (secret)\n  fullname 0=Alice\n"
              "  smbpassword1 0=AA (secret)\n  smbpassword2 0=BB (secret)\n  expires 0=-1\n  privilege 0=3\n"
              "  mail 0=a@b\n  maychangepassword 0=1\n"
              "group 160\n  groups=2\n  type 0=1\n  name 0=team\n  gid 0=65536\n  description 0=about\n"
              "  members 0=2\n  member 0.0=alice\n  member 0.1=bob\n"
              "  type 1=1\n  name 1=empty\n  gid 1=65537\n  description 1=\n  members 1=0\n");
    EXPECT_EQ(seen.problems, "");
}

TEST_F(EnumTest, TellsWhatIsWrongAndGoesOnBehindIt) {
    using namespace std::string_literals;
    const std::string next = block(0x2, text("nas"));
    const struct {
        std::string blocks;
        const char *problem;
    } cases[] = {
        {block(0x4, "abc"), "?: its kind is not known\n"},
        {block(0x2, text("nas"), 8), "hostname: its version is not known\n"},
        {block(0x2, text("nas") + number(1)), "hostname: there is more behind the last item\n"},
        {block(0x8, "x"), "lang: the block ends within an item\n"},
        {block(0x40, text("1")), "apple: an item is of another type than it should be\n"},
        {block(0x40, ""), "apple: it ends too early\n"},
        {block(0x100, number(2) + kUser), "user: it ends too early\n"},
        {block(0x100, number(-1)), "user: a count is below zero\n"},
        {block(0x2, be32(1) + be32(9) + "nas\0"s), "hostname: the block ends within an item\n"},
        {block(0x2, be32(1) + be32(3) + "nas"), "hostname: a text does not end with a zero\n"},
        {block(0x2, be32(1) + be32(4) + "n\0s\0"s), "hostname: a text has a zero in it\n"},
        {block(0x40, be32(2) + be32(3) + "abcd"), "apple: an item has a length that it cannot have\n"},
        {block(0x40, be32(3) + be32(4) + "abcd"), "apple: an item is neither a number nor a text\n"},
    };
    for (const auto &[blocks, problem] : cases) {
        EXPECT_EQ(look(backup(blocks + next)), 2);
        EXPECT_EQ(seen.problems, problem);
        EXPECT_NE(seen.lines.find("hostname=nas\n", 10), std::string::npos) << problem;
    }
    EXPECT_EQ(look(backup(next + "end")), 1);
    EXPECT_EQ(seen.problems, "?: there are bytes behind the last block\n");
}

TEST_F(EnumTest, AFileCutOffAnywhereIsToldSoAndItsWholeItemsAreSeen) {
    const std::string whole = backup(block(0x2, text("nas")) + block(0x200, kGroups));
    ASSERT_EQ(look(whole), 2);
    const std::string lines = seen.lines;
    const size_t sound[] = {12, 36, whole.size()};
    for (size_t size = 0; size < whole.size(); ++size) {
        if (size < 12) {
            EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, look(whole.substr(0, size)))) << size;
            continue;
        }
        EXPECT_GE(look(whole.substr(0, size)), 0);
        EXPECT_EQ(lines.compare(0, seen.lines.size(), seen.lines), 0) << size;
        EXPECT_EQ(seen.problems.empty(),
                  std::find(std::begin(sound), std::end(sound), size) != std::end(sound))
            << size << seen.problems;
    }
}

TEST_F(EnumTest, ABlockLargerThanEveryBufferIsReadWhole) {
    // Texts that lie across the ends of the buffer, one of them larger than it.
    std::string members;
    std::string expected;
    for (int i = 0; i < 3000; ++i) {
        const std::string name(size_t(i) * 7 % 400 + (i == 1500 ? 2000000 : 0), char('a' + i % 26));
        members += text(name);
        expected += "  member 0." + std::to_string(i) + "=" + name + "\n";
    }
    const std::string body =
        number(1) + number(1) + text("g") + number(0) + text("") + number(3000) + members;
    EXPECT_EQ(look(backup(block(0x200, body) + block(0x2, text("nas")))), 2);
    EXPECT_EQ(seen.problems, "");
    EXPECT_NE(seen.lines.find(expected + "hostname 12\n  hostname=nas\n"), std::string::npos);
}

TEST_F(EnumTest, AVisitorCanEndTheWalkAndLeaveThingsOut) {
    const std::string file =
        root.write("backup", backup(block(0x2, text("nas")) + block(0x40, number(1)), 0x42));
    int blocks = 0;
    const auto stop = [](const MORVSYSBKPBLOCK *, void *context) { return ++*static_cast<int *>(context); };
    const MORVSYSBKPVISITOR visitor = {stop, nullptr, nullptr, &blocks};
    EXPECT_EQ(MORVSysbkpEnum(file.c_str(), &visitor, nullptr), 1);
    EXPECT_EQ(blocks, 1);
    int32_t mask = 0;
    const MORVSYSBKPVISITOR nothing = {};
    EXPECT_EQ(MORVSysbkpEnum(file.c_str(), &nothing, &mask), 2);
    EXPECT_EQ(mask, 0x42);
}

TEST_F(EnumTest, WhatIsNoBackupFileIsRefused) {
    const MORVSYSBKPVISITOR visitor = {};
    EXPECT_TRUE(refuses(-1, MORVSysbkpEnum(nullptr, &visitor, nullptr)));
    EXPECT_TRUE(refuses(-1, MORVSysbkpEnum("x", nullptr, nullptr)));
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MORVSysbkpEnum(root.path("none").c_str(), &visitor, nullptr)));
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MORVSysbkpEnum(root.dir().c_str(), &visitor, nullptr)));
    ASSERT_EQ(mkfifo(root.path("pipe").c_str(), 0600), 0);
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MORVSysbkpEnum(root.path("pipe").c_str(), &visitor, nullptr)));
    for (const std::string &content :
         {std::string(100, 'x'), "MORV" + be32(2) + be32(0), std::string("MORX") + be32(1) + be32(0)})
        EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, look(content)));
}

}  // namespace
