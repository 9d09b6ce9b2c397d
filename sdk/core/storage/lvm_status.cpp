#include "core/storage/lvm_status.h"

#include <morvsdk/errcodes.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "core/base/guard.h"
#include "core/file/aside.h"
#include "core/file/replacement_file.h"
#include "core/file/sys_path.h"
#include "core/storage/status_file.h"
#include "core/text/field_text.h"
#include "core/text/key_lines.h"
#include "core/text/lines.h"
#include "core/text/sections.h"
#include "core/text/trim.h"

namespace morv {

namespace {

constexpr char kStatusFile[] = "/tmp/lvm.status";
constexpr size_t kLongest = size_t{1} << 20;

using GroupPtr = std::unique_ptr<LVM_VG_INFO, Releaser<LVMVgInfoFree>>;

std::string_view name_of(std::string_view section_line) noexcept {
    const std::string_view text = up_to_nul(section_line);
    return text.substr(1, text.rfind(']') - 1);
}

int parse_volume(std::string_view line, LVM_PV &volume) noexcept {
    const KeyLine pair = parse_key_line(line);
    const std::string_view status = trim(pair.value);
    if (!pair.key.starts_with('/') || !copy_text(volume.szPath, pair.key) ||
        (status != "0" && status != "1")) {
        return ERR_FORMAT_ERROR;
    }
    volume.status = status == "1" ? LVM_PV_MISSING : LVM_PV_NORMAL;
    return 0;
}

template <size_t N>
std::string_view text_of(const char (&field)[N]) noexcept {
    return {field, strnlen(field, N)};
}

}  // namespace

int LvmStatus::load() {
    groups_.clear();
    text_.reset(new FileText);
    const int code = load_status(kStatusFile, Writers::kTrusted, kLongest, *text_);
    if (code) return code == ERR_FILE_NOT_FOUND ? 0 : code;
    for (const std::string_view line : Lines(text_->view())) {
        if (!is_section_line(line)) continue;
        const std::string_view name = name_of(line);
        if (std::find(groups_.begin(), groups_.end(), name) == groups_.end()) groups_.push_back(name);
    }
    return 0;
}

int LvmStatus::read(std::string_view group, LVM_VG_INFO **info) const noexcept {
    *info = nullptr;
    if (std::find(groups_.begin(), groups_.end(), group) == groups_.end()) return 0;
    const std::string_view text = text_->view();
    GroupPtr read(static_cast<LVM_VG_INFO *>(calloc(1, sizeof(LVM_VG_INFO))));
    if (!read) return ERR_OUT_OF_MEMORY;
    if (!copy_text(read->szPath, group)) return ERR_FORMAT_ERROR;
    LVM_PV **last = &read->pPvs;
    for (const std::string_view line : Lines(section_body(text, find_section_line(text, group)))) {
        if (is_comment(line) || trim_blanks(line).empty()) continue;
        *last = static_cast<LVM_PV *>(calloc(1, sizeof(LVM_PV)));
        if (!*last) return ERR_OUT_OF_MEMORY;
        if (const int code = parse_volume(line, **last)) return code;
        last = &(*last)->pNext;
    }
    *info = read.release();
    return 0;
}

int append_group(const LVM_VG_INFO &group, std::string &text) {
    const std::string_view name = text_of(group.szPath);
    if (name.size() >= sizeof group.szPath || !name.starts_with('/') || !is_one_line(name) ||
        name.find_first_of("[]") != name.npos || !find_section_line(text, name).empty()) {
        return ERR_BAD_PARAMETERS;
    }
    text.append("[").append(name).append("]\n");
    for (const LVM_PV *volume = group.pPvs; volume; volume = volume->pNext) {
        const std::string_view path = text_of(volume->szPath);
        const std::string pair = std::string(path).append(volume->status == LVM_PV_MISSING ? "=1\n" : "=0\n");
        LVM_PV back;
        if (path.find_first_of("[]") != path.npos || !is_one_line(path) ||
            (volume->status & ~LVM_PV_MISSING) != 0 || parse_volume(pair, back) != 0 ||
            text_of(back.szPath) != path) {
            return ERR_BAD_PARAMETERS;
        }
        text.append(pair);
    }
    return 0;
}

int write_lvm_status(std::string_view text) noexcept {
    if (text.size() > kLongest) return ERR_BAD_PARAMETERS;
    // The name itself is replaced, whatever it leads to: everybody may make links there.
    const SysPath path(kStatusFile);
    move_aside_unless_regular(path.c_str());
    ReplacementFile file(path.c_str());
    if (const int code = file.create_own(0644)) return code;
    if (const int code = file.write(text)) return code;
    return file.commit();
}

}  // namespace morv
