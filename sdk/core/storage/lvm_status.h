// "/tmp/lvm.status": what LVM said of its volume groups when it was asked last.
//
//     [/dev/vg1]
//     /dev/md2=0
//     /dev/md3=1
#pragma once

#include <morvsdk/lvm.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/file/file_text.h"

namespace morv {

class LvmStatus {
  public:
    // Reads the file; without a regular one, or with one that neither root nor this process's user has written, there
    // are no groups. Answers 0, ERR_OPEN_FAILED, ERR_FORMAT_ERROR (longer than 1 MiB) or ERR_OUT_OF_MEMORY.
    // May throw std::bad_alloc.
    int load();

    // The paths of the groups in the order of the file, each once. Views the file's text.
    const std::vector<std::string_view> &groups() const noexcept { return groups_; }

    // The record of a group, to be freed with LVMVgInfoFree; null for one that the file does not have.
    // Answers 0, ERR_FORMAT_ERROR (a line that is no physical volume's, a text longer than the record's) or
    // ERR_OUT_OF_MEMORY.
    int read(std::string_view group, LVM_VG_INFO **info) const noexcept;

  private:
    std::unique_ptr<FileText> text_;
    std::vector<std::string_view> groups_;
};

// Adds the lines of a group. Answers 0, or ERR_BAD_PARAMETERS for what could not be read back. May throw
// std::bad_alloc.
int append_group(const LVM_VG_INFO &group, std::string &text);

// Replaces the file. Answers 0, ERR_BAD_PARAMETERS (longer than could be read back), ERR_OPEN_FAILED,
// ERR_WRITE_FAILED, ERR_RENAME_FAILED or another code of the replacement file.
int write_lvm_status(std::string_view text) noexcept;

}  // namespace morv
