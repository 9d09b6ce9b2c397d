// The name server, the gateway and the default route, the MTU, the host name.
#include <arpa/inet.h>
#include <morvsdk/internal/net.h>

#include "net_root.h"
#include "support/fake_syslog.h"
#include "support/outcome.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

TEST(NetDns, IsTheFirstNameServerOfTheFile) {
    NetRoot root;
    const struct {
        const char *text, *server;
    } cases[] = {
        {"nameserver 192.168.1.1\nnameserver 8.8.8.8\n", "192.168.1.1"},
        {"# nameserver 1.1.1.1\noptions rotate\n; x\nsearch lan\nnameserver\t \t10.0.0.1 # mine\n",
         "10.0.0.1"},
        {"nameserver 192.168.1.1\r\nsearch lan\r\n", "192.168.1.1"},
        {" nameserver 1.1.1.1\nnameserver 2.2.2.2", "2.2.2.2"},
        {"nameserver\nnameserver 2.2.2.2\n", ""},
        {"search lan\n", ""},
        {"", ""},
    };
    char buffer[32];
    for (const auto &c : cases) {
        root.write("etc/resolv.conf", c.text);
        strcpy(buffer, "old");
        EXPECT_EQ(MORVNetDNSGet(buffer, sizeof buffer), 0);
        EXPECT_STREQ(buffer, c.server) << c.text;
    }
    root.write("etc/resolv.conf", "nameserver 192.168.1.1\n");
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVNetDNSGet(buffer, 11)));
    EXPECT_EQ(MORVNetDNSGet(buffer, 12), 0);
    unlink(root.path("etc/resolv.conf").c_str());
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MORVNetDNSGet(buffer, sizeof buffer)));
    EXPECT_TRUE(refuses(-1, MORVNetDNSGet(nullptr, 5)));
    EXPECT_TRUE(refuses(-1, MORVNetDNSGet(buffer, 0)));
    EXPECT_TRUE(refuses(-1, MORVNetDNSSet(nullptr)));
}

TEST(NetDns, IsReplacedWholeByAValidAddressOnly) {
    NetRoot root;
    const std::string old = "nameserver 1.2.3.4\n";
    root.write("etc/resolv.conf", old, 0640);
    for (const char *bad : {"256.1.1.1", "127.0.0.1", "1.2.3.255", "x", "1.2.3.4 5", "1.2.3.4\nsearch evil",
                            "10.0.0.0000000000000000000000001\nsearch evil"}) {
        EXPECT_TRUE(gives(-1, ERR_INVALID_NETNAME, MORVNetDNSSet(bad))) << bad;
    }
    EXPECT_NE(logged.find("Bad DNS 256.1.1.1"), logged.npos);
    EXPECT_EQ(root.read("etc/resolv.conf"), old);
    // White space that counts for nothing in a number would tear the line.
    EXPECT_EQ(MORVNetDNSSet("\n10.\n1.1.1"), 0);
    EXPECT_EQ(root.read("etc/resolv.conf"), "nameserver\t10.1.1.1\n");
    EXPECT_EQ(mode_of(root.path("etc/resolv.conf")), 0640U);
    EXPECT_EQ(MORVNetDNSSet(""), 0);
    EXPECT_EQ(root.read("etc/resolv.conf"), "");

    // A link to another resolver's file gives way, and that file is left alone.
    root.write("run/stub", "stub");
    unlink(root.path("etc/resolv.conf").c_str());
    ASSERT_EQ(symlink(root.path("run/stub").c_str(), root.path("etc/resolv.conf").c_str()), 0);
    EXPECT_EQ(MORVNetDNSSet("10.0.0.1"), 0);
    EXPECT_EQ(root.read("run/stub"), "stub");
    EXPECT_EQ(root.read("etc/resolv.conf"), "nameserver\t10.0.0.1\n");
    EXPECT_EQ(mode_of(root.path("etc/resolv.conf")), 0644U);
    EXPECT_TRUE(locks_are_free());

    const int faults = for_each_sys_fault([&](Sys which, int nth) {
        root.write("etc/resolv.conf", old);
        const auto before = root.names("etc");
        bool reached;
        int result;
        {
            const SysFault fault(which, nth);
            result = MORVNetDNSSet("10.0.0.1");
            reached = fault.reached();
        }
        EXPECT_EQ(root.read("etc/resolv.conf"), result == 0 ? "nameserver\t10.0.0.1\n" : old)
            << sys_name(which);
        EXPECT_EQ(root.names("etc"), before) << sys_name(which) << nth;
        return reached;
    });
    EXPECT_GT(faults, 6);
}

