#include "core/account/account_store.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/error.h>
#include <morvsdk/group.h>
#include <morvsdk/user.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>

#include "core/account/named_lines.h"
#include "core/base/bytes.h"
#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/file/sys_path.h"
#include "core/store/records.h"
#include "core/store/sorted_records.h"
#include "core/system/command.h"
#include "core/text/fields.h"
#include "core/text/lines.h"

namespace morv {

const IdRange uid_range = {MORV_USERDB_CURRENT_UID, kUidMarker, 1024, 3072, ERR_TOO_MANY_USERS};
const IdRange gid_range = {MORV_GROUPDB_CURRENT_GID, kGidMarker, 65536, 95536, ERR_TOO_MANY_GROUPS};

namespace {

constexpr size_t kReservedLength = 12;  // of "#CURRENT_UID" and "#CURRENT_GID"

std::string_view current_key(const IdRange &range) noexcept {
    return {range.reserved, kReservedLength};
}

// The number that the last ordinary key of a store of ids begins with.
int highest_id(MORVBDB *ids, uint32_t *id) noexcept {
    if (MORVBDbCursorSetType(ids, MORV_BDB_LAST) != 0) return ERR_UNKNOWN;
    void *key = nullptr;
    void *value = nullptr;
    int key_size = 0;
    int value_size = 0;
    const int result = MORVBDbCursorGet(ids, 1, &key, &key_size, &value, &value_size);
    const MallocPtr<void> key_guard(key);
    const MallocPtr<void> value_guard(value);
    MORVBDbCursorSetType(ids, MORV_BDB_NEXT);
    if (result != 0) return ERR_STORE_READ_FAILED;
    const auto text = stored_text({static_cast<const char *>(key), static_cast<size_t>(key_size)});
    *id = static_cast<uint32_t>(leading_number(text));
    return 0;
}

}  // namespace

IdKey::IdKey(uint32_t id) noexcept {
    char whole[16];
    snprintf(whole, sizeof whole, "%06d", static_cast<int>(id));
    std::copy_n(whole, 6, text);
    text[6] = '\0';
}

int SourceText::load(const char *system_path) noexcept {
    const UniqueFd fd(open(SysPath(system_path).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!fd) return ERR_OPEN_FAILED;
    if (fstat(fd.get(), &st) != 0) {
        MORV_LOG(LOG_ERR, "stat [%s] failed!! errno=%d/%s", system_path, errno, strerror(errno));
        return ERR_STAT_FAILED;
    }
    if (!S_ISREG(st.st_mode)) return ERR_OPEN_FAILED;
    return text.load(fd.get());
}

int store_lines(MORVBDB *db, FileText &text, bool (*is_line)(std::string_view), const char *file,
                const char *who, const EachLine &each) {
    SortedRecords records;
    char *const base = text.data();
    const std::string_view whole = text.view();
    std::string key;
    for (std::string_view line : Lines(whole)) {
        const auto at = static_cast<size_t>(line.data() - whole.data());
        line = without_line_feed(line);
        if (!line.empty() && line[0] == '#') continue;
        if (line.empty() || line[0] == ':') {
            if (who) MORV_LOG(LOG_NOTICE, "%s format error, %s name = %s", file, who, "");
            continue;
        }
        if (!is_line(line)) continue;
        // Nobody is found by a name that cannot be upper-cased, but an id that it has is taken.
        const bool is_key = upper_name(first_field(line), key) && key[0] != '#';
        if (!is_key) key.assign(first_field(line));
        base[at + line.size()] = '\0';
        key.push_back('\0');
        if (each) {
            if (const int code = each(key, line)) return code;
        }
        if (!is_key) continue;
        records.add(key, {line.data(), line.size() + 1});
    }
    return records.put_all(db, SortedRecords::kLast);
}

int parse_id(std::string_view line, uint32_t *id) noexcept {
    std::string_view fields[4];
    if (split_fields(line, ':', fields) < 4) return ERR_FORMAT_ERROR;
    const int64_t number = leading_number(fields[2]);
    if (number == 0 && !fields[2].starts_with('0')) return ERR_FORMAT_ERROR;
    *id = static_cast<uint32_t>(number);
    return 0;
}

int store_ids(MORVBDB *ids, const std::vector<IdName> &pairs) {
    SortedRecords records;
    for (const IdName &pair : pairs)
        records.add(pair.id.view(), pair.name);
    return records.put_all(ids, SortedRecords::kAll);
}

int find_id(Mirror &mirror, int names, int ids, uint32_t id, std::string &key) {
    if (const int code = need_store(mirror, ids)) return code;
    const IdKey wanted(id);
    constexpr uint32_t kMostExact = 999999;  // ids of more than six digits share keys
    std::string nameless;
    Walk walk(mirror.store[ids], wanted.view());
    while (walk.next()) {
        std::string name(stored_text(walk.value));
        std::string_view line;
        uint32_t found;
        const int code = find_record(mirror.store[names], store_key(name), &line);
        if (code == ERR_KEY_NOT_FOUND && id <= kMostExact) nameless = name;
        if (code == 0 && parse_id(line_of(line), &found) == 0 && found == id) {
            key = std::move(name);
            return 0;
        }
    }
    if (walk.code || nameless.empty()) return walk.code ? walk.code : ERR_KEY_NOT_FOUND;
    key = std::move(nameless);
    return 0;
}

int store_current_id(MORVBDB *ids, const IdRange &range, std::string_view text) noexcept {
    const int marked =
        find_marker(text, range.marker, static_cast<int>(range.first), static_cast<int>(range.last));
    auto id = static_cast<uint32_t>(marked);
    if (marked < 0) {
        if (const int code = highest_id(ids, &id)) return code;
    }
    return write_current_id(ids, range, id);
}

int read_current_id(MORVBDB *ids, const IdRange &range, uint32_t *id) noexcept {
    std::string_view bytes;
    if (const int code = find_record(ids, current_key(range), &bytes)) return code;
    if (bytes.size() != sizeof *id) return ERR_KEY_NOT_FOUND;
    *id = load_native32(bytes.data());
    return 0;
}

int write_current_id(MORVBDB *ids, const IdRange &range, uint32_t id) noexcept {
    char bytes[4];
    store_native32(bytes, id);
    return put_record(ids, current_key(range), {bytes, sizeof bytes}) == 0 ? 0 : int{ERR_STORE_WRITE_FAILED};
}

int find_free_id(MORVBDB *ids, const IdRange &range, const uint32_t *last, uint32_t *id) noexcept {
    int code = 0;
    uint32_t current = 0;
    if (!last) {
        code = read_current_id(ids, range, &current);
        if (code == ERR_KEY_NOT_FOUND) code = highest_id(ids, &current);
        if (code) return ERR_STORE_READ_FAILED;
        last = &current;
    }
    const bool inside = *last >= range.first && *last < range.last;
    const uint32_t start = inside ? *last + 1 : range.first;
    uint32_t probe = start;
    do {
        std::string_view taken;
        code = find_record(ids, IdKey(probe).view(), &taken);
        if (code == ERR_KEY_NOT_FOUND) {
            *id = probe;
            return 0;
        }
        if (code) return ERR_STORE_READ_FAILED;
        probe = probe == range.last ? range.first : probe + 1;
    } while (probe != start);
    return range.none_free;
}

bool is_about_one_account(int code) noexcept {
    constexpr int kCodes[] = {ERR_BAD_PARAMETERS,    ERR_FORMAT_ERROR, ERR_INVALID_USERNAME,
                              ERR_INVALID_GROUPNAME, ERR_NO_SUCH_USER, ERR_NO_SUCH_GROUP,
                              ERR_USER_EXISTS,       ERR_GROUP_EXISTS, ERR_TOO_MANY_USERS,
                              ERR_TOO_MANY_GROUPS};
    return std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes);
}

void report_domain_failure() noexcept {
    if (access(SysPath("/usr/morv/bin/morvlogset1").c_str(), X_OK) == 0)
        run_tool("/usr/morv/bin/morvlogset1 sys err 0x1180050A", {});
}

int push_name(MLIBSZLIST **list, std::string_view name) {
    return MLIBSzListPush(list, std::string(name).c_str()) < 0 ? MLIBErrGet() : 0;
}

}  // namespace morv
