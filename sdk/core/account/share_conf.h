// The file-sharing configuration on its way from one version to the next, with its mirror.
#pragma once

#include <morvsdk/file.h>

#include <memory>
#include <string>
#include <string_view>

#include "core/account/account_files.h"
#include "core/account/account_lock.h"
#include "core/account/share_mirror.h"
#include "core/account/share_text.h"
#include "core/base/no_throw.h"

namespace morv {

// Whether a text, and whether each text of a record, may stand in one line.
bool is_line(const char *text) noexcept;
bool has_lines(const MORVSHARE &share) noexcept;

// The sections of a configuration that change; all else stays.
class TextChange {
  public:
    explicit TextChange(std::string_view text) noexcept : text_(text) {}

    void replace(const ConfSection &section, std::string_view by) {
        const auto at = static_cast<size_t>(section.text.data() - text_.data());
        out_.append(text_, done_, at - done_).append(by);
        done_ = at + section.text.size();
    }

    std::string finish() {
        out_.append(text_, done_);
        return std::move(out_);
    }

  private:
    std::string_view text_;
    std::string out_;
    size_t done_ = 0;
};

// Opened and locked: the mirror, and the configuration that it was built from.
class ConfChange {
  protected:
    int open() noexcept;

    // The new version as soon as it is set, else the one that was read.
    std::string_view text() const noexcept { return files_->text(AccountFile::kSmbConf); }

    // Puts the new configuration in place. in_effect: whether it counts, also when the answer is an error.
    int commit(bool *in_effect) noexcept;

    // The file is what counts by now: a mirror that cannot be brought up to date is built anew by its next
    // reader.
    template <class F>
    void update_mirror(F &&change) noexcept {
        mirror_->source[0] = state_of(files_->new_state(AccountFile::kSmbConf));
        int code = no_throw([&]() -> int { return change(*mirror_); });
        if (code == 0) code = publish_mirror(std::move(mirror_));
        if (code) forget_mirror(share_mirror_kind);
    }

    AccountLock lock_;
    MirrorPtr mirror_;
    std::unique_ptr<FileChanges> files_;
    SectionReader reader_;
};

}  // namespace morv
