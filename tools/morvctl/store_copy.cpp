#include "morvctl/store_copy.h"

#include <fcntl.h>

namespace morvctl {

StoreCopy::StoreCopy(const Target &target) {
    const std::string copy = scratch_.write("store", read_content(target));
    // Whether keys may stand twice is not written outside.
    for (int duplicates = 0; duplicates < 2 && !db_; ++duplicates) {
        clear_errors();
        db_ = MORVBDbOpen(copy.c_str(), O_RDONLY, duplicates);
    }
    if (!db_) fail_library("read " + target.name);
}

StoreCopy::~StoreCopy() {
    MORVBDbClose(db_);
}

}  // namespace morvctl
