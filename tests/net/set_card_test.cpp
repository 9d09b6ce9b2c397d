// Giving an interface another address.
#include <dlfcn.h>
#include <morvsdk/internal/net.h>

#include "net_root.h"
#include "support/fake_syslog.h"
#include "support/outcome.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

constexpr char kDhcp[] = "# my card\nDEVICE=eth0\nBOOTPROTO=dhcp\nMASTER=bond0\nMTU=9000";
constexpr char kStatic[] =
    "# my "
    "card\nDEVICE=eth0\nBOOTPROTO=static\nMTU=9000\nONBOOT=yes\nIPADDR=192.168.1.10\nNETMASK=255.255.255.0\n";
constexpr char kHosts[] = "127.0.0.1\tlocalhost\n192.168.1.77 nas nas.lan # mine\n";

struct CardRoot : NetRoot {
    CardRoot() {
        card("eth0", kDhcp, "10.1.0.7/255.255.0.0");
        write("etc/hosts", kHosts);
        write("etc/sysconfig/network", "NETWORKING=yes\nHOSTNAME=nas\n");
        routes("");
    }
    std::string settings() const { return read(settings_of("eth0")); }

    // Lines of the file in no particular order, as the keys added come in that of a hash.
    static std::vector<std::string> sorted_lines(const std::string &text) {
        std::vector<std::string> lines;
        for (size_t at = 0; at < text.size();) {
            const size_t end = text.find('\n', at);
            lines.push_back(text.substr(at, end - at));
            at = end == text.npos ? text.size() : end + 1;
        }
        std::sort(lines.begin(), lines.end());
        return lines;
    }
};

TEST(NetSetCard, WritesTheFileSetsTheAddressAndBringsTheHostsLineToIt) {
    CardRoot root;
    root.write("etc/ppp/old_gateway.bak", "1.2.3.4");
    root.write("etc/resolv.conf.bak", "1.2.3.4");
    const NET_CARD card = static_card("eth0", "192.168.1.10", "255.255.255.000");
    ASSERT_EQ(MORVNetSetCard1(&card, nullptr), 0);
    EXPECT_EQ(root.sorted_lines(root.settings()), root.sorted_lines(kStatic));
    EXPECT_EQ(root.read("etc/hosts"), "127.0.0.1\tlocalhost\n192.168.1.10\tnas nas.lan\t# mine\n");
    EXPECT_EQ(root.settings_files(), std::vector<std::string>{"ifcfg-eth0"}) << "no backup is left";
    EXPECT_FALSE(root.has("etc/ppp/old_gateway.bak"));
    EXPECT_FALSE(root.has("etc/resolv.conf.bak"));
    const std::string calls = root.calls();
    EXPECT_TRUE(calls.starts_with("cp -f ROOT/etc/sysconfig/network-scripts/ifcfg-eth0 ROOT/etc/sysconfig/"))
        << calls;
    EXPECT_NE(calls.find("ifconfig eth0 192.168.1.10 netmask 255.255.255.0 broadcast 192.168.1.255\n"),
              calls.npos);
    EXPECT_TRUE(locks_are_free());
    NET_CARD read;
    ASSERT_EQ(MORVNetGetCard1(0, "192.168.1.10", &read), 1);
    EXPECT_STREQ(read.netmask, "255.255.255.0");
}

TEST(NetSetCard, TellsTheDynamicDnsDaemonOfAnotherAddressOnly) {
    CardRoot root;
    NET_CARD card = static_card("eth0", "192.168.1.10", "255.255.255.0");
    const auto is_told = [&](const NET_CARD *previous) {
        logged.clear();
        EXPECT_EQ(MORVNetSetCard1(&card, previous), 0);
        return logged.find("HUP ddnsd result: no such service or not enabled") != logged.npos;
    };
    EXPECT_TRUE(is_told(nullptr));
    NET_CARD previous = card;
    root.calls();
    EXPECT_FALSE(is_told(&previous));
    EXPECT_NE(root.calls().find("ifconfig eth0 192.168.1.10"), std::string::npos) << "applied all the same";
    strcpy(previous.netmask, "255.255.0.0");
    EXPECT_TRUE(is_told(&previous));
    memset(previous.address, 'x', sizeof previous.address);
    EXPECT_TRUE(is_told(&previous));
}

