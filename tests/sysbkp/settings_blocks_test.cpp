// Blocks of settings: their bytes, and what an import makes of them.
#include <morvsdk/internal/sysbkp.h>

#include "support/backup_file.h"
#include "support/fake_syslog.h"
#include "support/scratch.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

constexpr char kMain[] = "etc/morvinfo.conf";
constexpr char kPppoe[] = "etc/pppoe.conf";
constexpr char kModel[] =
    "supportweb=\"yes\"\nsupportmysql=\"yes\"\nsupportphoto=\"yes\"\nsupportrcpower=\"yes\"\nusbcopy="
    "\"yes\"\n";

struct Block {
    const char *name;
    uint32_t id;
    Exporter exporter;
    Importer importer;
    std::vector<Part> defaults;  // of an appliance without any settings
    std::vector<Part> items;     // of one with this file
    const char *file, *text;
    const char *support;  // the key of the model, or null
};

#define BLOCK(KIND, ID) #KIND, ID, MORVSysbkp##KIND##Export, MORVSysbkp##KIND##Import

const std::vector<Block> &blocks() {
    static const std::vector<Block> all = {
        {BLOCK(Mail, 0x10),
         {"", "", ""},
         {"mail.lan", "a@example.org", "b@example.org"},
         kMain,
         "mail_smtp=\"mail.lan\"\nmail_to1=\"a@example.org\"\nmail_to2=\"b@example.org\"\n",
         nullptr},
        {BLOCK(Apple, 0x40), {0}, {3}, kMain, "applenetwork=\"3\"\n", nullptr},
        {BLOCK(HDSleepTime, 0x400), {0}, {20}, kMain, "hdsleeptime=\"20\"\n", nullptr},
        {BLOCK(RunFtpd, 0x800),
         {0, "UTF-8", 21, 0, 0, 0},
         {1, "BIG5", 2121, 55536, 55663, 100},
         kMain,
         "runftpd=\"yes\"\nftpcharset=\"BIG5\"\nftpport=\"2121\"\nftppasvmin=\"55536\"\nftppasvmax="
         "\"55663\"\n"
         "ftpmaxrate=\"100\"\n",
         nullptr},
        {BLOCK(PPPoE, 0x2000),
         {0, "", ""},
         {1, "me@isp", "p ass'$`\\é"},
         kPppoe,
         "runpppoe=\"yes\"\npppoeuser=\"me@isp\"\npppoepassword=\"p ass'$`\\é\"\n",
         nullptr},
        {BLOCK(Photo, 0x8000),
         {0, 0},
         {1, 1},
         kMain,
         "runphoto=\"yes\"\nalbumdefpublic=\"yes\"\n",
         "supportphoto"},
        {BLOCK(HttpPort, 0x100000),
         {"", "80"},
         {"81,8080", "8000"},
         kMain,
         "addport=\"81,8080\"\nhttpport=\"8000\"\n",
         "supportweb"},
        {BLOCK(RCPower, 0x40000), {"no"}, {"yes"}, kMain, "enableRCPower=\"yes\"\n", "supportrcpower"},
        {BLOCK(USBCopySet, 0x80000),
         {""},
         {"/volume1/usb"},
         kMain,
         "usbcopyfolder=\"/volume1/usb\"\n",
         "usbcopy"},
        {BLOCK(Web, 0x10000), {0}, {1}, kMain, "runweb=\"yes\"\n", "supportweb"},
        {BLOCK(DCache, 0x200000), {1}, {0}, kMain, "writecache=\"no\"\n", nullptr},
        {BLOCK(FetchDesk, 0x400000),
         {0, "", 0, 0, 0, 6881, 6890, 0},
         {1, "0 8 * * *", 2, 30, 200, 7000, 7010, 1},
         kMain,
         "DLEnabled=\"yes\"\nszDLTime=\"0 8 * * "
         "*\"\nDLOrder=\"2\"\nDLUploadRate=\"30\"\nDLDownloadRate=\"200\"\n"
         "DLStartPort=\"7000\"\nDLEndPort=\"7010\"\nDLPortMapEnabled=\"yes\"\n",
         nullptr},
        {BLOCK(MySQL, 0x800000), {0}, {1}, kMain, "runmysql=\"yes\"\n", "supportmysql"},
    };
    return all;
}

