// Lists of blocked addresses for the peers.
#pragma once

#include "bench.h"

namespace bench {

// The records of so many addresses, from 10.0.0.1 on.
std::string deny_records(int count);

}  // namespace bench