TEST(NetSetCard, ThatIsRefusedChangesNothing) {
    CardRoot root;
    const struct {
        int code;
        NET_CARD card;
    } cases[] = {
        {ERR_INVALID_NETNAME, static_card("eth0", "192.168.1.255", "255.255.255.0")},
        {ERR_INVALID_NETNAME, static_card("eth0", "192.168.1.10", "255.0.255.0")},
        {ERR_INVALID_NETNAME, static_card("eth0", "", "255.255.255.0")},
        {ERR_INVALID_NETNAME, static_card("eth0", "10.0.0.1;reboot", "255.0.0.0")},
        {ERR_BAD_PARAMETERS, static_card("", "192.168.1.10", "255.255.255.0")},
        {ERR_BAD_PARAMETERS, static_card("../../passwd", "192.168.1.10", "255.255.255.0")},
        {ERR_BAD_PARAMETERS, static_card("a b", "192.168.1.10", "255.255.255.0")},
        {ERR_BAD_PARAMETERS, dhcp_card("")},
        {ERR_BAD_PARAMETERS, dhcp_card("$(reboot)")},
    };
    for (const auto &c : cases)
        EXPECT_TRUE(gives(-1, c.code, MORVNetSetCard1(&c.card, nullptr))) << c.card.name << c.card.address;
    // Fields that are full to the brim.
    NET_CARD full = static_card("eth0", "", "255.0.0.0");
    memset(full.address, '1', sizeof full.address);
    EXPECT_TRUE(gives(-1, ERR_INVALID_NETNAME, MORVNetSetCard1(&full, nullptr)));
    memset(full.name, 'x', sizeof full.name);
    full.isStatic = 0;
    EXPECT_TRUE(refuses(-1, MORVNetSetCard1(&full, nullptr)));
    EXPECT_TRUE(refuses(-1, MORVNetSetCard1(nullptr, nullptr)));
    EXPECT_TRUE(refuses(-1, MORVILnxSetIPNetmask("eth0", nullptr, "255.0.0.0")));
    EXPECT_TRUE(gives(-1, ERR_INVALID_NETNAME, MORVILnxSetIPNetmask("eth0", "10.0.0", "255.0.0.0")));
    EXPECT_EQ(root.calls(), "");
    EXPECT_EQ(root.settings(), kDhcp);
    EXPECT_TRUE(locks_are_free());
}

TEST(NetSetCard, ThatFailsLeavesTheFileAsItWas) {
    CardRoot root;
    const NET_CARD card = static_card("eth0", "192.168.1.10", "255.255.255.0");
    root.tool("sbin/ifconfig", "exit 1");
    EXPECT_TRUE(gives(-1, ERR_OP_FAILURE, MORVNetSetCard1(&card, nullptr)));
    EXPECT_EQ(root.settings(), kDhcp);
    EXPECT_EQ(root.read("etc/hosts"), kHosts);
    // The address is there by then, but not the host name that the call promises with it.
    root.tool("sbin/ifconfig");
    root.write("etc/sysconfig/network", "HOSTNAME=a.name\n");
    EXPECT_TRUE(gives(-1, ERR_INVALID_NETNAME, MORVNetSetCard1(&card, nullptr)));
    EXPECT_EQ(root.settings(), kDhcp);
    EXPECT_EQ(root.settings_files(), std::vector<std::string>{"ifcfg-eth0"});
    // One without a file has none afterwards.
    const NET_CARD other = static_card("eth7", "192.168.1.10", "255.255.255.0");
    EXPECT_EQ(MORVNetSetCard1(&other, nullptr), -1);
    EXPECT_FALSE(root.has(root.settings_of("eth7")));
    EXPECT_TRUE(locks_are_free());

    root.write("etc/sysconfig/network", "A=1\n");
    root.tool("bin/cp", "echo half >\"$3\"; exit 1");
    root.tool("sbin/ifconfig", "exit 1");
    EXPECT_TRUE(gives(-1, ERR_OP_FAILURE, MORVNetSetCard1(&card, nullptr)));
    EXPECT_EQ(root.settings(), kDhcp) << "although no copy could be made";
    EXPECT_EQ(root.settings_files(), std::vector<std::string>{"ifcfg-eth0"});
    root.tool("sbin/ifconfig");
    logged.clear();
    EXPECT_EQ(MORVNetSetCard1(&card, nullptr), 0) << "no name is stored, and no backup could be made";
    EXPECT_NE(logged.find("failed.(strerror="), logged.npos);
}

