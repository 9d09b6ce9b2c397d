#include <morvsdk/internal/group.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "support/outcome.h"

using namespace testing_support;

namespace {

TEST(GroupRecord, IsMadeAndUsedAgain) {
    MORVGROUP *group = nullptr;
    ASSERT_EQ(MORVGroupAlloc(&group, "users", 100, "alice,bob"), 0);
    const char *const texts = reinterpret_cast<const char *>(group + 1);
    EXPECT_EQ(std::string(texts, sizeof "users\0x\0alice,bob"),
              std::string("users\0x\0alice,bob", sizeof "users\0x\0alice,bob"));
    EXPECT_STREQ(group->szPassword, "x");
    const MORVGROUP *const first = group;
    ASSERT_EQ(MORVGroupAlloc2(&group, "a", "!", MORV_GROUP_NO_GID, nullptr), 0);
    EXPECT_EQ(group, first);
    EXPECT_STREQ(group->szPassword, "!");
    EXPECT_EQ(group->szMembers, reinterpret_cast<char *>(group) + group->allocated - 1);
    EXPECT_EQ(group->gid, MORV_GROUP_NO_GID);
    EXPECT_TRUE(refuses(-1, MORVGroupAlloc(&group, "b", 1, group->szName)));
    EXPECT_TRUE(refuses(-1, MORVGroupAlloc(&group, "", 1, "")));
    EXPECT_TRUE(refuses(-1, MORVGroupAlloc(nullptr, "b", 1, "")));
    EXPECT_STREQ(group->szName, "a");
    MORVGroupFree(group);
    MORVGroupFree(nullptr);
}

TEST(GroupName, HasAtMost15Characters) {
    EXPECT_EQ(BlMLIBIsGroupName("fifteen letters"), 1);
    EXPECT_EQ(BlMLIBIsGroupName("sixteen letters."), 0);
    EXPECT_EQ(BlMLIBIsGroupName("ääääääääääääääÄ"), 1);
}

std::vector<std::string> members_of(const struct group *group) {
    std::vector<std::string> members;
    for (char **member = group->gr_mem; *member; ++member)
        members.emplace_back(*member);
    return members;
}

TEST(GroupLine, IsCutIntoFieldsAndMembers) {
    void *buffer = nullptr;
    int size = 0;
    struct group *group = nullptr;
    const struct {
        const char *line;
        gid_t gid;
        std::vector<std::string> members;
    } cases[] = {
        {"staff:x:65536:alice,Bob Smith", 65536, {"alice", "Bob Smith"}},
        {"staff:x:4294967295:", MORV_GROUP_NO_GID, {}},
        {"staff:x:-1:", MORV_GROUP_NO_GID, {}},
        {"staff:x::,,a,,b,", 0, {"a", "b"}},
        {"staff:x:1:a:b,c", 1, {"a"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.line);
        ASSERT_EQ(MORVGroupDBUnpack(c.line, &buffer, &size, &group), 0);
        EXPECT_STREQ(group->gr_name, "staff");
        EXPECT_STREQ(group->gr_passwd, "x");
        EXPECT_EQ(group->gr_gid, c.gid);
        EXPECT_EQ(members_of(group), c.members);
    }
    EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, MORVGroupDBUnpack("a:x:1", &buffer, &size, &group)));
    EXPECT_TRUE(refuses(-1, MORVGroupDBUnpack(group->gr_name, &buffer, &size, &group)));
    EXPECT_TRUE(refuse_nulls(-1, MORVGroupDBUnpack, MORVGroupToUnixGroup));
    free(buffer);
}

TEST(Group, OfThisMachineBecomesARecordOfTheCLibrary) {
    void *buffer = nullptr;
    int size = 0;
    struct group *entry = nullptr;
    MORVGROUP *group = nullptr;
    ASSERT_EQ(MORVGroupAlloc2(&group, "staff", "!", 65537, "a,b"), 0);
    ASSERT_EQ(MORVGroupToUnixGroup(group, &buffer, &size, &entry), 0);
    EXPECT_STREQ(entry->gr_name, "staff");
    EXPECT_STREQ(entry->gr_passwd, "x");
    EXPECT_EQ(entry->gr_gid, 65537u);
    EXPECT_EQ(members_of(entry), (std::vector<std::string>{"a", "b"}));
    ASSERT_EQ(MORVGroupAlloc(&group, "HOME\\staff", 1, nullptr), 0);
    EXPECT_TRUE(gives(-1, ERR_INVALID_GROUPNAME, MORVGroupToUnixGroup(group, &buffer, &size, &entry)));
    ASSERT_EQ(MORVGroupAlloc(&group, "staff", MORV_GROUP_NO_GID, nullptr), 0);
    EXPECT_TRUE(gives(-1, ERR_INVALID_GROUPNAME, MORVGroupToUnixGroup(group, &buffer, &size, &entry)));
    MORVGroupFree(group);
    free(buffer);
}

}  // namespace
