#include <morvsdk/user.h>

#include "support/accounts.h"
#include "support/outcome.h"

using namespace testing_support;

namespace {

std::string line_of(const std::string &name, int uid, const std::string &description) {
    return name + ":x:" + std::to_string(uid) + ":100:" + description + ":/home/" + name + ":/bin/sh\n";
}

std::string number(int i) {
    return std::to_string(10000 + i);
}

// Stores are filled and walked many records at a time; these are more than fit at once, in descending
// order, and one of them is longer than all that is done at a time.
TEST(UserMirror, HoldsManyUsersAndVeryLongLines) {
    const AccountRoot root;
    constexpr int kMany = 3000;
    const std::string long_text(300000, 'd');
    std::string passwd;
    std::string expected;
    for (int i = kMany; i-- > 0;)
        passwd += line_of("many" + number(i), 20000 + i, i == 1500 ? long_text : std::string(80, 'd'));
    passwd += line_of("Many" + number(7), 5000, "the last line of a name counts");
    for (int i = 0; i < kMany; ++i)
        expected += (i == 7 ? "Many" : "many") + number(i) + "\n";
    root.write("etc/passwd", passwd, 0644);

    MLIBSZLIST *list = PslMLIBSzListAlloc(512);
    ASSERT_EQ(MORVUserEnum(&list, MORV_USER_LOCAL), kMany);
    std::string names;
    for (int i = 0; i < list->nItem; ++i)
        names.append(SzMLIBSzListGet(list, i)).append("\n");
    MLIBSzListFree(list);
    EXPECT_EQ(names, expected);

    MORVUSER *user = nullptr;
    ASSERT_EQ(MORVUserGetByUID(21500, &user), 0);
    EXPECT_EQ(user->szDescription, long_text);
    ASSERT_EQ(MORVUserGet("MANY10007", &user), 0);
    EXPECT_EQ(user->uid, 5000u);
    EXPECT_STREQ(user->szHome, "/home/Many10007");
    MORVUserFree(user);
}

}  // namespace
