// A record as the keys of its section.
#pragma once

#include <morvsdk/share.h>

#include <string>

#include "core/account/share_text.h"
#include "core/account/valid_names.h"

namespace morv {

// A record that owns its texts, and says the same in all of its fields.
struct SettledShare {
    std::string name, comment, path, invalid_users, write_list, read_list;
    int access = 0, browseable = 0, ftp = 0;

    MORVSHARE record() const noexcept;

    // Takes a record: its lists with the accounts that there are, and "@users" only where it agrees with the access
    // of everybody. Where the two contradict each other the one counts that differs from the old record (null: none),
    // and the access if both do. Answers 0 or a code of the mirrors. May throw std::bad_alloc.
    int take(const MORVSHARE &share, const MORVSHARE *old, const Accounts &accounts);

    bool equals(const MORVSHARE &share) const noexcept;
};

// What has to change in the section of `old` so that it is read as `wanted`; null: all that a new section says.
//
// keys: those of the section, null when there are none
KeyEdits edits_of(const MORVSHARE *old, const SettledShare &wanted, const MLIBSZHASH *keys);

}  // namespace morv