TEST(NetSetCard, ThatFailsKeepsModeAndLinkOfTheFile) {
    CardRoot root;
    const std::string file = root.path(root.settings_of("eth0")),
                      elsewhere = root.write("etc/cards/eth0", kDhcp);
    unlink(file.c_str());
    ASSERT_EQ(symlink("../../cards/eth0", file.c_str()), 0);
    ASSERT_EQ(chmod(elsewhere.c_str(), 0666), 0);
    root.write(root.settings_of("eth0") + ".tmp", "somebody's");
    root.tool("sbin/ifconfig", "exit 1");
    const NET_CARD card = static_card("eth0", "192.168.1.10", "255.255.255.0");
    EXPECT_EQ(MORVNetSetCard1(&card, nullptr), -1);
    EXPECT_EQ(root.read("etc/cards/eth0"), kDhcp);
    EXPECT_EQ(mode_of(elsewhere), 0666U);
    root.tool("sbin/ifconfig");
    EXPECT_EQ(MORVNetSetCard1(&card, nullptr), 0);
    EXPECT_EQ(root.sorted_lines(root.read("etc/cards/eth0")), root.sorted_lines(kStatic));
    EXPECT_EQ(root.settings_files(), (std::vector<std::string>{"ifcfg-eth0", "ifcfg-eth0.tmp"}));
}

TEST(NetSetCard, GivesTheHostNameTheAddressOfTheInterfaceThatWasSet) {
    NetRoot root;
    root.interface("tun0", kUp | IFF_POINTOPOINT, "10.8.0.1/255.255.255.255");
    root.card("eth1", kStatic, "10.0.0.1/255.0.0.0");
    root.card("eth0", kStatic, "192.168.1.5/255.255.255.0");
    root.routes("");
    root.write("etc/sysconfig/network", "HOSTNAME=nas\n");
    root.write("etc/hosts", "192.168.1.5\tnas\n");
    const auto set = [&](const char *name, const char *address) {
        const NET_CARD card = static_card(name, address, "255.255.255.0");
        EXPECT_EQ(MORVNetSetCard1(&card, nullptr), 0);
        return root.read("etc/hosts");
    };
    EXPECT_EQ(set("eth0", "192.168.1.10"), "192.168.1.10\tnas\n");
    EXPECT_EQ(set("eth1", "10.0.0.2"), "192.168.1.10\tnas\n") << "it has an address of ours";
    root.write("etc/hosts", "10.0.0.2\tnas\n");
    EXPECT_EQ(set("eth1", "10.0.0.3"), "10.0.0.3\tnas\n");
}

