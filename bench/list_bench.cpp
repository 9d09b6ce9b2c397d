// The string list beside the standard library's containers and algorithms, and its sort beside ICU's
// comparison.
#include "list_bench.h"

#include <string.h>
#include <unicode/ustring.h>
#include <unicode/uversion.h>

#include <algorithm>
#include <iterator>
#include <set>

namespace bench {

MLIBSZLIST *list_of(const std::vector<std::string> &texts) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(512);
    for (const std::string &text : texts) {
        if (MLIBSzListPush(&list, text.c_str()) < 0) give_up("list");
    }
    return list;
}

NameSets name_sets() {
    const std::vector<std::string> all = names(kNames * 4 / 3);
    NameSets sets;
    sets.a.assign(all.begin(), all.begin() + kNames);
    sets.b.assign(all.end() - kNames, all.end());
    std::reverse(sets.b.begin(), sets.b.end());
    const std::set<std::string> in_a(sets.a.begin(), sets.a.end());
    const std::set<std::string> in_b(sets.b.begin(), sets.b.end());
    sets.either = sets.a;
    for (const std::string &name : sets.a)
        (in_b.count(name) ? sets.both : sets.only_a).push_back(name);
    for (const std::string &name : sets.b) {
        if (!in_a.count(name)) sets.either.push_back(name);
    }
    return sets;
}

