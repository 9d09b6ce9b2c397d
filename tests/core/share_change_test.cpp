#include "core/account/share_change.h"

#include <gtest/gtest.h>
#include <morvsdk/errcodes.h>

#include "support/accounts.h"

namespace {

using namespace testing_support;

TEST(ForgottenShares, AreThoseThatStillLieWhereTheyAreForgotten) {
    const AccountRoot root;
    const AccountRoot::Files files = root.files();
    for (const char *elsewhere : {"/volume2", "/volume", "/volume1/plan", "/volume1/plans/in"})
        EXPECT_EQ(morv::forget_share("plans", elsewhere), ERR_NO_SUCH_SHARE) << elsewhere;
    EXPECT_EQ(root.files(), files);
    root.write("volume1/plans/kept", "a file");
    EXPECT_EQ(morv::forget_share("plans", "/volume1"), 0);
    EXPECT_EQ(root.read("usr/morv/etc/smb.conf").find("plans"), std::string::npos);
    EXPECT_EQ(root.read("volume1/plans/kept"), "a file");
}

}  // namespace
