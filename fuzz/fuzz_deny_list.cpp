// Any bytes as the list of blocked addresses and that of failures: the deny test answers as a plain search
// does, additions and deletions keep all other sound records in their order, and counting neither loses a
// failure of the period nor writes beside a record.
#include <arpa/inet.h>
#include <morvsdk/autoblock.h>
#include <stddef.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "input.h"

namespace {

constexpr int64_t kNow = 1200000000;
constexpr char kDeny[] = "/etc/morvIPs.deny";
constexpr char kFailures[] = "/tmp/login_fail.list";

struct Record {
    int32_t time;
    uint32_t address;
    bool operator==(const Record &) const = default;
};

// The sound records that are younger than `age` seconds (0: of any age).
std::vector<Record> records_of(std::string_view bytes, int64_t age) {
    std::vector<Record> records;
    for (; bytes.size() >= 8; bytes.remove_prefix(8)) {
        Record record;
        memcpy(&record, bytes.data(), 8);
        if (record.time == 0 || record.address == 0) continue;
        if (age == 0 || int64_t{record.time} + age > kNow) records.push_back(record);
    }
    return records;
}

std::vector<Record> without(const std::vector<Record> &records, uint32_t address) {
    std::vector<Record> rest;
    for (const Record &record : records) {
        if (record.address != address) rest.push_back(record);
    }
    return rest;
}

std::string dotted(uint32_t address) {
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &address, text, sizeof text);
}

void check_denied(const std::string &bytes, uint32_t address) {
    const std::vector<Record> records = records_of(bytes, 86400);
    const bool denied = without(records, address).size() < records.size();
    expect(MORVAutoBlockIsDeniedIP(dotted(address).c_str()) == (denied ? 1 : 0));
}

void check_changes(const MemoryRoot &root, const std::string &bytes, uint32_t address) {
    std::vector<Record> expected = without(records_of(bytes, 86400), address);
    expected.push_back({int32_t(kNow), address});
    expect(MORVAutoBlockIPAdd(dotted(address).c_str()) == 0);
    expect(records_of(root.read(kDeny), 0) == expected);

    root.write(kDeny, bytes);
    const uint32_t list[] = {address, 0};
    expect(MORVAutoBlockIPsDel(list) == 0);
    expect(records_of(root.read(kDeny), 0) == without(records_of(bytes, 0), address));
}

void check_count(const MemoryRoot &root, const std::string &bytes, uint32_t address) {
    root.write(kFailures, bytes);
    root.write(kDeny, "");
    const std::vector<Record> before = records_of(bytes, 300);
    const size_t count = before.size() - without(before, address).size() + 1;
    expect(MORVAutoBlockFailLoginSet(dotted(address).c_str()) == 0);
    const std::string after = root.read(kFailures);
    expect(after.size() % 8 == bytes.size() % 8 || after.size() % 8 == 0);
    const std::vector<Record> left = records_of(after, 0);
    expect(without(left, address) == without(before, address));
    const bool blocked = count >= 3;
    expect((MORVAutoBlockIsDeniedIP(dotted(address).c_str()) == 1) == blocked);
    expect(left.size() - without(left, address).size() == (blocked ? 0 : count));
}

}  // namespace

extern "C" __attribute__((visibility("default"))) time_t time(time_t *at) noexcept {
    if (at) *at = kNow;
    return kNow;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const MemoryRoot root({"/etc", "/tmp", "/tmp/lock", "/var", "/var/log"});
    root.write("/etc/morvinfo.conf",
               "autoblock_attempts=3\nautoblock_attempt_min=5\nautoblock_expriedday=1\n");
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    // An address of the list, when it has one.
    uint32_t address = inet_addr("192.0.2.1");
    const std::vector<Record> all = records_of(bytes, 0);
    if (!all.empty()) address = all[all.size() / 2].address;
    root.write(kDeny, bytes);
    check_denied(bytes, address);
    check_denied(bytes, ~address ? ~address : 1);
    check_changes(root, bytes, address);
    check_count(root, bytes, address);
    return 0;
}
