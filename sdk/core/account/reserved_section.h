// The pairs of a reserved section of the configuration.
#pragma once

#include <morvsdk/internal/share.h>
#include <morvsdk/list.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "core/account/share_list.h"

namespace morv {

// A key in lower case.
std::string lower_key(std::string_view key);

// The lines of a section behind its name. ERR_KEY_NOT_FOUND. May throw std::bad_alloc.
int read_lines(Mirror &mirror, const char *section, std::vector<std::string> &lines);

// Calls `see` with key (in lower case) and value of each pair of the live section, in order, until it answers an error
// code.
template <class F>
int for_each_pair(const char *section, F &&see) noexcept {
    return no_throw([&] {
        std::vector<std::string> lines;
        if (const int code = read_shares([&](Mirror &m) { return read_lines(m, section, lines); }))
            return code;
        std::string_view key;
        std::string_view value;
        for (const std::string &line : lines) {
            if (read_conf_line(line, &key, &value) != ConfLine::kPair) continue;
            if (const int code = see(lower_key(key).c_str(), std::string(value).c_str())) return code;
        }
        return 0;
    });
}

}  // namespace morv
