#include "bench.h"

#include <gnu/libc-version.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>

namespace bench {

namespace {

std::vector<void (*)()> &areas() {
    static std::vector<void (*)()> all;
    return all;
}

std::vector<Place> made_places;

std::string file_system_of(const std::string &folder) {
    struct statfs fs;
    if (statfs(folder.c_str(), &fs) != 0) return "unknown";
    switch (static_cast<unsigned long>(fs.f_type)) {
        case 0xEF53:
            return "ext4";
        case 0x01021994:
            return "tmpfs";
        case 0x58465342:
            return "xfs";
        case 0x9123683E:
            return "btrfs";
        case 0x794C7630:
            return "overlay";
        default: {
            char text[32];
            snprintf(text, sizeof text, "type %lx", static_cast<unsigned long>(fs.f_type));
            return text;
        }
    }
}

void make_place(const char *name, const std::string &below, bool only_memory) {
    const std::string system = file_system_of(below);
    if (only_memory && system != "tmpfs") return;
    std::string folder = below + "/morv-bench-XXXXXX";
    if (!mkdtemp(folder.data())) give_up("cannot make " + folder);
    made_places.push_back({name, folder});
    benchmark::AddCustomContext(name, system);
}

void remove_places() {
    for (const Place &place : made_places)
        std::filesystem::remove_all(place.folder);
}

}  // namespace

std::string text_of(std::string_view text) {
    return std::string(text);
}

std::string text_of(long long number) {
    return std::to_string(number);
}

std::string text_of(const FileAt &file) {
    std::ostringstream content;
    content << std::ifstream(file.path).rdbuf();
    return content.str();
}

std::string text_of(MLIBSZLIST *list) {
    std::string all;
    for (int i = 0; list && i < list->nItem; ++i)
        all.append(SzMLIBSzListGet(list, i)).append("\n");
    return all;
}

namespace {

double median(std::vector<double> &values) {
    const auto middle = values.begin() + static_cast<long>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

void Comparison::enter(const std::string &who, const std::string &seen, Call call) {
    if (seen != expected_) {
        fprintf(stderr, "%s of %s does other work.\nexpected: %.300s\nit gave: %.300s\n", who.c_str(),
                work_.c_str(), expected_.c_str(), seen.c_str());
        give_up("nothing was measured");
    }
    if (who == "ours" || who == "floor") {
        together_.push_back({who, std::move(call)});
    } else {
        enter_benchmark({{who, std::move(call)}});
    }
}

Comparison::~Comparison() {
    if (!together_.empty()) enter_benchmark(together_);
}

void Comparison::enter_benchmark(const std::vector<Side> &sides) {
    constexpr int kTurns = 16;  // the least of which a median is taken
    const auto run = [sides](benchmark::State &state) {
        std::vector<std::vector<double>> times(sides.size());
        for (auto _ : state) {
            double sum = 0;
            for (size_t i = 0; i < kTurns * sides.size(); ++i) {
                const size_t turn = i % sides.size();
                times[turn].push_back(sides[turn].call());
                sum += times[turn].back();
            }
            state.SetIterationTime(sum);
        }
        for (size_t i = 0; i < sides.size(); ++i)
            state.counters[sides[i].who] = median(times[i]);
    };
    benchmark::RegisterBenchmark((work_ + "/" + sides[0].who).c_str(), run)->UseManualTime();
}

Area::Area(void (*add)()) {
    areas().push_back(add);
}

void took_part(const char *name, const std::string &version) {
    benchmark::AddCustomContext(std::string("peer ") + name, version);
}

const std::vector<Place> &places() {
    return made_places;
}

void give_up(const std::string &why) {
    fprintf(stderr, "bench: %s (the library's error: 0x%X)\n", why.c_str(),
            static_cast<unsigned>(MLIBErrGet()));
    exit(1);
}

void write_file(const std::string &path, std::string_view content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
    if (!file.flush()) give_up("cannot write " + path);
}

void use_root(const std::string &folder) {
    static std::string set;
    if (set == folder) return;
    if (MORVSysRootSet(folder.c_str()) != 0) give_up("cannot use " + folder);
    set = folder;
}

std::vector<std::string> names(size_t count, Script script) {
    static constexpr const char *kAscii[] = {"an",  "Ber", "to",  "mi", "Ka",  "ren", "lo", "Su",
                                             "vic", "dor", "Eli", "gu", "sta", "hen", "Ry", "jo"};
    static constexpr const char *kWide[] = {"Αλέ", "ξαν", "δρος", "Νί",  "κη", "Θεό", "φιλ", "μαρ",
                                            "Вла", "ди",  "мир",  "Оль", "га", "Щер", "ба",  "юра"};
    const auto &syllables = script == Script::kAscii ? kAscii : kWide;
    std::mt19937 random(20);
    std::set<std::string> known;
    std::vector<std::string> all;
    while (all.size() < count) {
        std::string name;
        for (unsigned long parts = 2 + random() % 3; parts > 0; --parts)
            name += syllables[random() % 16];
        if (random() % 2) name += std::to_string(random() % 1000);
        if (known.insert(name).second) all.push_back(name);
    }
    return all;
}

}  // namespace bench

int main(int argc, char **argv) {
    using namespace bench;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    atexit(remove_places);
    make_place("disk", std::filesystem::current_path(), false);
    make_place("memory", "/dev/shm", true);
    benchmark::AddCustomContext("compiler", std::string("g++ ") + __VERSION__);
    benchmark::AddCustomContext("libc", std::string("glibc ") + gnu_get_libc_version());
    for (void (*const add)() : areas())
        add();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
