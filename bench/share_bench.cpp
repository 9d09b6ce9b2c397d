// Reading shares, beside reading the configuration and splitting it into sections, keys and values.
#include <morvsdk/share.h>
#include <unistd.h>

#include <unordered_map>

#include "account_bench.h"

namespace bench {

namespace {

constexpr char kSomeShare[] = "share128";

using Section = std::unordered_map<std::string, std::string>;

std::string_view trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(" \t");
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

// Calls `see` with the name and the keys of each section.
template <class F>
void split(F see) {
    std::string name;
    Section section;
    for_each_line(read_file(accounts().path("/usr/morv/etc/smb.conf")), [&](std::string_view line) {
        line = trimmed(line);
        if (line.empty() || line[0] == '#' || line[0] == ';') return;
        if (line[0] == '[') {
            if (!name.empty()) see(name, section);
            name = line.substr(1, line.size() - 2);
            section.clear();
        } else if (const size_t equals = line.find('='); equals != line.npos) {
            section[std::string(trimmed(line.substr(0, equals)))] = trimmed(line.substr(equals + 1));
        }
    });
    if (!name.empty()) see(name, section);
}

const Area shares([] {
    const auto in_accounts = [] {
        accounts().use();
        return 0;
    };
    accounts().use();
    MLIBSZLIST *list = PslMLIBSzListAlloc(1024);
    if (MORVShareEnum(&list, 0) != static_cast<int>(kShares)) give_up("MORVShareEnum");
    MLIBSzListFree(list);
    usleep(50000);

    compare("share_enum", std::to_string(kShares))
        .side("ours", in_accounts,
              [](int, auto see) {
                  MLIBSZLIST *names = PslMLIBSzListAlloc(1024);
                  see(MORVShareEnum(&names, 0));
                  MLIBSzListFree(names);
              })
        .side("floor", [](auto see) {
            std::vector<std::string> all;
            split([&](const std::string &name, const Section &) {
                if (name != "global") all.push_back(name);
            });
            see(static_cast<long long>(all.size()));
        });

    compare("share_get", "/volume1/share128")
        .side("ours", in_accounts,
              [share = static_cast<MORVSHARE *>(nullptr)](int, auto see) mutable {
                  if (MORVShareGet(kSomeShare, &share) != 0) give_up("MORVShareGet");
                  see(static_cast<const char *>(share->szPath));
              })
        .side("floor", [](auto see) {
            std::string path;
            split([&](const std::string &name, const Section &section) {
                if (name == kSomeShare) path = section.at("path");
            });
            see(path);
        });
});

}  // namespace

}  // namespace bench
