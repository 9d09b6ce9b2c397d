// Quotas of users in a backup, and back. The kernel's part is played by this program's own quotactl().
#include <errno.h>
#include <sys/quota.h>

#include <morvsdk/internal/sysbkp.h>
#include <map>
#include <vector>

#include "support/accounts.h"
#include "support/backup_file.h"

using namespace testing_support;

namespace {

struct KernelLimits {
    uint64_t soft, hard;  // KiB
    bool operator==(const KernelLimits &) const = default;
};

// Device and uid; a device with no entry for uid 0 has no quotas.
using Kernel = std::map<std::pair<std::string, int>, KernelLimits>;
Kernel kernel;
int none_error = ESRCH;
int get_error, set_error;
int sets;

}  // namespace

extern "C" int quotactl(int command, const char *device, int uid, caddr_t address) noexcept {
    const auto fail = [](int error) {
        errno = error;
        return -1;
    };
    auto &block = *reinterpret_cast<dqblk *>(address);
    const bool gets = command == static_cast<int>(QCMD(Q_GETQUOTA, USRQUOTA));
    if (!gets && command != static_cast<int>(QCMD(Q_SETQUOTA, USRQUOTA))) return fail(EINVAL);
    if (!kernel.contains({device, 0})) return fail(none_error);
    if (const int error = gets ? get_error : set_error) return fail(error);
    if (gets) {
        const KernelLimits limits = kernel[{device, uid}];
        block.dqb_bsoftlimit = limits.soft;
        block.dqb_bhardlimit = limits.hard;
        block.dqb_valid = QIF_ALL;
        return 0;
    }
    EXPECT_EQ(block.dqb_valid, QIF_BLIMITS) << "nothing else is set";
    kernel[{device, uid}] = {block.dqb_bsoftlimit, block.dqb_bhardlimit};
    ++sets;
    return 0;
}

