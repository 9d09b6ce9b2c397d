#include "core/system/mounts.h"

#include <morvsdk/errcodes.h>
#include <string.h>

#include <algorithm>

#include "core/base/fail.h"
#include "core/file/sys_path.h"
#include "core/text/fields.h"
#include "core/text/lines.h"

namespace morv {

namespace {

// A zero byte is in no name, so that "000" stands for itself.
bool is_octal(const char *digits) noexcept {
    return digits[0] >= '0' && digits[0] <= '3' && digits[1] >= '0' && digits[1] <= '7' && digits[2] >= '0' &&
           digits[2] <= '7' && memcmp(digits, "000", 3) != 0;
}

}  // namespace

std::string_view decode_mount_field(std::span<char> field) noexcept {
    const std::string_view text(field.data(), field.size());
    size_t from = text.find('\\');
    if (from == text.npos) return text;
    size_t to = from;
    while (from < text.size()) {
        if (text[from] == '\\' && text.size() - from > 3 && is_octal(&text[from + 1])) {
            field[to++] = static_cast<char>((text[from + 1] - '0') * 64 + (text[from + 2] - '0') * 8 +
                                            (text[from + 3] - '0'));
            from += 4;
        } else {
            field[to++] = text[from++];
        }
    }
    return text.substr(0, to);
}

bool Mount::has_option(std::string_view word) const noexcept {
    for (std::string_view rest = options;;) {
        const size_t comma = rest.find(',');
        if (rest.substr(0, comma) == word) return true;
        if (comma == rest.npos) return false;
        rest.remove_prefix(comma + 1);
    }
}

bool parse_mount(std::span<char> line, Mount &mount) noexcept {
    const std::string_view text = without_line_feed({line.data(), line.size()});
    std::string_view fields[4];
    if (split_fields(text, ' ', fields) < 2 || !fields[1].starts_with('/') || text.find('\0') != text.npos)
        return false;
    for (std::string_view &field : fields) {
        if (field.find('\\') != field.npos)
            field = decode_mount_field(line.subspan(size_t(field.data() - text.data()), field.size()));
    }
    mount = {fields[0], fields[1], fields[2], fields[3]};
    return mount.point == "/" || leads_down(mount.point);
}

int mounts_not_opened(int priority) noexcept {
    constexpr int kCode = ERR_OPEN_FAILED;
    syslog(priority, "%s(%d)[%X]Failed to open /proc/mounts", MORV_STEM, __LINE__, unsigned(kCode));
    return kCode;
}

int Mounts::load(int priority) {
    mounts_.clear();
    text_.reset(new FileText);
    if (const int code = text_->load(SysPath("/proc/mounts").c_str()))
        return code == ERR_OUT_OF_MEMORY ? code : mounts_not_opened(priority);
    const std::string_view text = text_->view();
    mounts_.reserve(text.size() / 64);
    for (const std::string_view line : Lines(text)) {
        Mount mount;
        if (parse_mount({text_->data() + (line.data() - text.data()), line.size()}, mount))
            mounts_.push_back(mount);
    }
    return 0;
}

const Mount *Mounts::at(std::string_view point) const noexcept {
    const auto found =
        std::find_if(mounts_.rbegin(), mounts_.rend(), [&](const Mount &m) { return m.point == point; });
    return found == mounts_.rend() ? nullptr : &*found;
}

std::string_view Mounts::find(std::string_view path) const noexcept {
    std::string_view best;
    for (const Mount &mount : mounts_) {
        const std::string_view point = mount.point;
        const bool is_root = point == "/";
        if (!path.starts_with(point) || point.size() < best.size()) continue;
        if (is_root || path.size() == point.size() || path[point.size()] == '/') best = point;
    }
    return best;
}

}  // namespace morv
