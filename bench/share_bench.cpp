// Reading shares, beside reading the configuration and splitting it into sections, keys and values.
#include <morvsdk/share.h>
#include <unistd.h>

#include "account_bench.h"

namespace bench {

namespace {

constexpr char kSomeShare[] = "share128";

std::string_view trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(" \t");
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

// A section and its keys, where they stand in the text.
struct Section {
    std::string_view name;
    std::vector<std::pair<std::string_view, std::string_view>> keys;
};

std::vector<Section> split(const std::string &text) {
    std::vector<Section> all;
    for_each_line(text, [&](std::string_view line) {
        line = trimmed(line);
        if (line.empty() || line[0] == '#' || line[0] == ';') return;
        const size_t equals = line.find('=');
        if (line[0] == '[') {
            all.push_back({line.substr(1, line.size() - 2), {}});
        } else if (equals != line.npos && !all.empty()) {
            all.back().keys.emplace_back(trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1)));
        }
    });
    return all;
}

std::string configuration() {
    return read_file(accounts().path("/usr/morv/etc/smb.conf"));
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
            const std::string text = configuration();
            std::vector<std::string> all;
            for (const Section &section : split(text)) {
                if (section.name != "global") all.emplace_back(section.name);
            }
            see(static_cast<long long>(all.size()));
        });

    compare("share_get", "/volume1/share128")
        .side("ours", in_accounts,
              [share = static_cast<MORVSHARE *>(nullptr)](int, auto see) mutable {
                  if (MORVShareGet(kSomeShare, &share) != 0) give_up("MORVShareGet");
                  see(static_cast<const char *>(share->szPath));
              })
        .side("floor", [](auto see) {
            const std::string text = configuration();
            std::string path;
            for (const Section &section : split(text)) {
                if (section.name != kSomeShare) continue;
                for (const auto &[key, value] : section.keys) {
                    if (key == "path") path = value;
                }
            }
            see(path);
        });
});

}  // namespace

}  // namespace bench