TEST(NetGateway, IsStoredUnquotedAndMadeTheDefaultRoute) {
    NetRoot root;
    const char *const file = "etc/sysconfig/network";
    char buffer[32];
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MORVNetDefaultGatewayGetConf(buffer, sizeof buffer)));
    EXPECT_EQ(MORVNetDefaultGatewaySet(nullptr), 0) << "there is none to remove";
    EXPECT_EQ(root.calls(), "route delete default\n");

    root.write(file, "NETWORKING=yes\n# GATEWAY=1.1.1.1\nHOSTNAME=nas");
    EXPECT_TRUE(gives(-1, ERR_KEY_NOT_FOUND, MORVNetDefaultGatewayGetConf(buffer, sizeof buffer)));
    EXPECT_EQ(MORVNetDefaultGatewaySet("192.168.1.1"), 0);
    EXPECT_EQ(root.read(file), "NETWORKING=yes\n# GATEWAY=1.1.1.1\nHOSTNAME=nas\nGATEWAY=192.168.1.1\n");
    EXPECT_EQ(root.calls(), "route delete default\nroute add default gw 192.168.1.1\n");
    EXPECT_EQ(MORVNetDefaultGatewayGetConf(buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "192.168.1.1");
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVNetDefaultGatewayGetConf(buffer, 5)));
    EXPECT_TRUE(refuses(-1, MORVNetDefaultGatewayGetConf(nullptr, 5)));

    // An address in another form than the tool knows.
    EXPECT_EQ(MORVNetDefaultGatewaySet(" 0x0A.0.0.+1"), 0);
    EXPECT_EQ(root.calls(), "route delete default\nroute add default gw 10.0.0.1\n");
    // Whatever it holds, it is one word of the command.
    EXPECT_EQ(MORVNetDefaultGatewaySet("a; touch $MORV_ROOT/owned `x` \"'"), 0);
    EXPECT_FALSE(root.has("owned"));
    EXPECT_EQ(root.calls(), "route delete default\nroute add default gw a; touch $MORV_ROOT/owned `x` \"'\n");
    const std::string before = root.read(file);
    EXPECT_TRUE(refuses(-1, MORVNetDefaultGatewaySet("-net")));
    EXPECT_TRUE(refuses(-1, MORVNetDefaultGatewaySet("1.2.3.4\nHOSTNAME=x")));
    EXPECT_TRUE(refuses(-1, MORVNetDefaultGatewaySet(" \t")));
    EXPECT_EQ(root.read(file), before);
    EXPECT_EQ(root.calls(), "");

    EXPECT_EQ(MORVNetDefaultGatewaySet(""), 0);
    EXPECT_EQ(root.read(file), "NETWORKING=yes\n# GATEWAY=1.1.1.1\nHOSTNAME=nas\n");
    EXPECT_EQ(root.calls(), "route delete default\n");
    root.tool("sbin/route", "test $1 = delete");
    EXPECT_TRUE(gives(-1, ERR_OP_FAILURE, MORVNetDefaultGatewaySet("10.0.0.1")));
    EXPECT_TRUE(locks_are_free());
}

// A line of "/proc/net/route" with an address as this machine's kernel writes it.
std::string route_line(const char *gateway, unsigned flags, int metric, const char *destination = "0.0.0.0",
                       const char *mask = "0.0.0.0") {
    char line[128];
    snprintf(line, sizeof line, "eth0\t%08X\t%08X\t%04X\t0\t0\t%d\t%08X\t0\t0\t0   \n",
             inet_addr(destination), inet_addr(gateway), flags, metric, inet_addr(mask));
    return line;
}

