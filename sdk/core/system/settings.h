// The settings that no other family owns: what is known of each, and reading and changing many at once.
#pragma once

#include <morvsdk/service.h>

#include <span>
#include <string>
#include <string_view>

namespace morv {

// Null for no setting.
const MORVSETTING *setting_info(int setting) noexcept;

// The setting of a key, or -1.
int find_setting(std::string_view name) noexcept;

// Whether this model has what a key of "/etc.defaults/morvinfo.conf" stands for; null: it has. Answers 0, or a code when
// that cannot be told.
int read_support(const char *key, bool *has) noexcept;

// The form in which a value is written; false, and `normal` is as it was, when the setting cannot have it.
// Throws std::bad_alloc, as do all that answer texts.
bool normalize_setting(const MORVSETTING &info, std::string_view value, std::string &normal);

// Why a setting cannot have a value, as "99999 is not between 1 and 65535".
std::string setting_problem(const MORVSETTING &info, std::string_view value);

struct SettingValue {
    int setting;
    std::string text;  // as it is written

    // 1 or 0 for a flag; 0 for a text.
    int32_t number() const noexcept;
};

// Gives settings the values that they have: their default where the file has none, or one that makes no
// sense. A file that is missing has none. Answers 0, ERR_OPEN_FAILED, ERR_READ_FAILED or ERR_OUT_OF_MEMORY.
int read_settings(std::span<SettingValue> values) noexcept;

// Changes settings under MORV_LOCK_MORVINFO: of those of a file all or none, and nothing is written when each
// has its value. Answers 0, ERR_BAD_PARAMETERS (a value that a setting cannot have: none is changed),
// ERR_LOCK_FAILED, ERR_UNLOCK_FAILED or a code of FileEdit.
int write_settings(std::span<const SettingValue> values) noexcept;

}  // namespace morv
