// What mdadm and "/sys" say of arrays: whatever is in it, a superblock's texts are words of the first line, and a
// resync is never further than its end.
#include <morvsdk/raid.h>

#include "core/storage/device_name.h"
#include "core/storage/md_array.h"
#include "core/storage/superblock_text.h"
#include "input.h"

using namespace morv;

namespace {

void check_superblock(std::string_view text) {
    const SuperblockText found = parse_superblock(text);
    const std::string_view line = text.substr(0, text.find('\n'));
    const std::string_view uuid = found.sb.szUUID, path = found.sb.szPath;
    expect(found.has_uuid == !uuid.empty() && found.has_path == !path.empty());
    if (found.has_uuid) expect(line.find("UUID=" + std::string(uuid)) != line.npos);
    int32_t number;
    if (!found.has_path) return;
    expect(path.starts_with("/dev/md") && path.find_first_of(" \t\r\n") == path.npos);
    if (line.find(path) == line.npos) {
        // Renamed from "/dev/md/2".
        expect(array_number(path, number));
        expect(line.find("/dev/md/" + std::string(path.substr(7))) != line.npos);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view input(reinterpret_cast<const char *>(data), size);
    check_superblock(input);
    const std::string action = take_line(input);
    const RAID_REBUILD rebuild = parse_sync(action, input);
    expect(rebuild.state >= RAID_REBUILD_NONE && rebuild.state <= RAID_REBUILD_PENDING);
    expect((rebuild.progress[0] > 0) == (rebuild.state == RAID_REBUILD_RUNNING));
    expect(rebuild.progress[1] >= 0);
    return 0;
}