TEST(NetSetCard, ByDhcpStartsTheClientAndThenWritesTheFile) {
    CardRoot root;
    root.write(root.settings_of("eth0"), kStatic);
    const NET_CARD card = dhcp_card("eth0");
    root.tool("sbin/dhcpcd", "exit 1");
    EXPECT_TRUE(gives(-1, ERR_OP_FAILURE, MORVNetSetCard1(&card, nullptr)));
    EXPECT_EQ(root.settings(), kStatic);
    EXPECT_NE(logged.find("run dhcpcd error"), logged.npos);
    root.calls();

    root.tool("sbin/dhcpcd", "cat \"$MORV_ROOT/" + root.settings_of("eth0") + "\" >\"$MORV_ROOT/seen\"");
    root.write("etc/dhcpc/dhcpcd-eth0.pid", "0\n");
    ASSERT_EQ(MORVNetSetCard1(&card, nullptr), 0);
    EXPECT_EQ(root.read("seen"), kStatic) << "the client is started first";
    EXPECT_EQ(root.settings(), "# my card\nDEVICE=eth0\nBOOTPROTO=dhcp\nMTU=9000\nONBOOT=yes\n");
    EXPECT_EQ(root.calls(), "dhcpcd -n eth0 -t 30\n");
    EXPECT_FALSE(root.has("etc/dhcpc/dhcpcd-eth0.pid"));

    unlink(root.path(root.settings_of("eth0")).c_str());
    root.write(root.settings_of("eth0") + "/x", "");
    root.tool("sbin/dhcpcd");
    EXPECT_TRUE(gives(-2, ERR_OPEN_FAILED, MORVNetSetCard1(&card, nullptr)));
    EXPECT_TRUE(locks_are_free());
}

// What any failing system call or kill leaves: files that are the old or the new ones.
void expect_whole(const CardRoot &root, bool is_new, const std::string &what) {
    const auto lines = root.sorted_lines(root.settings());
    const bool has_new = lines == root.sorted_lines(kStatic);
    // A line feed at the end may have been added.
    const bool has_old = lines == root.sorted_lines(kDhcp);
    EXPECT_TRUE(has_new || has_old) << what << root.settings();
    EXPECT_TRUE(has_new || !is_new) << what;
    const std::string hosts = root.read("etc/hosts");
    EXPECT_TRUE(hosts == kHosts || hosts.find("192.168.1.10\tnas") != hosts.npos) << what << hosts;
    EXPECT_EQ(root.read("etc/sysconfig/network"), "NETWORKING=yes\nHOSTNAME=nas\n") << what;
}

TEST(NetSetCard, IsWholeWhateverFailsAndWheneverItIsKilled) {
    CardRoot root;
    const NET_CARD card = static_card("eth0", "192.168.1.10", "255.255.255.0");
    const auto reset = [&] {
        root.write(root.settings_of("eth0"), kDhcp);
        root.write("etc/hosts", kHosts);
    };
    const int faults = for_each_sys_fault([&](Sys which, int nth) {
        reset();
        bool reached;
        int result;
        {
            const SysFault fault(which, nth);
            result = MORVNetSetCard1(&card, nullptr);
            reached = fault.reached();
        }
        const std::string what = sys_name(which) + std::to_string(nth) + " ";
        expect_whole(root, result == 0, what);
        EXPECT_EQ(root.settings_files(), std::vector<std::string>{"ifcfg-eth0"}) << what;
        EXPECT_TRUE(locks_are_free()) << what;
        return reached;
    });
    EXPECT_GT(faults, 30);

    int nth = 1;
    for (int ended = -1; ended != 0 && nth < 300; ++nth) {
        reset();
        ended = in_child([&] {
            kill_at_call(nth);
            return MORVNetSetCard1(&card, nullptr) == 0 ? 0 : 1;
        });
        expect_whole(root, ended == 0, "killed at " + std::to_string(nth));
    }
    EXPECT_GT(nth, 20);
    EXPECT_LT(nth, 300);
    // The backups of calls that were killed go with the next one that succeeds.
    for (const std::string &name : root.settings_files())
        EXPECT_EQ(name.find(".tmp"), name.npos) << name;
}

}  // namespace