namespace {

// Two volumes with quotas, one without, and what is none.
struct Root : AccountRoot {
    const std::string first = dir() + "/dev/vg1/lv", second = dir() + "/dev/md4";
    Root() {
        write("proc/mounts",
              "/dev/md0 / ext4 rw 0 0\ntmpfs /tmp tmpfs rw 0 0\n/dev/md4 /volume2 ext4 rw 0 0\n"
              "/dev/vg1/lv /volume1 ext4 rw 0 0\n/dev/md5 /volume3 ext4 rw 0 0\n"
              "/dev/md0 /volume1/sub ext4 rw 0 0\n");
        kernel = {{{first, 0}, {1, 1}}, {{second, 0}, {1, 1}}};
        get_error = set_error = sets = 0;
    }
};

// uids: alice 1026, Bob Smith 1027
std::string entry(const char *volume, int64_t soft, int64_t hard) {
    return text(volume) + number(soft) + number(hard);
}
std::string as_block(const std::string &body) {
    return block(MORV_SYSBKP_USERQUOTA, body);
}

TEST(QuotaBackup, HoldsTheLimitsOfLocalUsersInMebibytes) {
    const Root root;
    EXPECT_EQ(exported(MORVSysbkpUserQuotaExport), as_block(number(0)));
    kernel[{root.first, 1026}] = {1, 1025};
    kernel[{root.second, 1026}] = {0, 2048};
    kernel[{root.first, 1027}] = {uint64_t{1} << 50, UINT64_MAX};
    kernel[{root.first, 1023}] = {1024, 1024};  // the system's
    const std::string expected =
        as_block(number(2) + text("alice") + number(2) + entry("/volume2", 0, 2) + entry("/volume1", 1, 2) +
                 text("Bob Smith") + number(1) + entry("/volume1", INT32_MAX, INT32_MAX));
    EXPECT_EQ(exported(MORVSysbkpUserQuotaExport), expected);
    for (const int error : {EPERM, EIO}) {
        get_error = error;
        logged.clear();
        EXPECT_EQ(exported(MORVSysbkpUserQuotaExport), "failed");
        EXPECT_NE(logged.find("the quota on /volume2 cannot be read"), logged.npos) << logged;
    }
    for (const int error : {ESRCH, ENOSYS, ENOENT, ENOTBLK, ENODEV, EINVAL}) {
        get_error = error;
        EXPECT_EQ(exported(MORVSysbkpUserQuotaExport), as_block(number(0)));
    }
    get_error = 0;
    remove(root.path("proc/mounts").c_str());
    EXPECT_EQ(exported(MORVSysbkpUserQuotaExport), as_block(number(0))) << "an image may have no list";
}

TEST(QuotaBackup, IsRestoredWhereThereAreQuotas) {
    const Root root;
    const std::string body = number(2) + text("ALICE") + number(2) + entry("/volume1", 5, 10) +
                             entry("/volume2", 0, 1) + text("Bob Smith") + number(1) +
                             entry("/volume1", 7, 0);
    kernel[{root.second, 1026}] = {0, 1000};  // which is 1 MiB in a file
    kernel[{root.first, 1027}] = {1, 1};
    EXPECT_EQ(imported(MORVSysbkpUserQuotaImport, body), 0) << logged;
    EXPECT_EQ((kernel[{root.first, 1026}]), (KernelLimits{5120, 10240}));
    EXPECT_EQ((kernel[{root.second, 1026}]), (KernelLimits{0, 1000})) << "left alone";
    EXPECT_EQ((kernel[{root.first, 1027}]), (KernelLimits{7168, 0}));
    EXPECT_EQ(sets, 2);
    EXPECT_EQ(imported(MORVSysbkpUserQuotaImport, body), 0);
    EXPECT_EQ(sets, 2);
    get_error = ENOENT;  // of a user who has none yet
    EXPECT_EQ(
        imported(MORVSysbkpUserQuotaImport, number(1) + text("alice") + number(1) + entry("/volume2", 1, 1)),
        0);
    EXPECT_EQ((kernel[{root.second, 1026}]), (KernelLimits{1024, 1024}));
}

TEST(QuotaBackup, TellsWhatIsNotHereAndFailsForWhatCannotBe) {
    const Root root;
    const std::string good = text("alice") + number(1) + entry("/volume1", 1, 1);
    const struct {
        std::string record;
        int result;
        const char *line;
    } cases[] = {
        {text("ghost") + number(1) + entry("/volume1", 1, 2), 0, "user ghost: not here, and has no quota"},
        {text("alice") + number(1) + entry("/volume9", 1, 2), 0,
         "user alice: /volume9 is not here, nor a quota on it"},
        {text("alice") + number(1) + entry("/volume3", 1, 2), 0, "user alice: /volume3 has no quotas"},
        {text("alice") + number(1) + entry("/volume2", -1, 2), -1,
         "user alice: a quota on /volume2 that cannot be: -1 MiB, at most 2 MiB"},
        {text("alice") + number(1) + entry("/volume2", 3, 2), -1,
         "user alice: a quota on /volume2 that cannot be: 3 MiB, at most 2 MiB"},
    };
    for (const auto &c : cases) {
        kernel[{root.first, 1026}] = {};
        EXPECT_EQ(imported(MORVSysbkpUserQuotaImport, number(2) + c.record + good), c.result);
        EXPECT_TRUE(is_told(c.result == 0 ? "6" : "3", c.line)) << logged;
        EXPECT_EQ((kernel[{root.first, 1026}]), (KernelLimits{1024, 1024})) << "the others are restored";
    }
    set_error = EPERM;
    EXPECT_EQ(
        imported(MORVSysbkpUserQuotaImport, number(1) + text("alice") + number(1) + entry("/volume2", 8, 8)),
        -1);
    EXPECT_NE(logged.find("3 configuration backup: user alice: the quota on /volume2 cannot be set"),
              logged.npos);
    set_error = 0;

    for (const std::string &body :
         {number(2) + good, number(1) + good + number(1), number(3) + good + text("zoë") + number(2),
          number(2) + good + text("zoë") + number(-1), number(2) + good + text("zoë") + number(INT32_MAX)}) {
        kernel[{root.first, 1026}] = {};
        EXPECT_EQ(imported(MORVSysbkpUserQuotaImport, body), -1);
        EXPECT_EQ((kernel[{root.first, 1026}]), (KernelLimits{1024, 1024})) << "what stands before it";
    }
    EXPECT_EQ(imported(MORVSysbkpUserQuotaImport, number(-1)), -1);
}

}  // namespace
