// Changes of the reserved sections of the configuration.
#pragma once

#include <morvsdk/hash.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/account/share_text.h"

namespace morv {

// All take the lock, and answer 0 or an error code.

// Replaces a section by the pairs of a hash; null removes it.
int change_reserved(const char *section, const MLIBSZHASH *pairs) noexcept;

// A key, in lower case, and what it is to say; without a value it goes.
struct ReservedKey {
    const char *key;
    const char *value;
};

// Changes some keys of a section, all or none, and leaves its other lines as they are. A section that is
// missing is made. Nothing is written when all is said already.
int change_reserved_keys(const char *section, std::span<const ReservedKey> keys) noexcept;

// ---- Texts ----------------------------------------------------------------------------------------------

// Whether it is the section by the key that the mirror has it under.
bool is_reserved(const ConfSection &section, const std::string &key);

// Other readers take a line for the beginning of a section also behind blanks.
bool may_be_line(std::string_view line) noexcept;

// The new text of a configuration in which a reserved section has other lines, or none. Of several sections
// with one name the last one counts, and the others go.
std::string edit_reserved(std::string_view text, const std::string &key,
                          const std::vector<std::string_view> *lines);

}  // namespace morv
