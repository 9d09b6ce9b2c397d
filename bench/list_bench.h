// Two sets of names that share two thirds, for the set operations on lists.
#pragma once

#include "bench.h"

namespace bench {

struct NameSets {
    std::vector<std::string> a, b;  // 10,000 each, unsorted
    // What the operations give for the unsorted ones: in the order of a, then of b.
    std::vector<std::string> both, either, only_a;
};

NameSets name_sets();

inline constexpr int kNames = 10000;

MLIBSZLIST *list_of(const std::vector<std::string> &texts);

}  // namespace bench
