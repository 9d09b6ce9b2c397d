#include <time.h>
#include <unistd.h>

#include "autoblock/client_address.h"
#include "autoblock/failure_list.h"
#include "autoblock/settings.h"
#include "core/base/fail.h"

using namespace morv;

// Puts the record behind the last whole one: where another process was killed in its work, a part of one may
// be left.
static int append(int list, int64_t size, const AddressRecord &record) noexcept {
    const int64_t end = size - size % int64_t{sizeof record};
    if (end != size && ftruncate(list, off_t(end)) != 0) return ERR_WRITE_FAILED;
    const int code = write_changed(list, end, {&record, 1}, {0, 1});
    if (code != 0 && ftruncate(list, off_t(end)) != 0) return ERR_WRITE_FAILED;
    return code;
}

// Stores the failure, and counts it with those of the period.
static int count_failure(const AddressRecord &failure, const RecordAge &age, int64_t &count) noexcept {
    UniqueFd list;
    int64_t size = 0;
    if (int code = open_failure_list(Missing::kIsMade, list, size)) return code;
    FailureCount failures(failure, age);
    if (size > 0) {
        RecordWindow window;
        if (int code = window.map()) return code;
        const int code = for_each_window(
            list.get(), window, 0, size, [&](std::span<AddressRecord> records, int64_t offset) {
                return write_changed(list.get(), offset, records, failures.look(records));
            });
        if (code != 0) return code;
    }
    if (!failures.is_placed()) {
        if (int code = append(list.get(), size, failure)) return code;
    }
    count = failures.count();
    return 0;
}

extern "C" int MORVAutoBlockFailLoginSet(const char *client) noexcept {
    if (!client) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t address;
    if (!address_of_client(client, address)) return -1;
    BlockSettings settings;
    if (int code = settings.load()) return MORV_FAIL(code, -1);
    if (settings.allows(address)) return 0;
    const int attempts = settings.conf().attempts;
    const int64_t now = time(nullptr);
    int64_t count = 0;
    if (int code = count_failure(record_of(address, now), RecordAge::period(now, settings.period()), count))
        return MORV_FAIL(code, -1);
    if (attempts <= 0 || count < attempts) return 0;

    // The failures first: who reports another one meanwhile begins a new count, and does not block it as well.
    const Ipv4Text dotted(address);
    const int forgotten = MORVAutoBlockResetByIP(dotted.text);
    return MORVAutoBlockIPAdd(dotted.text) == 0 ? forgotten : -1;
}
