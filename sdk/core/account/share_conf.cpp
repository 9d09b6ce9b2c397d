#include "core/account/share_conf.h"

#include <string.h>
#include <sys/stat.h>

#include <new>

#include "core/base/log.h"
#include "core/file/sys_path.h"

namespace morv {

namespace {

constexpr int kRounds = 5;

}  // namespace

bool is_line(const char *text) noexcept {
    return !text || !strpbrk(text, "\n\r");
}

bool has_lines(const MORVSHARE &share) noexcept {
    return is_line(share.szName) && is_line(share.szComment) && is_line(share.szPath) &&
           is_line(share.szInvalidUsers) && is_line(share.szWriteList) && is_line(share.szReadList);
}

int ConfChange::open() noexcept {
    if (lock_.write(MORV_LOCK_SMB | MORV_LOCK_EXPORTS) != 0) {
        MORV_LOG(LOG_ERR, "Cannot lock smb.conf.");
        return ERR_LOCK_FAILED;
    }
    for (int round = 0; round < kRounds; ++round) {
        if (const int code = open_mirror(share_mirror_kind, Extent::kWhole, &mirror_)) return code;
        files_.reset(new (std::nothrow) FileChanges);
        if (!files_) return ERR_OUT_OF_MEMORY;
        if (const int code = files_->load(AccountFile::kSmbConf)) return code;
        // A tool without our lock may have changed the file since the mirror was looked at.
        if (mirror_->source[0] == state_of(files_->read_state(AccountFile::kSmbConf)))
            return reader_.allocate();
    }
    return ERR_OPEN_FAILED;
}

int ConfChange::commit(bool *in_effect) noexcept {
    const int code = files_->commit(Record::kShare);
    *in_effect = code == 0;
    if (code == 0) return 0;
    struct stat st;
    *in_effect =
        is_interrupted(MORV_LOCK_SMB) || (stat(SysPath(kSmbConfPath).c_str(), &st) == 0 &&
                                          st.st_ino == files_->new_state(AccountFile::kSmbConf).st_ino &&
                                          files_->changes(AccountFile::kSmbConf));
    return code;
}

}  // namespace morv
