#include <gtest/gtest.h>
#include <morvsdk/group.h>

#include "sysbkp/accounts.h"

using namespace sysbkp_test;

namespace {

constexpr char kGroup[] = "etc/group";
constexpr char kDesc[] = "etc/group_desc";

std::string group(const char *name, int64_t gid, std::initializer_list<const char *> members,
                  const char *about = "", int64_t type = 1) {
    std::string bytes =
        number(type) + text(name) + number(gid) + text(about) + number(int64_t(members.size()));
    for (const char *member : members)
        bytes += text(member);
    return bytes;
}

const std::string kSample = number(5) +
                            group("administrators", 101, {"admin"}, "System default admin group") +
                            group("Größe", 65537, {"zoë", "alice"}) + group("http", 1023, {}) +
                            group("staff", 65536, {"alice", "Bob Smith"}, "Who works here: by day") +
                            group("users", 100, {"admin", "guest", "alice", "Bob Smith"}, "All people");

int import_groups(const std::string &body) {
    return imported(MORVSysbkpGroupImport, body);
}

int count_groups() {
    return MORVGroupTotalNum(MORV_GROUP_LOCAL);
}

TEST(GroupBackup, IsTheListedGroupsByteForByteAndChangesNothingWhereItCameFrom) {
    const AccountRoot root;
    const Files before = root.files();
    EXPECT_EQ(exported(MORVSysbkpGroupExport), block(0x200, kSample));
    EXPECT_EQ(import_groups(kSample), 0) << told();
    EXPECT_EQ(root.files(), before);
    EXPECT_EQ(told(), "");
}

TEST(GroupBackup, BringsItsGroupsIntoAnEmptySystem) {
    const AccountRoot root;
    const std::string system = "root:x:0:\nusers:x:100:zoë,gone\nadministrators:x:101:\nhttp:x:1023:\n";
    root.write(kGroup, system);
    root.write(kDesc, "http:not wanted\nStaff:left behind\n");
    EXPECT_EQ(import_groups(kSample), 0) << told();
    EXPECT_EQ(root.read(kGroup),
              "root:x:0:\nusers:x:100:zoë,admin,guest,alice,Bob Smith\nadministrators:x:101:admin\n"
              "http:x:1023:\nGröße:x:65537:zoë,alice\nstaff:x:65536:alice,Bob Smith\n");
    EXPECT_EQ(root.read(kDesc),
              "staff:Who works here: by day\nadministrators:System default admin group\n"
              "users:All people\n");
}

TEST(GroupBackup, KeepsGidsAndSpellingsAndTellsOfMembersThatAreNoUsers) {
    const AccountRoot root;
    EXPECT_EQ(import_groups(number(5) + group("STAFF", 70000, {"zoë", "x,alice", "ALICE", "gone"}, "") +
                            group("taken", 65537, {"a", "b", "c", "d"}) + group("low", 70000, {}) +
                            group("twice", 70000, {}) + group("high", -1, {"alice"})),
              0);
    EXPECT_EQ(told(),
              "group STAFF: its gid is 65536 here, and was 70000\n"
              "group STAFF: 2 of its members are no users here: x,alice, gone\n"
              "group taken: its gid is 65538 here, and was 65537\n"
              "group taken: 4 of its members are no users here: a, b, c, ...\n"
              "group twice: its gid is 65539 here, and was 70000\n"
              "group high: its gid is 65540 here, and was -1\n");
    EXPECT_NE(root.read(kGroup).find("staff:x:65536:zoë,alice\n"), std::string::npos);
    EXPECT_NE(root.read(kGroup).find("_@GID__INDEX@_$65540$"), std::string::npos);
    EXPECT_EQ(root.read(kDesc).find("staff"), std::string::npos);
    EXPECT_EQ(exported(MORVSysbkpGroupExport).substr(20, 4), be32(9)) << "and all are in the mirror";
}

TEST(GroupBackup, LeavesOutAndNamesThoseThatCannotBe) {
    const AccountRoot root;
    const std::string faulty[] = {
        group("kind", 70000, {}, "", 2), group("", 70000, {}),
        group("a:b", 70000, {}),         group("nul", 0, {}),
        group("daemon", 1, {"alice"}),   group("video", 44, {"alice"}),
        group("NEW", 70001, {}),         group("about", 70000, {}, "a\nb"),
    };
    std::string body = group("new", 70000, {"alice"});
    for (const std::string &record : faulty)
        body += record;
    EXPECT_EQ(import_groups(number(1 + std::size(faulty)) + body), -1);
    const std::string problems = told();
    EXPECT_EQ(std::count(problems.begin(), problems.end(), '\n'), int(std::size(faulty))) << problems;
    EXPECT_EQ(count_groups(), 6);
    EXPECT_NE(root.read(kGroup).find("\ndaemon:!:1:\n"), std::string::npos);

    root.reset();
    root.write("etc.defaults/morvinfo.conf", "maxgroups=\"6\"\n");
    EXPECT_EQ(import_groups(number(3) + group("one", 70000, {}) + group("two", 70001, {}) +
                            group("staff", 65536, {"zoë"})),
              -1);
    EXPECT_EQ(told(), "group two: this model takes no more groups\n");
    EXPECT_NE(root.read(kGroup).find("staff:x:65536:zoë\n"), std::string::npos);
}

TEST(GroupBackup, ThatIsDamagedIsRestoredUpToTheDamage) {
    const AccountRoot root;
    const std::string one = group("one", 70000, {"alice"}), both = one + group("two", 70001, {"alice"});
    const std::string less = number(1) + text("two") + number(70001) + text("") + number(-1);
    const struct {
        std::string body;
        int added;
    } cases[] = {
        {"", 0},
        {number(-1) + both, 0},
        {number(1) + both, 1},
        {number(INT32_MAX) + both, 2},
        {number(2) + both.substr(0, both.size() - 1), 1},
        {number(2) + one + less, 1},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(import_groups(c.body), -1);
        EXPECT_EQ(count_groups(), 5 + c.added) << told();
        EXPECT_NE(told(), "");
        root.reset();
    }
}

TEST(GroupBackup, InterruptedWhileItIsRestoredLeavesWholeFiles) {
    const AccountRoot root;
    interrupt(root, MORVSysbkpGroupImport,
              number(2) + group("staff", 65536, {"zoë"}, "Others") + group("anna", 0x10010, {}, "Hers"),
              count_groups);
}

}  // namespace
