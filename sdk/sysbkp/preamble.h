// What a backup file begins with.
#pragma once

#include <stdint.h>

namespace morv {

inline constexpr char kBackupMagic[4] = {'M', 'O', 'R', 'V'};
inline constexpr int32_t kBackupCategory = 1;
inline constexpr int kBlockHeader = 12;  // id, version and size of a block, in bytes

}  // namespace morv