struct BlockRoot : ScratchRoot {
    explicit BlockRoot(const char *model = kModel) {
        path("etc/x");
        path("tmp/x");
        write("etc.defaults/morvinfo.conf", model);
    }
};

TEST(SettingBlocks, HaveTheBytesOfTheSettings) {
    for (const Block &block : blocks()) {
        const BlockRoot root("");
        EXPECT_EQ(exported(block.exporter), block_of(block.id, block.defaults)) << block.name;
        root.write(block.file, block.text);
        EXPECT_EQ(exported(block.exporter), block_of(block.id, block.items)) << block.name;
    }
}

TEST(SettingBlocks, AreRestoredIntoAnEmptyApplianceAndOneThatHasOtherSettings) {
    for (const Block &block : blocks()) {
        const BlockRoot root;
        const std::string others = "# kept\nmaxusers=7\n";
        EXPECT_EQ(imported(block.importer, body_of(block.items)), 0) << block.name;
        EXPECT_EQ(root.read(block.file), block.text) << block.name;
        EXPECT_EQ(root.names("etc").size(), 1U) << block.name;
        // The same again, and the defaults into an empty one, write nothing.
        const ino_t inode = stat_of(root.path(block.file)).st_ino;
        EXPECT_EQ(imported(block.importer, body_of(block.items)), 0) << block.name;
        EXPECT_EQ(stat_of(root.path(block.file)).st_ino, inode) << block.name;
        root.write(block.file, others);
        EXPECT_EQ(imported(block.importer, body_of(block.defaults)), 0) << block.name;
        EXPECT_EQ(root.read(block.file), others) << block.name;
        EXPECT_EQ(imported(block.importer, body_of(block.items)), 0) << block.name;
        EXPECT_EQ(root.read(block.file), others + block.text) << block.name;
    }
    const BlockRoot root;
    EXPECT_EQ(imported(MORVSysbkpPPPoEImport, body_of({1, "u", "secret"})), 0);
    EXPECT_EQ(mode_of(root.path(kPppoe)), 0600U);
    EXPECT_EQ(logged.find("secret"), std::string::npos);
    root.write(kPppoe, "# by hand\n", 0644);
    EXPECT_EQ(imported(MORVSysbkpPPPoEImport, body_of({1, "u", "secret"})), 0);
    EXPECT_EQ(mode_of(root.path(kPppoe)), 0600U);
}

TEST(SettingBlocks, ThatAreDamagedAnywhereChangeNothing) {
    for (const Block &block : blocks()) {
        const BlockRoot root;
        const std::string body = body_of(block.items);
        for (size_t size = 0; size < body.size(); ++size)
            EXPECT_EQ(imported(block.importer, body.substr(0, size)), -1) << block.name << size;
        EXPECT_EQ(imported(block.importer, body + body), -1) << block.name;
        EXPECT_EQ(imported(block.importer, body, 8), -1) << block.name;
        EXPECT_EQ(root.names("etc").size(), 0U) << block.name;
    }
}

