#include "core/account/share_mirror.h"

#include <morvsdk/error.h>
#include <morvsdk/internal/hash.h>
#include <morvsdk/list.h>

#include <memory>
#include <new>

#include "core/account/account_files.h"
#include "core/account/named_lines.h"
#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/store/records.h"
#include "core/text/case.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

namespace morv {

namespace {

constexpr MirrorStore kStores[] = {{"", false, kShares, 0}};
constexpr const char *kSources[] = {kSmbConfPath};

constexpr int kBuckets = 1024;
constexpr int kListSize = 512;

const char *value_of(const MLIBSZHASH *keys, const char *key) noexcept {
    const char *const value = SzMLIBSzHashGetValue(keys, key);
    return value ? value : "";
}

bool is_value(const MLIBSZHASH *keys, const char *key, std::string_view value) noexcept {
    return ascii_equal(value_of(keys, key), value);
}

int build(Mirror &mirror) noexcept {
    std::unique_ptr<SourceText> source(new (std::nothrow) SourceText);
    if (!source) return ERR_OUT_OF_MEMORY;
    if (const int code = source->load(kSmbConfPath)) return code;
    mirror.source[0] = state_of(source->st);
    return store_sections(mirror, source->text.view());
}

}  // namespace

const MirrorKind share_mirror_kind = {
    "/tmp/.db.morvshare.0957", "/tmp/.db.morvshare.tmp", "/tmp/lock/mirror_share", kStores, kSources, build,
    "MORVShareDBRebuild"};

int SectionReader::allocate() noexcept {
    keys_.reset(PshMLIBIHashAllocator(kBuckets, kListSize));
    lines_.reset(PslMLIBSzListAlloc(kListSize));
    return keys_ && lines_ ? 0 : ERR_OUT_OF_MEMORY;
}

int SectionReader::push(std::string_view text) {
    value_.assign(text);
    MLIBSZLIST *lines = lines_.release();
    const int pushed = MLIBSzListPush(&lines, value_.c_str());
    lines_.reset(lines);
    return pushed < 0 ? MLIBErrGet() : 0;
}

int SectionReader::read(const ConfSection &section) {
    PslSzHashRemoveAll(keys_.get());
    MLIBSzListRemoveAll(lines_.get());
    if (section.type == MORV_SECTION_RESERVED) {
        if (const int code = push(section.name)) return code;
        for (const std::string_view line : Lines(section.body())) {
            if (const int code = push(trim_blanks(line))) return code;
        }
        return 0;
    }
    std::string_view key;
    std::string_view value;
    for (const std::string_view line : Lines(section.body())) {
        const ConfLine kind = read_conf_line(line, &key, &value);
        if (kind == ConfLine::kNothing) continue;
        if (kind == ConfLine::kMalformed) {
            PslSzHashRemoveAll(keys_.get());
            return 0;
        }
        key_.assign(key);
        for (char &c : key_) {
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        }
        value_.assign(value);
        MLIBSZHASH *keys = keys_.release();
        const int set = MLIBSzHashSetValue(&keys, key_.c_str(), value_.c_str());
        keys_.reset(keys);
        if (set < 0) return ERR_OUT_OF_MEMORY;
    }
    return 0;
}

int SectionReader::make_share(const ConfSection &section, const Accounts &accounts, SharePtr *share) {
    share->reset();
    if (section.type == MORV_SECTION_RESERVED || MLIBSzHashPairNum(keys_.get()) < 1) return 0;
    if (section.type != MORV_SECTION_SHARE) {
        MORV_LOG(LOG_ERR, "section type is unexpected! iSecType=%d", section.type);
        return ERR_SECTION_NOT_FOUND;
    }
    MORVSHARE *made = nullptr;
    const int code = share_from_keys(section.name.c_str(), keys_.get(), accounts, &made);
    share->reset(made);
    if (code == 0 || code == ERR_OUT_OF_MEMORY) return code;
    MORV_LOG(LOG_ERR, "MORVShareDBSet failed. morverr=0x%04X", unsigned(code));
    return 0;
}

int SectionReader::store_lines(const ConfSection &section, Mirror &mirror) const noexcept {
    const int set = MORVListDBSet(mirror.store[kShares], section.name.c_str(), lines_.get());
    return set == 0 ? 0 : MLIBErrGet();
}

int store_sections(Mirror &mirror, std::string_view text) noexcept {
    return no_throw([&] {
        AccountMirrors mirrors;
        SectionReader reader;
        if (const int code = mirrors.open()) return code;
        if (const int code = reader.allocate()) return code;
        for (ConfSections sections(text); sections.next();) {
            const ConfSection &section = sections.section;
            int code = reader.read(section);
            SharePtr share;
            if (code == 0 && section.type == MORV_SECTION_RESERVED)
                code = reader.store_lines(section, mirror);
            if (code == 0) code = reader.make_share(section, mirrors.accounts(), &share);
            if (code) return code;
            if (!share) continue;
            code = put_share(mirror, std::string(), *share);
            if (code == ERR_OUT_OF_MEMORY || code == ERR_NOT_ENOUGH_SPACE) return code;
            if (code) MORV_LOG(LOG_ERR, "MORVShareDBSet failed. morverr=0x%04X", unsigned(code));
        }
        return 0;
    });
}

std::string reserved_key(std::string_view section) {
    std::string key("#");
    for (const char c : section)
        key.push_back(c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c);
    return key;
}

int share_from_keys(const char *name, const MLIBSZHASH *keys, const Accounts &accounts, MORVSHARE **share) {
    std::string lists[3];
    int at = 0;
    for (const char *key : {"invalid users", "write list", "read list"}) {
        int count;
        const int code = accounts.normalise(value_of(keys, key), lists[at], &count);
        if (code == ERR_OUT_OF_MEMORY) return code;
        if (code) {
            MORV_LOG(LOG_ERR, "MORVUserGetValidUserList2 error. sz[%d]=[%s]", at, value_of(keys, key));
            lists[at].clear();
        }
        ++at;
    }
    std::string comment = value_of(keys, "comment");
    std::string path = value_of(keys, "path");
    MORVSHARE spec = {};
    spec.szName = const_cast<char *>(name);
    spec.szComment = comment.data();
    spec.szPath = path.data();
    spec.szInvalidUsers = lists[0].data();
    spec.szWriteList = lists[1].data();
    spec.szReadList = lists[2].data();
    spec.accessType = ShareFTypeGetFromConf(keys, lists[0].c_str(), lists[1].c_str(), lists[2].c_str());
    spec.browseable = is_value(keys, "browseable", "no") ? 0 : 1;
    spec.ftpFlags = (is_value(keys, "ftp disable list", "yes") ? int{MORV_SHARE_FTP_NO_LIST} : 0) |
                    (is_value(keys, "ftp disable modify", "yes") ? int{MORV_SHARE_FTP_NO_MODIFY} : 0) |
                    (is_value(keys, "ftp disable download", "yes") ? int{MORV_SHARE_FTP_NO_DOWNLOAD} : 0);
    *share = MORVShareAlloc(&spec);
    return *share ? 0 : MLIBErrGet();
}

int put_share(Mirror &mirror, const std::string &old_key, const MORVSHARE &spec) {
    std::string key;
    if (!BlMLIBIsShareName(spec.szName) || !upper_name(spec.szName, key)) return ERR_INVALID_SHARENAME;
    if (ShareSectionTypeGet(spec.szName) != MORV_SECTION_SHARE) return ERR_INVALID_SHARENAME;
    MORVBDB *const store = mirror.store[kShares];
    const SharePtr share(MORVShareAlloc(&spec));
    if (!share) return MLIBErrGet();
    int size = 0;
    const MallocPtr<void> packed(MORVShareDBPack(share.get(), &size));
    if (!packed) return MLIBErrGet();
    std::string_view there;
    if (!old_key.empty()) {
        const int code = find_record(store, store_key(old_key), &there);
        if (code) return code == ERR_KEY_NOT_FOUND ? int{ERR_NO_SUCH_SHARE} : code;
    }
    if (key != old_key) {
        const int code = find_record(store, store_key(key), &there);
        if (code != ERR_KEY_NOT_FOUND) return code ? code : int{ERR_SHARE_EXISTS};
    }
    if (!old_key.empty()) {
        if (const int code = erase_record(store, store_key(old_key))) return code;
    }
    return put_record(store, store_key(key),
                      {static_cast<const char *>(packed.get()), static_cast<size_t>(size)});
}

}  // namespace morv
