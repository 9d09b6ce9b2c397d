// Owners of a list and of a hash.
#pragma once

#include <morvsdk/hash.h>
#include <morvsdk/list.h>

#include "core/base/guard.h"

namespace morv {

using ListPtr = std::unique_ptr<MLIBSZLIST, Releaser<::MLIBSzListFree>>;
using HashPtr = std::unique_ptr<MLIBSZHASH, Releaser<::MLIBSzHashFree>>;

}  // namespace morv