TEST(NetRoute, IsTheDefaultRouteWithTheSmallestMetric) {
    NetRoot root;
    char buffer[MORV_IP_TEXT_SIZE];
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MORVNetDefaultRouteGet(buffer, sizeof buffer)));
    root.routes(route_line("10.0.0.9", 1, 0) + route_line("10.0.0.8", 2, 0) + "eth0\t0000\n\n" +
                route_line("10.0.0.7", 3, 0, "10.0.0.0", "255.0.0.0"));
    EXPECT_TRUE(gives(-1, ERR_KEY_NOT_FOUND, MORVNetDefaultRouteGet(buffer, sizeof buffer)));
    root.routes(route_line("10.0.0.3", 3, 200) + route_line("10.0.0.1", 3, 100) +
                route_line("10.0.0.2", 3, 300));
    EXPECT_EQ(MORVNetDefaultRouteGet(buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "10.0.0.1");
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVNetDefaultRouteGet(buffer, 8)));
}

TEST(NetRoute, IsMendedWhenAnInterfaceReachesTheStoredGateway) {
    NetRoot root;
    root.interface("eth0", kUp, "192.168.1.10/255.255.255.0");
    root.interface("eth1", IFF_BROADCAST, "10.0.0.1/255.0.0.0");
    root.routes("");
    EXPECT_EQ(MORVILnxCheckRoute(), 0) << "none is stored";
    const auto check = [&](const char *gateway) {
        root.write("etc/sysconfig/network", std::string("GATEWAY=") + gateway + "\n");
        return MORVILnxCheckRoute();
    };
    EXPECT_EQ(check("192.168.2.1"), 0);
    EXPECT_EQ(check("10.0.0.2"), 0) << "the interface is down";
    EXPECT_EQ(check("127.0.0.2"), 0);
    EXPECT_EQ(check("here"), 0);
    EXPECT_NE(logged.find("192.168.2.1 lies in the network of no interface"), logged.npos);
    EXPECT_EQ(root.calls(), "");
    EXPECT_EQ(check("192.168.1.1"), 1);
    EXPECT_EQ(root.calls(), "route delete default\nroute add default gw 192.168.1.1\n");
    root.routes(route_line("192.168.1.1", 3, 0));
    EXPECT_EQ(check("192.168.1.1"), 0) << "it is the default route already";
    EXPECT_EQ(check("192.168.1.2"), 1);
    for (const char *no_host : {"192.168.1.10", "192.168.1.0", "192.168.1.255"})
        EXPECT_EQ(check(no_host), 0) << no_host;
    root.calls();
    root.tool("sbin/route", "test \"$4\" != 192.168.1.2");
    EXPECT_TRUE(gives(-1, ERR_OP_FAILURE, check("192.168.1.2")));
    EXPECT_TRUE(root.calls().ends_with("route add default gw 192.168.1.1\n")) << "the former way out is back";
    EXPECT_TRUE(locks_are_free());
}

TEST(NetMtu, IsKeptUnderTheFirstSevenCharactersOfTheName) {
    NetRoot root;
    char buffer[16];
    EXPECT_TRUE(gives(0, 0, MORVConfGetMTUValue("eth0", buffer, sizeof buffer)));
    EXPECT_STREQ(buffer, "1500");
    root.write("etc/morvinfo.conf", "a=\"b\"");
    EXPECT_EQ(MORVConfSetMTUValue("9000", "eth0"), 0);
    EXPECT_EQ(MORVConfSetMTUValue("1400", "interface1"), 0);
    EXPECT_EQ(root.read("etc/morvinfo.conf"), "a=\"b\"\neth0_mtu=\"9000\"\ninterfa_mtu=\"1400\"\n");
    EXPECT_EQ(MORVConfGetMTUValue("interface2", buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "1400");
    EXPECT_TRUE(gives(0, 0, MORVConfGetMTUValue("eth1", buffer, 5)));
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVConfGetMTUValue("eth1", buffer, 4)));
    for (const char *bad : {"", "x", "15 00", "-1", "1\"\nb=c", "100000"})
        EXPECT_TRUE(refuses(-1, MORVConfSetMTUValue(bad, "eth0"))) << bad;
    EXPECT_TRUE(refuses(-1, MORVConfSetMTUValue("1500", "a=b")));
    EXPECT_TRUE(refuses(-1, MORVConfGetMTUValue("a=b", buffer, sizeof buffer)));
    EXPECT_TRUE(refuses(-1, MORVConfGetMTUValue("eth0", buffer, 0)));
    EXPECT_TRUE(locks_are_free());
}

