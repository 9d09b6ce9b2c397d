// The mirror of the shares.
#pragma once

#include <morvsdk/internal/share.h>

#include <memory>
#include <string>
#include <string_view>

#include "core/account/account_store.h"
#include "core/account/share_text.h"
#include "core/account/valid_names.h"
#include "core/store/mirror.h"
#include "core/text/list_guard.h"

namespace morv {

enum ShareSlot { kShares };

extern const MirrorKind share_mirror_kind;

inline MORVSHAREDB *share_handle(Mirror *mirror) noexcept {
    return reinterpret_cast<MORVSHAREDB *>(mirror);
}
inline Mirror *mirror_of(MORVSHAREDB *db) noexcept {
    return reinterpret_cast<Mirror *>(db);
}

struct ShareFreer {
    void operator()(MORVSHARE *share) const noexcept { MORVShareFree(share); }
};
using SharePtr = std::unique_ptr<MORVSHARE, ShareFreer>;

// Makes of sections what the mirror holds of them; one reader for all. Functions may throw std::bad_alloc.
class SectionReader {
  public:
    int allocate() noexcept;

    // The section's keys, or its lines if it is a reserved one. A section that cannot be understood has
    // none.
    int read(const ConfSection &section);
    const MLIBSZHASH *keys() const noexcept { return keys_.get(); }
    const MLIBSZLIST *lines() const noexcept { return lines_.get(); }

    // The record of the section read last; null when the mirror holds none.
    int make_share(const ConfSection &section, const Accounts &accounts, SharePtr *share);

    // Stores the list of the section read last.
    int store_lines(const ConfSection &section, Mirror &mirror) const noexcept;

  private:
    int push(std::string_view text);

    std::string key_, value_;
    HashPtr keys_;
    ListPtr lines_;
};

// Fills the store from the text of a configuration.
int store_sections(Mirror &mirror, std::string_view text) noexcept;

// Makes a record from a section's keys, its lists put in order by `accounts`. Answers 0, the codes of
// MORVShareAlloc or of the mirrors. May throw std::bad_alloc.
int share_from_keys(const char *name, const MLIBSZHASH *keys, const Accounts &accounts, MORVSHARE **share);

// The key of a reserved section's list, but for its NUL.
std::string reserved_key(std::string_view section);

// Packs and stores a record. old_key: upper-cased name of the share that it replaces; empty to add.
// ERR_SHARE_EXISTS when there is another one by its name. May throw std::bad_alloc.
int put_share(Mirror &mirror, const std::string &old_key, const MORVSHARE &spec);

}  // namespace morv
