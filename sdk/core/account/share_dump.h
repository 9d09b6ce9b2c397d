// The whole store of shares as the configuration.
#pragma once

#include "core/store/mirror.h"

namespace morv {

// Writes what the store of an open mirror holds to the configuration. Takes no lock. May throw
// std::bad_alloc.
int dump_shares(Mirror &mirror);

}  // namespace morv
