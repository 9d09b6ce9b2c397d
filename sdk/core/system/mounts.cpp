#include "core/system/mounts.h"

#include <morvsdk/errcodes.h>

#include <algorithm>
#include <memory>

#include "core/file/file_text.h"
#include "core/file/sys_path.h"
#include "core/text/fields.h"
#include "core/text/lines.h"

namespace morv {

namespace {

bool is_octal(std::string_view text) noexcept {
    return text.size() >= 3 && text[0] >= '0' && text[0] <= '3' &&
           std::all_of(text.begin(), text.begin() + 3, [](char c) { return c >= '0' && c <= '7'; });
}

// Blanks and backslashes are written as "\040".
std::string decode(std::string_view field) {
    std::string text;
    for (size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && is_octal(field.substr(i + 1))) {
            text.push_back(
                static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + field[i + 3] - '0'));
            i += 3;
        } else {
            text.push_back(field[i]);
        }
    }
    return text;
}

}  // namespace

int Mounts::load() {
    points_.clear();
    const std::unique_ptr<FileText> text(new FileText);
    if (const int code = text->load(SysPath("/proc/mounts").c_str()))
        return code == ERR_OUT_OF_MEMORY ? code : int{ERR_OPEN_FAILED};
    for (const std::string_view line : Lines(text->view())) {
        std::string_view fields[3];
        if (split_fields(without_line_feed(line), ' ', fields) < 2 || !fields[1].starts_with('/')) continue;
        points_.push_back(decode(fields[1]));
    }
    return 0;
}

std::string_view Mounts::find(std::string_view path) const noexcept {
    std::string_view best;
    for (const std::string &point : points_) {
        const bool is_root = point == "/";
        if (!path.starts_with(point) || point.size() < best.size()) continue;
        if (is_root || path.size() == point.size() || path[point.size()] == '/') best = point;
    }
    return best;
}

}  // namespace morv
