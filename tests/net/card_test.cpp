// Reading how an interface is configured.
#include "net_root.h"
#include "support/fake_syslog.h"
#include "support/outcome.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

constexpr char kStatic[] = "DEVICE=eth0\nBOOTPROTO=static\nIPADDR=192.168.1.10\nNETMASK=255.255.255.0\n";
constexpr char kStatic1[] = "BOOTPROTO=static\nIPADDR=10.0.0.1\nNETMASK=255.0.0.0\n";

TEST(NetCard, IsFoundByIndexAndByTheAddressThatItHas) {
    NetRoot root;
    root.card("eth1", kStatic1, "10.0.0.2/255.0.0.0");
    root.card("eth0", kStatic, "192.168.1.10/255.255.255.0");
    NET_CARD card;
    memset(&card, 0xEE, sizeof card);
    ASSERT_EQ(MORVNetGetCard1(0, nullptr, &card), 1);
    EXPECT_STREQ(card.name, "eth0");
    EXPECT_STREQ(card.address, "192.168.1.10");
    EXPECT_STREQ(card.netmask, "255.255.255.0");
    EXPECT_EQ(card.isStatic, 1);
    EXPECT_EQ(card.hasLink, 1);
    EXPECT_EQ(card.hardware[0], 0x52);
    // By the kernel's address; what is in the file is what it will have.
    ASSERT_EQ(MORVNetGetCard1(77, "10.0.0.2", &card), 1);
    EXPECT_STREQ(card.name, "eth1");
    EXPECT_STREQ(card.address, "10.0.0.1");

    EXPECT_EQ(MORVNetGetCard1(2, nullptr, &card), 0);
    EXPECT_EQ(MORVNetGetCard1(0, "10.0.0.9", &card), 0);
    EXPECT_EQ(MORVNetGetCard1(0, "", &card), 0);
    EXPECT_STREQ(card.name, "eth1") << "untouched";
    MLIBErrSet(0);
    EXPECT_TRUE(refuses(-1, MORVNetGetCard1(8, nullptr, &card)));
    EXPECT_TRUE(refuses(-1, MORVNetGetCard1(-1, nullptr, &card)));
    EXPECT_TRUE(refuses(-1, MORVNetGetCard1(0, nullptr, nullptr)));
    EXPECT_TRUE(locks_are_free());
}

TEST(NetCard, ByDhcpHasTheAddressOfTheLeaseAndWaitsForIt) {
    NetRoot root;
    root.card("eth0", "BOOTPROTO=dhcp\nIPADDR=1.2.3.4\nNETMASK=255.0.0.0\n");
    const std::string lease = "etc/dhcpc/dhcpcd-eth0.info";
    int naps = 0;
    while_waiting = [&] {
        // The client has only just begun to write when it is first looked at.
        if (++naps == 1) root.write(lease, "IPADDR=10.1.0.7\n");
        EXPECT_TRUE(locks_are_free()) << "nobody is kept from settings meanwhile";
        if (naps == 5) root.write(lease, "IPADDR=10.1.0.7\nNETMASK=255.255.0.0\n");
    };
    NET_CARD card;
    ASSERT_EQ(MORVNetGetCard1(0, nullptr, &card), 1);
    EXPECT_EQ(card.isStatic, 0);
    EXPECT_STREQ(card.address, "10.1.0.7");
    EXPECT_STREQ(card.netmask, "255.255.0.0");
    EXPECT_EQ(naps, 5);

    while_waiting = nullptr;
    unlink(root.path(lease).c_str());
    logged.clear();
    EXPECT_EQ(MORVNetGetCard1(0, nullptr, &card), 0);
    EXPECT_NE(logged.find("Get IP from /etc/dhcpc/dhcpcd-eth0.info fail"), logged.npos) << logged;
    EXPECT_NE(logged.find("Get netmask from"), logged.npos);
    EXPECT_TRUE(locks_are_free());
}

TEST(NetCard, WithoutAUsableAddressIsNotFilled) {
    NetRoot root;
    root.interface("eth0", kUp);
    for (const char *settings : {"NETMASK=255.0.0.0\n", "IPADDR=1.2.3.4\n", "IPADDR=\nNETMASK=255.0.0.0\n",
                                 "IPADDR=1.2.3.4\nNETMASK= \n",
                                 // One character more than there is room for; never cut into another address.
                                 "IPADDR=192.168.100.10000000\nNETMASK=255.0.0.0\n"}) {
        root.write(root.settings_of("eth0"), std::string("BOOTPROTO=static\n") + settings);
        NET_CARD card = {};
        EXPECT_EQ(MORVNetGetCard1(0, nullptr, &card), 0) << settings;
        EXPECT_STREQ(card.name, "");
    }
}

