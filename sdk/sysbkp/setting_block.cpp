#include "sysbkp/setting_block.h"

namespace morv {

namespace {

// What an item says, as a setting would be written.
std::string written(const MORVSETTING &info, const FieldInfo &field, const FieldValue &value) {
    if (field.type == MORV_SYSBKP_LONG) {
        if (info.kind == MORV_SETTING_FLAG) return value.number ? "yes" : "no";
        return std::to_string(value.number);
    }
    const bool is_none = *value.text == '\0' && info.kind != MORV_SETTING_TEXT;
    return is_none ? info.szDefault : value.text;
}

}  // namespace

std::vector<FieldValue> take_fields(ItemReader &items, std::span<const FieldInfo> fields) {
    std::vector<FieldValue> found;
    for (const FieldInfo &field : fields) {
        if (field.type == MORV_SYSBKP_LONG)
            found.push_back({items.take_long(), ""});
        else
            found.push_back({0, items.take_string()});
    }
    return found;
}

int gather_settings(std::span<const FieldInfo> fields, std::vector<SettingValue> &values) {
    for (const FieldInfo &field : fields) {
        if (field.setting >= 0) values.push_back({field.setting, {}});
    }
    const int code = read_settings(values);
    if (code) tell_problem("the settings cannot be read: %s", code_text(code));
    return code ? -1 : 0;
}

void put_setting(ItemWriter &items, const FieldInfo &field, const SettingValue &value, int32_t mask) {
    if (field.type == MORV_SYSBKP_LONG)
        items.put_long(value.number() & mask);
    else
        items.put_string(value.text);
}

int check_settings(std::span<const FieldInfo> fields, std::span<const FieldValue> found,
                   std::vector<SettingValue> &values) {
    int result = 0;
    for (size_t i = 0; i < fields.size(); ++i) {
        const MORVSETTING *const info = setting_info(fields[i].setting);
        if (!info) continue;
        const std::string text = written(*info, fields[i], found[i]);
        std::string normal;
        if (normalize_setting(*info, text, normal)) {
            values.push_back({fields[i].setting, normal});
        } else {
            tell_problem("%s: %s", info->szName, setting_problem(*info, text).c_str());
            result = -1;
        }
    }
    return result;
}

int apply_settings(std::span<const SettingValue> values) noexcept {
    const int code = write_settings(values);
    if (code) tell_problem("the settings cannot be written: %s", code_text(code));
    return code ? -1 : 0;
}

int export_settings(int fd, int id, const char *what, const char *stem, int line, int32_t mask) noexcept {
    return export_block(fd, id, what, stem, line, [&](ItemWriter &items) {
        const std::span<const FieldInfo> fields = block_info(id)->head;
        std::vector<SettingValue> values;
        if (gather_settings(fields, values) != 0) return -1;
        for (size_t i = 0; i < fields.size(); ++i)
            put_setting(items, fields[i], values[i], mask);
        return 0;
    });
}

int import_settings(int fd, int id, int version, int32_t mask) noexcept {
    return import_block(fd, id, version, [&](ItemReader &items) {
        const std::span<const FieldInfo> fields = block_info(id)->head;
        std::vector<FieldValue> found = take_fields(items, fields);
        if (check_items(items) != 0) return -1;
        if (mask != -1) {
            // The bits that an item does not carry stay as they are here.
            std::vector<SettingValue> now;
            if (gather_settings(fields, now) != 0) return -1;
            for (size_t i = 0; i < found.size(); ++i)
                found[i].number = (found[i].number & mask) | (now[i].number() & ~mask);
        }
        std::vector<SettingValue> values;
        if (check_settings(fields, found, values) != 0) return -1;
        // All settings of a kind are for the same thing.
        return apply_if_supported(setting_info(values.front().setting)->szSupport,
                                  [&] { return apply_settings(values); });
    });
}

}  // namespace morv
