// The set operations on unsorted lists, done with a hash set of views into one side. As ours, the result owns
// its texts.
#include <absl/container/flat_hash_set.h>

#include "list_bench.h"

namespace bench {

namespace {

using Texts = std::vector<std::string>;
using Set = absl::flat_hash_set<std::string_view>;

// The texts of `from` that are in the set, or that are not, behind those of `result`.
void choose(const Texts &from, const Set &set, bool in_set, Texts &result) {
    for (const std::string &text : from) {
        if (set.contains(text) == in_set) result.push_back(text);
    }
}

void add_abseil() {
    took_part("Abseil", VERSION_OF_list_abseil);
    const NameSets sets = name_sets();
    compare("list_and", text_of(sets.both)).side("abseil", [=](auto see) {
        Texts result;
        choose(sets.a, Set(sets.b.begin(), sets.b.end()), true, result);
        see(result);
    });
    compare("list_or", text_of(sets.either)).side("abseil", [=](auto see) {
        Texts result = sets.a;
        choose(sets.b, Set(sets.a.begin(), sets.a.end()), false, result);
        see(result);
    });
    compare("list_sub", text_of(sets.only_a)).side("abseil", [=](auto see) {
        Texts result;
        choose(sets.a, Set(sets.b.begin(), sets.b.end()), false, result);
        see(result);
    });
}

const Area abseil(add_abseil);

}  // namespace

}  // namespace bench
