// The mirror of the shares.
#pragma once

#include <morvsdk/internal/share.h>

#include <string>
#include <string_view>

#include "core/account/account_store.h"
#include "core/account/valid_names.h"
#include "core/store/mirror.h"

namespace morv {

enum ShareSlot { kShares };

extern const MirrorKind share_mirror_kind;

inline MORVSHAREDB *share_handle(Mirror *mirror) noexcept {
    return reinterpret_cast<MORVSHAREDB *>(mirror);
}
inline Mirror *mirror_of(MORVSHAREDB *db) noexcept {
    return reinterpret_cast<Mirror *>(db);
}

// Fills the store from the text of a configuration.
int store_sections(Mirror &mirror, std::string_view text) noexcept;

// Makes a record from a section's keys, its lists put in order by `accounts`. Answers 0, the codes of MORVShareAlloc or
// of the mirrors. May throw std::bad_alloc.
int share_from_keys(const char *name, const MLIBSZHASH *keys, const Accounts &accounts, MORVSHARE **share);

// Packs and stores a record. old_key: upper-cased name of the share that it replaces; empty to add, which
// ERR_SHARE_EXISTS refuses. May throw std::bad_alloc.
int put_share(Mirror &mirror, const std::string &old_key, const MORVSHARE &spec);

struct ShareFreer {
    void operator()(MORVSHARE *share) const noexcept { MORVShareFree(share); }
};
using SharePtr = std::unique_ptr<MORVSHARE, ShareFreer>;

}  // namespace morv
