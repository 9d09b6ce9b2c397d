// The material of the log's comparisons.
#pragma once

#include <string>

#include "bench.h"

namespace bench {

// The argument that makes a record of 100 bytes; 15 are program and user, 24 fixed.
inline const std::string &log_argument() {
    static const std::string text(61, 'x');
    return text;
}

}  // namespace bench