TEST(NetHostname, IsStoredAndItsHostsLineFollows) {
    NetRoot root;
    // The kernel's addresses are another machine's.
    root.card("eth1", "BOOTPROTO=dhcp\nIPADDR=1.1.1.1\n", "172.16.0.1/255.255.0.0");
    root.card("eth0", "BOOTPROTO=static\nIPADDR=192.168.1.10\n", "172.16.0.2/255.255.0.0");
    root.write("etc/dhcpc/dhcpcd-eth1.info", "IPADDR=10.0.0.1\n");
    const struct {
        const char *before, *after;
    } cases[] = {
        // The line of the old name, at an address that is no longer ours, or that of another interface.
        {"192.168.1.77\tnas\n", "192.168.1.10\tbox\n"},
        {"10.0.0.1\tNAS\n", "10.0.0.1\tbox\n"},
        // What else stands there stays.
        {"# top\n\n127.0.0.1 localhost nas\n::1 nas\n1.2.3.4 printer box\n5.6.7.8  nas.lan nas\tfiles # "
         "ours\n9.9.9.9 x",
         "# top\n\n127.0.0.1 localhost nas\n::1 nas\n1.2.3.4 printer box\n192.168.1.10\tnas.lan box files\t# "
         "ours\n9.9.9.9 x"},
        // Who looks the name up gets the first line. One of another host has it besides, and stays.
        {"192.168.1.77 nas\n192.168.1.10 nas\n", "192.168.1.10\tbox\n192.168.1.10 nas\n"},
        {"1.2.3.4 printer nas\n", "1.2.3.4 printer nas\n192.168.1.10\tbox\n"},
        // No line has the name, but one has the address.
        {"10.0.0.1 files\n", "10.0.0.1\tbox files\n"},
        {"127.0.0.1 localhost", "127.0.0.1 localhost\n192.168.1.10\tbox\n"},
        {"", "192.168.1.10\tbox\n"},
        {"not an address nas\n#1.2.3.4 nas\n", "not an address nas\n#1.2.3.4 nas\n192.168.1.10\tbox\n"},
    };
    char kernel_name[65], name[65];
    gethostname(kernel_name, sizeof kernel_name);
    for (const auto &c : cases) {
        root.write("etc/sysconfig/network", "HOSTNAME=nas\nGATEWAY=192.168.1.1");
        root.write("etc/hosts", c.before);
        EXPECT_EQ(MORVLnxSetHostname("box"), 0);
        EXPECT_EQ(root.read("etc/hosts"), c.after);
        EXPECT_EQ(root.read("etc/sysconfig/network"), "HOSTNAME=box\nGATEWAY=192.168.1.1\n");
        // Once more changes nothing.
        EXPECT_EQ(MORVLnxSetHostname("box"), 0);
        EXPECT_EQ(root.read("etc/hosts"), c.after);
    }
    EXPECT_EQ(MORVLnxGetHostname(name, sizeof name), 0);
    EXPECT_STREQ(name, "box");
    gethostname(name, sizeof name);
    EXPECT_STREQ(name, kernel_name) << "the machine's own";
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVLnxGetHostname(name, 3)));
    EXPECT_TRUE(gives(-1, ERR_INVALID_NETNAME, MORVLnxSetHostname("a.b")));
    EXPECT_TRUE(gives(-1, ERR_INVALID_NETNAME, MORVLnxSetHostname("sixteen-letters-")));
    EXPECT_TRUE(refuses(-1, MORVLnxSetHostname(nullptr)));
    EXPECT_TRUE(refuses(-1, MORVDDNSDaemonAction(3)));
    EXPECT_TRUE(gives(0, 0, MORVDDNSDaemonAction(MORV_DDNS_RELOAD)));

    // Without interfaces the line keeps its address.
    for (const char *card : {"eth0", "eth1"})
        unlink(root.path(root.settings_of(card)).c_str());
    EXPECT_EQ(MORVLnxSetHostname("files"), 0);
    EXPECT_NE(root.read("etc/hosts").find("192.168.1.10\tfiles\n"), std::string::npos);
}

