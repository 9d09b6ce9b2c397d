#include "core/account/share_mirror.h"

#include <morvsdk/error.h>
#include <morvsdk/internal/hash.h>
#include <morvsdk/list.h>

#include <memory>
#include <new>

#include "core/account/account_files.h"
#include "core/account/group_mirror.h"
#include "core/account/named_lines.h"
#include "core/account/user_mirror.h"
#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/store/records.h"
#include "core/text/lines.h"
#include "core/text/sections.h"
#include "core/text/trim.h"

namespace morv {

namespace {

constexpr MirrorStore kStores[] = {{"", false, kShares, 0}};
constexpr const char *kSources[] = {kSmbConfPath};

constexpr size_t kMostName = 495;
constexpr int kBuckets = 1024;
constexpr int kListSize = 512;

struct HashFreer {
    void operator()(MLIBSZHASH *hash) const noexcept { MLIBSzHashFree(hash); }
};
struct ListFreer {
    void operator()(MLIBSZLIST *list) const noexcept { MLIBSzListFree(list); }
};

// The section that is being read.
class Section {
  public:
    Section(Mirror &mirror, const Accounts &accounts) noexcept : mirror_(mirror), accounts_(accounts) {}

    int allocate() noexcept {
        keys_.reset(PshMLIBIHashAllocator(kBuckets, kListSize));
        lines_.reset(PslMLIBSzListAlloc(kListSize));
        return keys_ && lines_ ? 0 : ERR_OUT_OF_MEMORY;
    }

    int open(std::string_view header) {
        const size_t begin = header.find('[');
        const size_t end = header.rfind(']');
        name_.assign(header.substr(begin + 1, std::min(end - begin - 1, kMostName)));
        name_.resize(name_.find('\0') == name_.npos ? name_.size() : name_.find('\0'));
        type_ = ShareSectionTypeGet(name_.c_str());
        PslSzHashRemoveAll(keys_.get());
        MLIBSzListRemoveAll(lines_.get());
        return type_ == MORV_SECTION_RESERVED ? push(name_) : 0;
    }

    int add(std::string_view line) {
        if (type_ == MORV_SECTION_RESERVED) return push(std::string(trim_blanks(line)));
        if (type_ != MORV_SECTION_SHARE) return 0;
        const std::string_view text = trim_blanks(up_to_nul(line));
        if (text.empty() || is_comment(text)) return 0;
        const size_t equals = text.find('=');
        key_.assign(trim(text.substr(0, equals)));
        if (equals == text.npos || key_.empty()) {
            type_ = kDropped;
            return 0;
        }
        for (char &c : key_) {
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        }
        value_.assign(trim(text.substr(equals + 1)));
        MLIBSZHASH *keys = keys_.release();
        const int set = MLIBSzHashSetValue(&keys, key_.c_str(), value_.c_str());
        keys_.reset(keys);
        return set < 0 ? ERR_OUT_OF_MEMORY : 0;
    }

    int close() {
        const int type = type_;
        type_ = kNone;
        if (type == MORV_SECTION_RESERVED) {
            const int set = MORVListDBSet(mirror_.store[kShares], name_.c_str(), lines_.get());
            return set == 0 ? 0 : MLIBErrGet();
        }
        if (type == kNone || type == kDropped || MLIBSzHashPairNum(keys_.get()) < 1) return 0;
        if (type != MORV_SECTION_SHARE) {
            MORV_LOG(LOG_ERR, "section type is unexpected! iSecType=%d", type);
            return ERR_SECTION_NOT_FOUND;
        }
        MORVSHARE *share = nullptr;
        int code = share_from_keys(name_.c_str(), keys_.get(), accounts_, &share);
        const SharePtr guard(share);
        if (code == 0) code = put_share(mirror_, std::string(), *share);
        if (code == 0 || code == ERR_OUT_OF_MEMORY) return code;
        MORV_LOG(LOG_ERR, "MORVShareDBSet failed. morverr=0x%04X", unsigned(code));
        return 0;
    }

  private:
    static constexpr int kNone = 0;
    static constexpr int kDropped = -1;

    int push(const std::string &text) {
        MLIBSZLIST *lines = lines_.release();
        const int pushed = MLIBSzListPush(&lines, text.c_str());
        lines_.reset(lines);
        return pushed < 0 ? MLIBErrGet() : 0;
    }

    Mirror &mirror_;
    const Accounts &accounts_;
    int type_ = kNone;
    std::string name_, key_, value_;
    std::unique_ptr<MLIBSZHASH, HashFreer> keys_;
    std::unique_ptr<MLIBSZLIST, ListFreer> lines_;
};

const char *value_of(const MLIBSZHASH *keys, const char *key) noexcept {
    const char *const value = SzMLIBSzHashGetValue(keys, key);
    return value ? value : "";
}

bool is_value(const MLIBSZHASH *keys, const char *key, std::string_view value) noexcept {
    return value == value_of(keys, key);
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

int store_sections(Mirror &mirror, std::string_view text) noexcept {
    return no_throw([&] {
        MirrorPtr users;
        MirrorPtr groups;
        if (const int code = open_mirror(group_mirror_kind, Extent::kFirst, &groups))
            return code == ERR_OUT_OF_MEMORY ? code : int{ERR_OPEN_FAILED};
        if (const int code = open_mirror(user_mirror_kind, Extent::kFirst, &users))
            return code == ERR_OUT_OF_MEMORY ? code : int{ERR_OPEN_FAILED};
        const Accounts accounts(users.get(), groups.get());
        Section section(mirror, accounts);
        if (const int code = section.allocate()) return code;
        for (std::string_view line : Lines(text)) {
            const bool opens = is_section_line(line);
            if (opens) {
                if (const int code = section.close()) return code;
            }
            if (const int code = opens ? section.open(line) : section.add(line)) return code;
        }
        return section.close();
    });
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
    MORVBDB *const store = mirror.store[kShares];
    const SharePtr share(MORVShareAlloc(&spec));
    if (!share) return MLIBErrGet();
    int size = 0;
    const MallocPtr<void> packed(MORVShareDBPack(share.get(), &size));
    if (!packed) return MLIBErrGet();
    std::string_view there;
    if (!old_key.empty()) {
        int code = find_record(store, store_key(old_key), &there);
        if (code) return code == ERR_KEY_NOT_FOUND ? int{ERR_NO_SUCH_SHARE} : code;
        if ((code = erase_record(store, store_key(old_key)))) return code;
    } else {
        const int code = find_record(store, store_key(key), &there);
        if (code != ERR_KEY_NOT_FOUND) return code ? code : int{ERR_SHARE_EXISTS};
    }
    return put_record(store, store_key(key),
                      {static_cast<const char *>(packed.get()), static_cast<size_t>(size)});
}

}  // namespace morv
