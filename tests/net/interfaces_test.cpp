// Which interfaces are listed, and with what.
#include <morvsdk/internal/net.h>

#include "net_root.h"
#include "support/outcome.h"

using namespace testing_support;

namespace {

std::string names_of(int selection, int maximum = 100) {
    NET_INTERFACE entries[100];
    const int count = MLIBNetGetInterfaceInfo(entries, maximum, selection);
    EXPECT_EQ(count, MLIBNetGetInterfaceInfo(nullptr, maximum, selection)) << "counting alone";
    std::string names;
    for (int i = 0; i < count; ++i)
        names += std::string(i > 0 ? " " : "") + entries[i].name;
    return count < 0 ? "failed" : names;
}

TEST(NetInterfaces, AreChosenByTheirFlagsAndSortedByName) {
    NetRoot root;
    root.interface("eth1", kUp);
    root.interface("eth0", kUp | IFF_SLAVE);
    root.interface("bond0", kUp | IFF_MASTER);
    root.interface("ppp0", kUp | IFF_POINTOPOINT);
    root.interface("eth2", IFF_BROADCAST);
    EXPECT_EQ(names_of(MORV_NET_BUT_MASTERS), "eth0 eth1");
    EXPECT_EQ(names_of(MORV_NET_BUT_SLAVES), "bond0 eth1");
    EXPECT_EQ(names_of(MORV_NET_ALL), "bond0 eth0 eth1");
    EXPECT_EQ(names_of(5), "bond0 eth0 eth1");
    // The limit counts in the kernel's order.
    EXPECT_EQ(names_of(MORV_NET_ALL, 2), "eth0 eth1");
    EXPECT_EQ(names_of(MORV_NET_ALL, 0), "");
    NET_INTERFACE entry;
    EXPECT_TRUE(refuses(-1, MLIBNetGetInterfaceInfo(&entry, -1, 1)));
    EXPECT_TRUE(refuses(-1, MLIBNetGetInterfaceInfo(&entry, 1, 0)));
    EXPECT_TRUE(refuses(-1, MLIBNetGetInterfaceInfo(&entry, 1, 4)));
}

TEST(NetInterfaces, AreToldWithAddressesLinkAndFlags) {
    NetRoot root;
    root.interface("eth0", 0x8043, "192.168.1.10/255.255.255.0");
    root.interface("eth1", IFF_UP);
    unlink(root.path("sys/class/net/eth1/address").c_str());
    NET_INTERFACE entries[2];
    memset(entries, 0xEE, sizeof entries);
    ASSERT_EQ(MLIBNetGetInterfaceInfo(entries, 2, 1), 2);
    EXPECT_STREQ(entries[0].address, "192.168.1.10");
    EXPECT_EQ(memcmp(entries[0].hardware, "\x52\x54\x00\x12\x34\x56", 6), 0);
    EXPECT_EQ(entries[0].link, 2);
    EXPECT_EQ(entries[0].flags, -0x7FBD);  // 16 bits with a sign
    EXPECT_STREQ(entries[1].address, "");
    EXPECT_EQ(memcmp(entries[1].hardware, "\0\0\0\0\0\0", 6), 0);
    EXPECT_EQ(entries[1].link, 0);

    char text[MORV_IP_TEXT_SIZE];
    EXPECT_EQ(MORVILnxGetIP("eth0", text, sizeof text), 0);
    EXPECT_STREQ(text, "192.168.1.10");
    EXPECT_EQ(MORVILnxGetNetmask("eth0", text, sizeof text), 0);
    EXPECT_STREQ(text, "255.255.255.0");
    EXPECT_TRUE(gives(-1, ERR_INVALID_NETNAME, MORVILnxGetIP("eth1", text, sizeof text)));
    EXPECT_TRUE(gives(-1, ERR_INVALID_NETNAME, MORVILnxGetIP("eth7", text, sizeof text)));
    EXPECT_TRUE(gives(-1, ERR_INVALID_NETNAME, MORVILnxGetIP("a-name-of-twenty-two", text, sizeof text)));
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVILnxGetIP("eth0", text, 12)));
}

TEST(NetInterfaces, WithANameThatIsTooLongAreSkippedAndNotTakenForOthers) {
    NetRoot root;
    root.interface("abcdefghijklmno", kUp);
    root.interface("abcdefghijklmnop", kUp);
    EXPECT_EQ(names_of(MORV_NET_ALL), "abcdefghijklmno");
    // Lines of another kind are none of the kernel's, and neither hang nor crash.
    root.write("proc/net/dev", "one\ntwo\n\n:\n  :\nno colon\nabcdefghijklmno\n" + std::string(5000, 'x') +
                                   ":\n\t abcdefghijklmno:1");
    EXPECT_EQ(names_of(MORV_NET_ALL), "abcdefghijklmno");
    for (const char *text : {"", "one", "one\ntwo", "one\ntwo\n"}) {
        root.write("proc/net/dev", text);
        EXPECT_EQ(names_of(MORV_NET_ALL), "") << text;
    }
    unlink(root.path("proc/net/dev").c_str());
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MLIBNetGetInterfaceInfo(nullptr, 8, 1)));
    root.path("proc/net/dev/x");
    EXPECT_TRUE(gives(-1, ERR_READ_FAILED, MLIBNetGetInterfaceInfo(nullptr, 8, 1)));
}

}  // namespace
