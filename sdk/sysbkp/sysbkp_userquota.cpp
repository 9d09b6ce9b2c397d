#include <errno.h>
#include <morvsdk/internal/sysbkp.h>
#include <string.h>
#include <sys/quota.h>

#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/account/account_list.h"
#include "core/account/account_store.h"
#include "core/account/named_lines.h"
#include "core/account/reading.h"
#include "core/file/sys_path.h"
#include "core/storage/volume_name.h"
#include "core/store/records.h"
#include "core/system/mounts.h"
#include "sysbkp/block.h"

using namespace morv;

namespace {

// ---- Users and volumes ----------------------------------------------------------------------------------

struct Account {
    std::string name, key;  // as it is spelled, and upper-cased
    int uid;
};

// The local users that MORVUserEnum lists, in its order.
int list_accounts(std::vector<Account> &accounts) {
    return read_accounts(user_listing.kind, user_listing.lock, [&](Mirror &mirror) {
        accounts.clear();
        Walk walk(mirror.store[user_listing.kind.stores[0].slot]);
        while (walk.next()) {
            const std::string_view line = stored_text(walk.value);
            uint32_t uid;
            if (!user_listing.is_listed(line, MORV_USER_LOCAL) || parse_id(line, &uid) != 0) continue;
            accounts.push_back(
                {std::string(first_field(line)), std::string(stored_text(walk.key)), static_cast<int>(uid)});
        }
        return walk.code;
    });
}

struct Volume {
    std::string path, device;
};

// The volumes that are mounted, in that order. An image may have no list of them.
int list_volumes(std::vector<Volume> &volumes) {
    Mounts mounts;
    if (const int code = mounts.load()) return code == ERR_OPEN_FAILED && has_system_root() ? 0 : code;
    for (const Mount &mount : mounts.all()) {
        if (is_fixed_volume(mount.point) && mounts.at(mount.point) == &mount)
            volumes.push_back({std::string(mount.point), std::string(mount.device)});
    }
    return 0;
}

// ---- Quotas ---------------------------------------------------------------------------------------------

// Limits in MiB; 0: none.
struct Limits {
    int32_t soft = 0, hard = 0;
    bool operator==(const Limits &) const = default;
};

// Rounded up, so that what is limited stays so.
int32_t mib_of(uint64_t kib) noexcept {
    return static_cast<int32_t>(std::min<uint64_t>(kib / 1024 + (kib % 1024 != 0), INT32_MAX));
}

// Answers 0 or an errno. An image's device lies below its root: the machine's own are not asked for its
// accounts.
int call_quota(int command, const Volume &volume, int uid, dqblk &block) noexcept {
    if (!volume.device.starts_with('/')) return ENOTBLK;
    const SysPath device(volume.device.c_str());
    const int result =
        quotactl(QCMD(command, USRQUOTA), device.c_str(), uid, reinterpret_cast<caddr_t>(&block));
    return result == 0 ? 0 : errno;
}

bool says_no_quota(int error) noexcept {
    constexpr int kErrors[] = {ESRCH, ENOSYS, ENOENT, ENOTBLK, ENODEV, EINVAL};
    return std::find(std::begin(kErrors), std::end(kErrors), error) != std::end(kErrors);
}

int read_limits(const Volume &volume, int uid, Limits *limits) noexcept {
    dqblk block = {};
    const int error = call_quota(Q_GETQUOTA, volume, uid, block);
    if (error == 0) *limits = {mib_of(block.dqb_bsoftlimit), mib_of(block.dqb_bhardlimit)};
    return error;
}

int write_limits(const Volume &volume, int uid, const Limits &limits) noexcept {
    dqblk block = {};
    block.dqb_bsoftlimit = uint64_t(limits.soft) * 1024;
    block.dqb_bhardlimit = uint64_t(limits.hard) * 1024;
    block.dqb_valid = QIF_BLIMITS;
    return call_quota(Q_SETQUOTA, volume, uid, block);
}

// ---- Export ---------------------------------------------------------------------------------------------

// Writes the limits of a user if there are any. Answers how many volumes have one, or -1.
int put_user(const Account &account, const std::vector<Volume> &volumes, ItemWriter &items) {
    int32_t count = 0;
    size_t count_at = 0;
    for (const Volume &volume : volumes) {
        Limits limits;
        const int error = read_limits(volume, account.uid, &limits);
        if (error && !says_no_quota(error)) {
            tell_problem("user %s: the quota on %s cannot be read: %s", account.name.c_str(),
                         volume.path.c_str(), strerror(error));
            return -1;
        }
        if (limits == Limits()) continue;
        if (count++ == 0) {
            items.put_string(account.name);
            count_at = items.put_count();
        }
        items.put_string(volume.path);
        items.put_long(limits.soft);
        items.put_long(limits.hard);
    }
    if (count > 0) items.set_count(count_at, count);
    return count;
}

int put_users(ItemWriter &items) {
    std::vector<Account> accounts;
    std::vector<Volume> volumes;
    int code = list_volumes(volumes);
    if (code == 0) code = list_accounts(accounts);
    if (code) {
        tell_problem("the quotas: %s", code_text(code));
        return -1;
    }
    const size_t count_at = items.put_count();
    int32_t count = 0;
    for (const Account &account : accounts) {
        const int entries = put_user(account, volumes, items);
        if (entries < 0) return -1;
        count += entries > 0;
    }
    items.set_count(count_at, count);
    return 0;
}

// ---- Import ---------------------------------------------------------------------------------------------

struct Entry {
    const char *path;
    Limits limits;
};
struct Record {
    const char *name;
    std::vector<Entry> entries;
};

// Takes the records that are whole.
void take_records(ItemReader &items, std::vector<Record> &records) {
    const int32_t count = items.take_count();
    for (int32_t i = 0; i < count && !items.problem(); ++i) {
        Record record;
        record.name = items.take_string();
        const int32_t entries = items.take_count(kLeastItem + 2 * kLongItem);
        for (int32_t k = 0; k < entries && !items.problem(); ++k) {
            Entry entry;
            entry.path = items.take_string();
            entry.limits.soft = items.take_long();
            entry.limits.hard = items.take_long();
            record.entries.push_back(entry);
        }
        if (!items.problem()) records.push_back(std::move(record));
    }
}

class Restoring {
  public:
    int prepare() {
        if (const int code = list_volumes(volumes_)) return code;
        if (const int code = list_accounts(accounts_)) return code;
        for (const Account &account : accounts_)
            by_key_[account.key] = &account;
        return 0;
    }

