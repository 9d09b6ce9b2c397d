// Blocks whose items are settings, as block_info.h says of them: an exporter and an importer for all of these.
#pragma once

#include <vector>

#include "core/system/settings.h"
#include "sysbkp/block.h"
#include "sysbkp/block_info.h"

namespace morv {

// What an item holds.
struct FieldValue {
    int32_t number;    // of a number
    const char *text;  // of a text: good as long as the block's bytes are
};

// The items of a block without records. What is wrong with them shows in the reader. May throw
// std::bad_alloc.
std::vector<FieldValue> take_fields(ItemReader &items, std::span<const FieldInfo> fields);

// The settings among the fields, with the values that they have. Answers 0 or -1, which is told. May throw.
int gather_settings(std::span<const FieldInfo> fields, std::vector<SettingValue> &values);

// Puts a setting's item. mask: the bits that count of a number. May throw.
void put_setting(ItemWriter &items, const FieldInfo &field, const SettingValue &value, int32_t mask = -1);

// The settings among the fields, with the values that the items give them: a number other than 0 is a flag
// that is on, and an empty text stands for the default of a number or flag. A value that a setting cannot
// have is told; all are looked at. Answers 0 or -1. May throw.
int check_settings(std::span<const FieldInfo> fields, std::span<const FieldValue> found,
                   std::vector<SettingValue> &values);

// Applies all or none. Answers 0 or -1, which is told.
int apply_settings(std::span<const SettingValue> values) noexcept;

// Calls `apply` where this model has what `key` of its description stands for; null: always. Answers what that answers;
// 0 where it has not, and -1 where that cannot be known, both of which is told.
template <class F>
int apply_if_supported(const char *key, F &&apply) {
    bool has;
    if (const int code = read_support(key, &has)) {
        tell_problem("what this model has cannot be read: %s", code_text(code));
        return -1;
    }
    if (has) return apply();
    tell_unsupported("this model does not have it: it lacks %s", key);
    return 0;
}

// An exporter and an importer. what: the kind for the log; mask: as above.
int export_settings(int fd, int id, const char *what, const char *stem, int line, int32_t mask = -1) noexcept;
int import_settings(int fd, int id, int version, int32_t mask = -1) noexcept;

}  // namespace morv

#define EXPORT_SETTINGS(fd, id, what, ...) \
    ::morv::export_settings((fd), (id), (what), MORV_STEM, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
