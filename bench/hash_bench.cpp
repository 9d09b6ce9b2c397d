// The string hash beside the standard library's map.
#include <morvsdk/hash.h>

#include <algorithm>
#include <unordered_map>

#include "bench.h"

namespace bench {

namespace {

constexpr int kPairs = 1000;

const Area hash([] {
    const std::vector<std::string> keys = names(kPairs);
    static std::unordered_map<std::string, std::string> map;
    static MLIBSZHASH *ours = PshMLIBSzHashAlloc(512);
    for (const std::string &key : keys) {
        map[key] = key + " value";
        MLIBSzHashSetValue(&ours, key.c_str(), map[key].c_str());
    }
    std::vector<std::string> values;
    long long length = 0;
    for (const std::string &key : keys) {
        values.push_back(map[key]);
        length += static_cast<unsigned char>(map[key][0]);
    }

    compare("hash_fill", std::to_string(kPairs))
        .side("ours",
              [=](auto see) {
                  MLIBSZHASH *filled = PshMLIBSzHashAlloc(512);
                  for (size_t i = 0; i < keys.size(); ++i)
                      MLIBSzHashSetValue(&filled, keys[i].c_str(), values[i].c_str());
                  see(MLIBSzHashGetLength(filled));
                  MLIBSzHashFree(filled);
              })
        .side("floor", [=](auto see) {
            std::unordered_map<std::string, std::string> filled;
            for (size_t i = 0; i < keys.size(); ++i)
                filled[keys[i]] = values[i];
            see(static_cast<int>(filled.size()));
        });

    // Every key once, in another order than they were stored in.
    std::vector<std::string> wanted = keys;
    std::sort(wanted.begin(), wanted.end());
    compare("hash_find", std::to_string(length))
        .side("ours",
              [=](auto see) {
                  long long sum = 0;
                  for (const std::string &key : wanted)
                      sum += static_cast<unsigned char>(*SzMLIBSzHashGetValue(ours, key.c_str()));
                  see(sum);
              })
        .side("floor", [=](auto see) {
            long long sum = 0;
            for (const std::string &key : wanted)
                sum += static_cast<unsigned char>(map.find(key)->second[0]);
            see(sum);
        });
});

}  // namespace

}  // namespace bench