    // Answers 0, or -1 when something failed.
    int restore(const Record &record) {
        std::string key;
        const auto found = upper_name(record.name, key) ? by_key_.find(key) : by_key_.end();
        if (found == by_key_.end()) {
            tell_missing("user %s: not here, and has no quota", record.name);
            return 0;
        }
        int result = 0;
        for (const Entry &entry : record.entries) {
            if (restore(*found->second, entry) != 0) result = -1;
        }
        return result;
    }

  private:
    int restore(const Account &account, const Entry &entry) {
        const char *const user = account.name.c_str();
        const Limits &limits = entry.limits;
        if (limits.soft < 0 || limits.hard < 0 || (limits.hard != 0 && limits.soft > limits.hard)) {
            tell_problem("user %s: a quota on %s that cannot be: %d MiB, at most %d MiB", user, entry.path,
                         limits.soft, limits.hard);
            return -1;
        }
        const auto volume = std::find_if(volumes_.begin(), volumes_.end(),
                                         [&](const Volume &v) { return v.path == entry.path; });
        if (volume == volumes_.end()) {
            tell_missing("user %s: %s is not here, nor a quota on it", user, entry.path);
            return 0;
        }
        Limits there;
        int error = read_limits(*volume, account.uid, &there);
        if (error == 0 && there == limits) return 0;
        // Some file systems say so of a user who has none yet.
        if (error == 0 || error == ENOENT) error = write_limits(*volume, account.uid, limits);
        if (error == 0) return 0;
        if (says_no_quota(error)) {
            tell_note("user %s: %s has no quotas", user, entry.path);
            return 0;
        }
        tell_problem("user %s: the quota on %s cannot be set: %s", user, entry.path, strerror(error));
        return -1;
    }

    std::vector<Account> accounts_;
    std::vector<Volume> volumes_;
    std::unordered_map<std::string, const Account *> by_key_;
};

int restore(const std::vector<Record> &records) {
    if (records.empty()) return 0;
    Restoring restoring;
    if (const int code = restoring.prepare()) {
        tell_problem("the quotas: %s", code_text(code));
        return -1;
    }
    int result = 0;
    for (const Record &record : records) {
        if (restoring.restore(record) != 0) result = -1;
    }
    return result;
}

}  // namespace

extern "C" int MORVSysbkpUserQuotaExport(int fd) noexcept {
    return EXPORT_BLOCK(fd, MORV_SYSBKP_USERQUOTA, "quotas",
                        [](ItemWriter &items) { return put_users(items); });
}

extern "C" int MORVSysbkpUserQuotaImport(int fd, int version, int) noexcept {
    return import_block(fd, MORV_SYSBKP_USERQUOTA, version, [](ItemReader &items) {
        std::vector<Record> records;
        take_records(items, records);
        const int restored = restore(records);
        return check_items(items) == 0 ? restored : -1;
    });
}