TEST(SettingBlocks, WithAValueThatCannotBeAreRefusedWhole) {
    const struct {
        Importer importer;
        std::vector<Part> items;
        const char *problem;
    } cases[] = {
        {MORVSysbkpRunFtpdImport, {1, "UTF-8", 99999, 1, 2, 3}, "ftpport: 99999 is not between 1 and 65535"},
        {MORVSysbkpRunFtpdImport, {1, "UTF-8", 21, -1, 2, 3}, "ftppasvmin: -1 is not between 0 and 65535"},
        {MORVSysbkpRunFtpdImport, {1, "a\"b", 2121, 1, 2, 3}, "ftpcharset: it has a double quote"},
        {MORVSysbkpMailImport, {"a", "b", "c\nrunweb=yes"}, "mail_to2: it has a control character"},
        {MORVSysbkpMailImport, {"a", std::string(600, 'x'), "c"}, "mail_to1: it has more than 512 bytes"},
        {MORVSysbkpHttpPortImport, {"81", "80;x"}, "httpport: it is no number"},
        {MORVSysbkpRCPowerImport, {"maybe"}, "enableRCPower: it is neither yes nor no"},
        {MORVSysbkpHDSleepTimeImport, {-5}, "hdsleeptime: -5 is not between 0 and 2147483647"},
    };
    const BlockRoot root;
    for (const auto &c : cases) {
        logged.clear();
        EXPECT_EQ(imported(c.importer, body_of(c.items)), -1) << c.problem;
        EXPECT_NE(logged.find(c.problem), std::string::npos) << logged;
    }
    EXPECT_EQ(root.names("etc").size(), 0U);
}

TEST(SettingBlocks, TakeTheSeveralFormsOfOneValue) {
    const BlockRoot root;
    EXPECT_EQ(imported(MORVSysbkpWebImport, body_of({-1})), 0);
    EXPECT_EQ(root.read(kMain), "runweb=\"yes\"\n");
    EXPECT_EQ(imported(MORVSysbkpAppleImport, body_of({0x7FFFFFFE})), 0);
    EXPECT_EQ(root.read(kMain), "runweb=\"yes\"\napplenetwork=\"2\"\n");
    root.write(kMain, "applenetwork=\"7\"\nenableRCPower=\"YES\"\n");
    EXPECT_EQ(exported(MORVSysbkpAppleExport), block_of(0x40, {3}));
    // The bits that are not in the file stay.
    EXPECT_EQ(imported(MORVSysbkpAppleImport, body_of({3})), 0);
    EXPECT_EQ(exported(MORVSysbkpRCPowerExport), block_of(0x40000, {"yes"}));
    // An empty text stands for the default.
    EXPECT_EQ(imported(MORVSysbkpRCPowerImport, body_of({""})), 0);
    EXPECT_EQ(root.read(kMain), "applenetwork=\"7\"\nenableRCPower=\"no\"\n");
}

TEST(SettingBlocks, OfWhatAModelLacksAreCheckedAndPassedOver) {
    for (const Block &block : blocks()) {
        if (!block.support) continue;
        const BlockRoot root("");
        logged.clear();
        EXPECT_EQ(imported(block.importer, body_of(block.items)), 0) << block.name;
        EXPECT_NE(logged.find(std::string("it lacks ") + block.support), std::string::npos) << logged;
        EXPECT_EQ(imported(block.importer, "damage"), -1) << block.name;
        EXPECT_EQ(root.names("etc").size(), 0U) << block.name;
    }
    const BlockRoot root("");
    EXPECT_EQ(imported(MORVSysbkpHttpPortImport, body_of({"", "0"})), -1);
}

TEST(SettingBlocks, AreAppliedWholeOrNotAtAllWhateverFails) {
    const BlockRoot root;
    const std::string before = "runftpd=\"no\"\n", body = body_of({1, "BIG5", 2121, 1, 2, 3});
    const std::string after =
        "runftpd=\"yes\"\nftpcharset=\"BIG5\"\nftpport=\"2121\"\nftppasvmin=\"1\"\nftppasvmax=\"2\"\n"
        "ftpmaxrate=\"3\"\n";
    const MemoryFile file(body);
    const int faults = for_each_sys_fault([&](Sys which, int nth) {
        root.write(kMain, before);
        bool reached;
        int result;
        {
            const SysFault fault(which, nth);
            result = MORVSysbkpRunFtpdImport(file.fd, 7, 0);
            reached = fault.reached();
        }
        const std::string now = root.read(kMain);
        EXPECT_TRUE(now == after || (result != 0 && now == before)) << sys_name(which) << nth << now;
        EXPECT_EQ(root.names("etc").size(), 1U) << sys_name(which) << nth;
        return reached;
    });
    EXPECT_GT(faults, 6);
}

}  // namespace