TEST(NetCard, WithoutAProtocolIsStaticAndItsFileSaysSoFromThenOn) {
    NetRoot root;
    const struct {
        const char *before, *after;
    } cases[] = {
        {"IPADDR=1.2.3.4\n", "IPADDR=1.2.3.4\nBOOTPROTO=static\n"},
        {"IPADDR=1.2.3.4", "IPADDR=1.2.3.4\nBOOTPROTO=static\n"},
        {"BOOTPROTO=\nA=1\n", "BOOTPROTO=static\nA=1\n"},
        {"BOOTPROTO=a-word-too-long-to-be-one\n", "BOOTPROTO=static\n"},
        {"", "BOOTPROTO=static\n"},
        {"BOOTPROTO=none\n", "BOOTPROTO=none\n"},
        {"BOOTPROTO=DHCP\n", "BOOTPROTO=DHCP\n"},
    };
    for (const auto &c : cases) {
        root.write(root.settings_of("eth0"), c.before);
        EXPECT_EQ(BlMORVLnxIsDHCP("eth0"), 0) << c.before;
        EXPECT_EQ(root.read(root.settings_of("eth0")), c.after);
    }
    EXPECT_EQ(BlMORVLnxIsDHCP("eth5"), 0);
    EXPECT_EQ(root.read(root.settings_of("eth5")), "BOOTPROTO=static\n");
    root.write(root.settings_of("eth0"), "BOOTPROTO=dhcp\n");
    EXPECT_EQ(BlMORVLnxIsDHCP("eth0"), 1);
    EXPECT_TRUE(locks_are_free());

    MLIBErrSet(0);
    for (const char *name :
         {"", ".", "..", "../x", "a/b", "a b", "a%s", "$(reboot)", "-n", "sixteen-letters-"})
        EXPECT_TRUE(refuses(0, BlMORVLnxIsDHCP(name))) << name;
    EXPECT_TRUE(refuses(0, BlMORVLnxIsDHCP(nullptr)));
    EXPECT_EQ(root.settings_files(), (std::vector<std::string>{"ifcfg-eth0", "ifcfg-eth5"}));
}

TEST(NetCard, IsNeitherHeldUpByAPipeNorWritableForAll) {
    NetRoot root;
    root.interface("eth0", kUp);
    ASSERT_EQ(mkfifo(root.path(root.settings_of("eth0")).c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(root.path("etc/resolv.conf").c_str(), 0600), 0);
    NET_CARD card;
    char buffer[32];
    EXPECT_EQ(MORVNetGetCard1(0, nullptr, &card), 0);
    EXPECT_EQ(MORVNetDNSGet(buffer, sizeof buffer), 0);
    const mode_t old = umask(0);
    BlMORVLnxIsDHCP("eth7");
    MORVNetDefaultGatewaySet("10.0.0.1");
    MORVConfSetMTUValue("1500", "eth0");
    umask(old);
    for (const std::string &file :
         {root.settings_of("eth7"), std::string("etc/sysconfig/network"), std::string("etc/morvinfo.conf")})
        EXPECT_EQ(mode_of(root.path(file)), 0644U) << file;
}

TEST(NetCard, WhoseFileCannotBeReadJustNowIsNotMadeStatic) {
    NetRoot root;
    const std::string text = "BOOTPROTO=dhcp\nIPADDR=1.2.3.4\n";
    root.write(root.settings_of("eth0"), text);
    const int faults = for_each_sys_fault([&](Sys which, int nth) {
        bool reached;
        {
            const SysFault fault(which, nth);
            BlMORVLnxIsDHCP("eth0");
            reached = fault.reached();
        }
        EXPECT_EQ(root.read(root.settings_of("eth0")), text) << sys_name(which) << nth;
        return reached;
    });
    EXPECT_GT(faults, 2);
}

TEST(NetCard, IsNotReadWhileAnotherProcessChangesIt) {
    NetRoot root;
    root.card("eth0", kStatic);
    const Holder holder(MORV_LOCK_HOST | MORV_LOCK_WRITE);
    NET_CARD card;
    EXPECT_TRUE(gives(-1, ERR_LOCK_FAILED, MORVNetGetCard1(0, nullptr, &card)));
    EXPECT_EQ(BlMORVLnxIsDHCP("eth0"), 0);
    EXPECT_NE(logged.find("ErrMLIBFileLock failed."), logged.npos);
    card = static_card("eth0", "10.0.0.1", "255.0.0.0");
    EXPECT_TRUE(gives(-1, ERR_LOCK_FAILED, MORVNetSetCard1(&card, nullptr)));
}

}  // namespace