TEST(NetSettings, AreWholeWhateverFails) {
    NetRoot root;
    const struct {
        const char *file, *before, *after;
        std::function<int()> set;
    } cases[] = {
        {"etc/sysconfig/network", "HOSTNAME=nas", "HOSTNAME=nas\nGATEWAY=10.0.0.1\n",
         [] { return MORVNetDefaultGatewaySet("10.0.0.1"); }},
        {"etc/sysconfig/network", "GATEWAY=10.0.0.1\nA=1", "A=1",
         [] { return MORVNetDefaultGatewaySet(""); }},
        {"etc/morvinfo.conf", "a=\"b\"", "a=\"b\"\neth0_mtu=\"9000\"\n",
         [] { return MORVConfSetMTUValue("9000", "eth0"); }},
    };
    for (const auto &c : cases) {
        const int faults = for_each_sys_fault([&](Sys which, int nth) {
            root.write(c.file, c.before);
            bool reached;
            int result;
            {
                const SysFault fault(which, nth);
                result = c.set();
                reached = fault.reached();
            }
            const std::string text = root.read(c.file), what = sys_name(which) + std::to_string(nth);
            EXPECT_TRUE(text == c.after || (result != 0 && text == c.before)) << what << text;
            EXPECT_TRUE(locks_are_free()) << what;
            return reached;
        });
        EXPECT_GT(faults, 5);
    }
}

TEST(NetSettings, AreRefusedAndLoggedWhileAnotherProcessHoldsThem) {
    NetRoot root;
    root.write("etc/resolv.conf", "nameserver 1.2.3.4\n");
    const Holder holder(MORV_LOCK_NW | MORV_LOCK_MORVINFO | MORV_LOCK_WRITE);
    char buffer[32];
    const auto is_refused = [](const char *line, int result) {
        const bool said = logged.find(line) != logged.npos;
        logged.clear();
        return gives(-1, ERR_LOCK_FAILED, result) && said;
    };
    logged.clear();
    EXPECT_TRUE(is_refused("7 net_dns_get:", MORVNetDNSGet(buffer, sizeof buffer)));
    EXPECT_TRUE(is_refused("3 net_dns_set:", MORVNetDNSSet("10.0.0.1")));
    EXPECT_TRUE(is_refused("3 net_default_gateway_set:", MORVNetDefaultGatewaySet("10.0.0.1")));
    EXPECT_TRUE(is_refused("Failed to lock morvinfo(400)", MORVConfSetMTUValue("9000", "eth0")));
    EXPECT_TRUE(is_refused("3 net_lnx_set_hostname:", MORVLnxSetHostname("nas")));
    EXPECT_EQ(root.calls(), "");
}

TEST(NetHostname, IsSetInBothFilesOrInNone) {
    NetRoot root;
    root.card("eth0", "BOOTPROTO=static\nIPADDR=192.168.1.10\n");
    const std::string network = "HOSTNAME=nas\n", hosts = "192.168.1.10\tnas\n";
    const int faults = for_each_sys_fault([&](Sys which, int nth) {
        root.write("etc/sysconfig/network", network);
        root.write("etc/hosts", hosts);
        bool reached, is_new;
        {
            const SysFault fault(which, nth);
            is_new = MORVLnxSetHostname("box") == 0;
            reached = fault.reached();
        }
        const std::string what = sys_name(which) + std::to_string(nth);
        EXPECT_EQ(root.read("etc/sysconfig/network"), is_new ? "HOSTNAME=box\n" : network) << what;
        EXPECT_EQ(root.read("etc/hosts"), is_new ? "192.168.1.10\tbox\n" : hosts) << what;
        EXPECT_EQ(root.names("etc/sysconfig").size(), 2U) << what;
        EXPECT_TRUE(locks_are_free()) << what;
        return reached;
    });
    EXPECT_GT(faults, 15);
}

}  // namespace
