#include <morvsdk/file.h>
#include <morvsdk/internal/hash.h>

#include "core/base/bit_set.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/file/file_edit.h"
#include "core/text/key_lines.h"
#include "core/text/lines.h"
#include "core/text/pair_format.h"
#include "core/text/trim.h"

using namespace morv;

namespace {

// A hash of keys, and which of them have been dealt with. The hash itself stays whole until the file is
// written.
class KeysToDo {
  public:
    explicit KeysToDo(MLIBSZHASH *hash) noexcept : hash_(hash) {}

    bool allocate() noexcept { return !hash_ || done_.allocate(size_t(hash_->nBucket)); }

    // The pair of `key` when it is still to do, which it then no longer is; else null.
    const MLIBSZHASHBUCKET *take(const char *key) noexcept {
        const int at = hash_ ? MLIBIGetLookDict(hash_, key) : -1;
        if (at < 0 || done_.has(size_t(at))) return nullptr;
        done_.add(size_t(at));
        return &hash_->bucket[at];
    }

    // Calls `each` for every pair that is still to do, in the hash's order.
    template <class F>
    int for_rest(F each) const {
        for (int i = 0; i < hash_->nBucket; ++i) {
            if (!hash_->bucket[i].pszKey || done_.has(size_t(i))) continue;
            if (int code = each(hash_->bucket[i])) return code;
        }
        return 0;
    }

    void remove_done(bool all) noexcept {
        for (int i = 0; hash_ && i < hash_->nBucket; ++i) {
            if (hash_->bucket[i].pszKey && (all || done_.has(size_t(i)))) {
                SzMLIBSzHashRemoveKey(hash_, hash_->bucket[i].pszKey);
            }
        }
    }

  private:
    MLIBSZHASH *hash_;
    BitSet done_;
};

int check_pairs(const MLIBSZHASH &hash) noexcept {
    for (int i = 0; i < hash.nBucket; ++i) {
        const MLIBSZHASHBUCKET &pair = hash.bucket[i];
        if (pair.pszKey && (!is_one_line(pair.pszKey) || !is_one_line(pair.pszValue)))
            return ERR_BAD_PARAMETERS;
    }
    return 0;
}

// Makes the new content, and answers an error code. `changed` counts the lines replaced, dropped and added.
int set_keys(std::string_view text, KeysToDo &set, KeysToDo &remove, const char *format, std::string &out,
             int &changed) {
    out.reserve(text.size() + 1024);
    std::string key;
    for (const std::string_view line : Lines(text)) {
        const std::string_view shown = trim_blanks(up_to_nul(line));
        key = is_comment(shown) ? "" : trim(shown.substr(0, shown.find('=')));
        const bool is_pair = !key.empty();
        if (is_pair && remove.take(key.c_str())) {
            ++changed;
        } else if (const MLIBSZHASHBUCKET *pair = is_pair ? set.take(key.c_str()) : nullptr) {
            if (int code = append_pair(out, format, key, pair->pszValue)) return code;
            ++changed;
        } else {
            out.append(line);
        }
    }
    return set.for_rest([&](const MLIBSZHASHBUCKET &pair) {
        if (*pair.pszKey == '\0') return 0;
        ++changed;
        return append_pair(out, format, pair.pszKey, pair.pszValue);
    });
}

int rewrite(const char *path, MLIBSZHASH *set, MLIBSZHASH *remove, const char *format,
            int &changed) noexcept {
    if (int code = check_pairs(*set)) return code;
    FileEdit file;
    if (int code = file.open(path, FileEdit::kMayCreate, ERR_WRITE_FAILED)) return code;
    KeysToDo to_set(set);
    KeysToDo others(remove);
    // A key that leaves a hash is gone from both if they are one.
    KeysToDo &to_remove = remove == set ? to_set : others;
    if (!to_set.allocate() || !to_remove.allocate()) return ERR_OUT_OF_MEMORY;
    return no_throw([&] {
        std::string content;
        if (int code = set_keys(file.text(), to_set, to_remove, format, content, changed)) return code;
        if (int code = file.commit(content, FileEdit::kOwn)) return code;
        to_set.remove_done(true);
        to_remove.remove_done(false);
        return 0;
    });
}

}  // namespace

extern "C" int MLIBFileSetKeys(const char *path, MLIBSZHASH *set, MLIBSZHASH *remove,
                               const char *format) noexcept {
    if (!path || !set) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int changed = 0;
    if (int code = rewrite(path, set, remove, format, changed)) return MORV_FAIL(code, -1);
    return changed;
}