namespace {

using Texts = std::vector<std::string>;

Texts sorted(Texts texts) {
    std::sort(texts.begin(), texts.end());
    return texts;
}

void add_sorted_list() {
    const Texts all = names(kNames);
    const Texts in_order = sorted(all);
    compare("list_insert", text_of(in_order))
        .side("ours",
              [=](auto see) {
                  MLIBSZLIST *list = PslMLIBSzListAlloc(512);
                  MLIBSzListSortItems(list, SZLIST_MODE_SORT);
                  for (const std::string &name : all)
                      MLIBSzListPush(&list, name.c_str());
                  see(list);
                  MLIBSzListFree(list);
              })
        .side("floor", [=](auto see) {
            std::set<std::string> set;
            for (const std::string &name : all)
                set.insert(name);
            see(set);
        });

    // Each name once; what is found is checked by the sum of the places.
    MLIBSZLIST *const list = list_of(in_order);
    MLIBSzListSortItems(list, SZLIST_MODE_SORT);
    std::vector<char *> pointers(list->pszItem, list->pszItem + list->nItem);
    compare("list_find", std::to_string(static_cast<long long>(kNames) * (kNames - 1) / 2))
        .side("ours",
              [=](auto see) {
                  long long sum = 0;
                  for (const std::string &name : all)
                      sum += MLIBSzListFind(list, name.c_str());
                  see(sum);
              })
        .side("floor", [=](auto see) {
            long long sum = 0;
            const auto order = [](const void *a, const void *b) {
                return strcmp(*static_cast<const char *const *>(a), *static_cast<const char *const *>(b));
            };
            for (const std::string &name : all) {
                const char *const text = name.c_str();
                const void *const at =
                    bsearch(&text, pointers.data(), pointers.size(), sizeof(char *), order);
                sum += static_cast<char *const *>(at) - pointers.data();
            }
            see(sum);
        });
}

void add_sorted_sets() {
    const NameSets sets = name_sets();
    const Texts a = sorted(sets.a);
    const Texts b = sorted(sets.b);
    MLIBSZLIST *list_a = list_of(a);
    MLIBSZLIST *const list_b = list_of(b);
    MLIBSzListSortItems(list_a, SZLIST_MODE_SORT);
    MLIBSzListSortItems(list_b, SZLIST_MODE_SORT);
    compare("list_and_sorted", text_of(sorted(sets.both)))
        .side("ours",
              [=](auto see) {
                  MLIBSZLIST *const result = PslMLIBSzListAnd(list_a, list_b, SZLIST_OP_NEW);
                  see(result);
                  MLIBSzListFree(result);
              })
        .side("floor", [=](auto see) {
            Texts result;
            result.reserve(std::min(a.size(), b.size()));
            std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
            see(result);
        });
    compare("list_or_sorted", text_of(sorted(sets.either)))
        .side("ours",
              [=](auto see) mutable {
                  MLIBSZLIST *const result = PslMLIBSzListOr(&list_a, list_b, SZLIST_OP_NEW);
                  see(result);
                  MLIBSzListFree(result);
              })
        .side("floor", [=](auto see) {
            Texts result;
            result.reserve(a.size() + b.size());
            std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
            see(result);
        });
}

void add_unsorted_sets() {
    const NameSets sets = name_sets();
    MLIBSZLIST *a = list_of(sets.a);
    MLIBSZLIST *const b = list_of(sets.b);
    const auto side = [](auto operation) {
        return [=](auto see) mutable {
            MLIBSZLIST *const result = operation();
            see(result);
            MLIBSzListFree(result);
        };
    };
    compare("list_and", text_of(sets.both)).side("ours", side([=] {
                                                     return PslMLIBSzListAnd(a, b, SZLIST_OP_NEW);
                                                 }));
    compare("list_or", text_of(sets.either)).side("ours", side([=]() mutable {
                                                      return PslMLIBSzListOr(&a, b, SZLIST_OP_NEW);
                                                  }));
    compare("list_sub", text_of(sets.only_a)).side("ours", side([=] {
                                                       return PslMLIBSzListSub(a, b, SZLIST_OP_NEW);
                                                   }));
}

// The faster of ICU's ways to upper-case both and compare: by way of UTF-16.
bool icu_less(const char *a, const char *b) {
    constexpr int kRoom = 256;
    UChar wide_a[kRoom], wide_b[kRoom], upper_a[kRoom], upper_b[kRoom];
    int32_t length_a, length_b;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8(wide_a, kRoom, &length_a, a, -1, &error);
    u_strFromUTF8(wide_b, kRoom, &length_b, b, -1, &error);
    u_strToUpper(upper_a, kRoom, wide_a, length_a, "", &error);
    u_strToUpper(upper_b, kRoom, wide_b, length_b, "", &error);
    return u_strcmpCodePointOrder(upper_a, upper_b) < 0;
}

void add_case_sort(const char *work, Script script) {
    const Texts all = names(kNames, script);
    // Names that differ in case only have no order.
    Texts distinct = all;
    const auto less = [](const std::string &a, const std::string &b) {
        return icu_less(a.c_str(), b.c_str());
    };
    std::sort(distinct.begin(), distinct.end(), less);
    distinct.erase(std::unique(distinct.begin(), distinct.end(),
                               [&](const std::string &a, const std::string &b) { return !less(a, b); }),
                   distinct.end());
    const std::set<std::string> kept(distinct.begin(), distinct.end());
    Texts names;
    for (const std::string &name : all) {
        if (kept.count(name)) names.push_back(name);
    }
    compare(work, text_of(distinct))
        .side(
            "ours", [=] { return list_of(names); },
            [](MLIBSZLIST *list, auto see) {
                MLIBSzListSortItems(list, SZLIST_MODE_CASESORT);
                see(list);
                MLIBSzListFree(list);
            })
        .side(
            "icu",
            [=] {
                std::vector<const char *> texts;
                for (const std::string &name : names)
                    texts.push_back(name.c_str());
                return texts;
            },
            [](std::vector<const char *> texts, auto see) {
                std::sort(texts.begin(), texts.end(),
                          [](const char *a, const char *b) { return icu_less(a, b); });
                see(texts);
            });
}

const Area list([] {
    took_part("ICU", U_ICU_VERSION);
    add_sorted_list();
    add_sorted_sets();
    add_unsorted_sets();
    add_case_sort("case_sort_ascii", Script::kAscii);
    add_case_sort("case_sort_wide", Script::kGreekAndCyrillic);
});

}  // namespace

}  // namespace bench
