// The records of the comparisons on stores: 1,000 of about 100 bytes, keyed by name.
#pragma once

#include <utility>

#include "bench.h"

namespace bench {

struct Records {
    Records();
    std::vector<std::pair<std::string, std::string>> all;
    std::string key;  // one of them, to be got
    std::string value;
};

// What is got through an open handle is got this often in one call, for the clock's sake.
inline constexpr int kGets = 100;

}  // namespace bench
