// Changes of shares: in the configuration, in the exports, on disk, and in the mirror.
#pragma once

#include <morvsdk/share.h>

#include <span>
#include <string>
#include <vector>

namespace morv {

// All take the lock, and answer 0 or an error code.
int set_share(const char *old_name, const MORVSHARE &share) noexcept;

// What became of one of many shares.
struct RestoredShare {
    int code = 0;  // why it was refused
    std::vector<std::string>
        unknown;  // what its lists name and nobody here is called, as "alice" or "@staff"
};

// Changes those that are there and adds the others, in one go. One that is refused is left out: by the codes
// of set_share; ERR_SHARE_EXISTS also for the second of two with one name, and ERR_FILE_EXISTS where there is
// a share by its name with another folder, which is not moved. Whether all the others are made is what is
// answered.
//
// results: gets one for each share, also when the answer is an error
int restore_shares(std::span<const MORVSHARE> shares, std::vector<RestoredShare> &results) noexcept;

// Removes a share, and its folder unless that is needed.
int delete_share(const char *name) noexcept;

// Removes a share that lies at a path or below, and leaves its folder: where a volume is gone, what has the
// path by now is not the share's. ERR_NO_SUCH_SHARE also for one that lies elsewhere.
int forget_share(const char *name, const char *top) noexcept;

}  // namespace morv
