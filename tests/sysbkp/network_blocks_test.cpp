// The blocks of the network: host name, MTU and the first interface.
#include <morvsdk/internal/sysbkp.h>
#include <net/if.h>

#include "support/backup_file.h"
#include "support/fake_net.h"
#include "support/fake_syslog.h"
#include "support/scratch.h"
#include "support/tool_root.h"

using namespace testing_support;

namespace {

constexpr char kNetwork[] = "etc/sysconfig/network";
constexpr char kCard[] = "etc/sysconfig/network-scripts/ifcfg-eth0";

// An appliance with one static interface and tools that write down how they are called.
struct Root : ToolRoot<> {
    Root() {
        play_interfaces(dir());
        make_interface(dir(), "eth0", IFF_UP | IFF_RUNNING | IFF_BROADCAST, "192.168.1.10/255.255.255.0");
        write("sys/class/net/eth0/address", "00:11:32:AB:CD:EF\n");
        write("proc/net/dev", "Inter-|   Receive\n face |bytes    packets errs\n  eth0:  1300   12    0\n");
        write(kCard, "DEVICE=eth0\nBOOTPROTO=static\nIPADDR=192.168.1.10\nNETMASK=255.255.255.0\n");
        write(kNetwork, "HOSTNAME=box\nGATEWAY=192.168.1.1\n");
        write("etc/hosts", "127.0.0.1\tlocalhost\n192.168.1.10\tbox\n");
        write("etc.defaults/morvinfo.conf", "supportMTU=\"yes\"\n");
        for (const char *folder : {"tmp/x", "etc/dhcpc/x", "etc/ppp/x"})
            path(folder);
        tool("bin/cp", "exec /bin/cp \"$@\"");
        tool("sbin/ifconfig", "echo \"$2/$4\" >\"$MORV_ROOT/sys/class/net/$1/ipv4\"");
        tool("sbin/route");
    }
    ~Root() { play_interfaces(""); }
};

TEST(HostnameBlock, CarriesTheHostNameToAnotherAppliance) {
    const Root root;
    EXPECT_EQ(exported(MORVSysbkpHostnameExport), block_of(2, {"box"}));
    EXPECT_EQ(imported(MORVSysbkpHostnameImport, body_of({"nas-2"})), 0);
    EXPECT_EQ(root.read(kNetwork), "HOSTNAME=nas-2\nGATEWAY=192.168.1.1\n");
    EXPECT_EQ(root.read("etc/hosts"), "127.0.0.1\tlocalhost\n192.168.1.10\tnas-2\n");
    logged.clear();
    EXPECT_EQ(imported(MORVSysbkpHostnameImport, body_of({"-evil"})), -1);
    EXPECT_NE(logged.find("call MORVLnxSetHostname and fail and return -1, errno=0x"), std::string::npos);
    EXPECT_EQ(imported(MORVSysbkpHostnameImport, body_of({"a", "b"})), -1);
    EXPECT_EQ(root.read(kNetwork), "HOSTNAME=nas-2\nGATEWAY=192.168.1.1\n");

    // One that has lost its name cannot tell it, but gets one.
    root.write(kNetwork, "");
    logged.clear();
    EXPECT_EQ(exported(MORVSysbkpHostnameExport), "failed");
    EXPECT_NE(logged.find("MORVLnxGetHostname failed.("), std::string::npos) << logged;
    EXPECT_EQ(imported(MORVSysbkpHostnameImport, body_of({"box"})), 0);
    EXPECT_EQ(root.read(kNetwork), "HOSTNAME=box\n");
}

TEST(MtuBlock, CarriesTheMtuAsANumberWhereTheModelHasIt) {
    const Root root;
    EXPECT_EQ(exported(MORVSysbkpMTUExport), block_of(0x20000, {"1500"}));
    root.write("etc/morvinfo.conf", "eth0_mtu=\"09000\"\n");
    EXPECT_EQ(exported(MORVSysbkpMTUExport), block_of(0x20000, {"9000"}));
    for (const char *bad : {"", "67", "65536", "1500 ", "x", "-1", "99999999999"})
        EXPECT_EQ(imported(MORVSysbkpMTUImport, body_of({bad})), -1) << bad;
    EXPECT_EQ(root.read("etc/morvinfo.conf"), "eth0_mtu=\"09000\"\n");
    EXPECT_EQ(imported(MORVSysbkpMTUImport, body_of({"1492"})), 0);
    EXPECT_EQ(root.read("etc/morvinfo.conf"), "eth0_mtu=\"1492\"\n");
    root.write("etc.defaults/morvinfo.conf", "");
    EXPECT_EQ(imported(MORVSysbkpMTUImport, body_of({"4000"})), 0);
    EXPECT_EQ(imported(MORVSysbkpMTUImport, body_of({"66"})), -1);
    EXPECT_EQ(root.read("etc/morvinfo.conf"), "eth0_mtu=\"1492\"\n");
}

constexpr char kLine[] = "N:eth0:3232235786X:4294967040X:3232235777X:S:1:00:11:32:AB:CD:EF:\n";

TEST(InterfaceBlock, IsOneLineWithItsAddressesAsNumbers) {
    const Root root;
    EXPECT_EQ(exported(MORVSysbkpInterfaceExport), block_of(4, {kLine}));
    root.write(kNetwork, "HOSTNAME=box\n");
    EXPECT_NE(exported(MORVSysbkpInterfaceExport).find(":00000000X:S:1:"), std::string::npos);
}

TEST(InterfaceBlock, SetsWhatDiffersAndNothingElse) {
    const Root root;
    EXPECT_EQ(imported(MORVSysbkpInterfaceImport, body_of({kLine})), 0);
    EXPECT_EQ(root.calls(), "");
    // 192.168.1.20 and gateway 192.168.1.2
    EXPECT_EQ(imported(MORVSysbkpInterfaceImport,
                       body_of({"N:eth0:3232235796X:4294967040X:3232235778X:S:0:00:00:00:00:00:00:\n"})),
              0);
    EXPECT_NE(root.read(kCard).find("IPADDR=192.168.1.20\nNETMASK=255.255.255.0\n"), std::string::npos);
    EXPECT_EQ(root.read(kNetwork), "HOSTNAME=box\nGATEWAY=192.168.1.2\n");
    // No gateway in the block is no reason to lose the one that there is.
    EXPECT_EQ(imported(MORVSysbkpInterfaceImport,
                       body_of({"N:eth0:3232235796X:4294967040X:00000000X:S:0:00:00:00:00:00:00:\n"})),
              0);
    EXPECT_EQ(root.read(kNetwork), "HOSTNAME=box\nGATEWAY=192.168.1.2\n");
}

TEST(InterfaceBlock, TakesNoLineThatIsMalformed) {
    const Root root;
    const std::string card = root.read(kCard);
    for (const char *bad : {
             "",
             "\n",
             "N:eth0:\n",
             "N:eth0:3232235786X:4294967040X:3232235777X:S:1:00:11:32:AB:CD:EF:",
             "M:eth0:3232235796X:4294967040X:3232235777X:S:1:00:11:32:AB:CD:EF:\n",
             "N::3232235796X:4294967040X:3232235777X:S:1:00:11:32:AB:CD:EF:\n",
             "N:../x:3232235796X:4294967040X:3232235777X:S:1:00:11:32:AB:CD:EF:\n",
             "N:e;reboot:3232235796X:4294967040X:3232235777X:S:1:00:11:32:AB:CD:EF:\n",
             "N:an-interface-of-a-long-name:3232235796X:4294967040X:3232235777X:S:1:00:11:32:AB:CD:EF:\n",
             "N:eth0:3232235796:4294967040X:3232235777X:S:1:00:11:32:AB:CD:EF:\n",
             "N:eth0:99999999999X:4294967040X:3232235777X:S:1:00:11:32:AB:CD:EF:\n",
             "N:eth0:2130706433X:4294967040X:3232235777X:S:1:00:11:32:AB:CD:EF:\n",  // 127.0.0.1
             "N:eth0:3232235796X:4278255360X:3232235777X:S:1:00:11:32:AB:CD:EF:\n",  // 255.0.255.0
             "N:eth0:3232235796X:4294967040X:4294967295X:S:1:00:11:32:AB:CD:EF:\n",
             "N:eth0:3232235796X:4294967040X:3232235777X:X:1:00:11:32:AB:CD:EF:\n",
             "N:eth0:3232235796X:4294967040X:3232235777X:S:2:00:11:32:AB:CD:EF:\n",
             "N:eth0:3232235796X:4294967040X:3232235777X:S:1:00:11:32:AB:CD:EG:\n",
             "N:eth0:3232235796X:4294967040X:3232235777X:S:1:00:11:32:AB:CD:\n",
         })
        EXPECT_EQ(imported(MORVSysbkpInterfaceImport, body_of({bad})), -1) << bad;
    EXPECT_EQ(imported(MORVSysbkpInterfaceImport, body_of({kLine}), 6), -1);
    EXPECT_EQ(root.read(kCard), card);
    EXPECT_EQ(root.calls(), "");
    EXPECT_EQ(MORVSysbkpIGetIdx(4), -1);
}

}  // namespace
