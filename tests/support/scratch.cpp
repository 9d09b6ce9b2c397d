#include "support/scratch.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace testing_support {

namespace fs = std::filesystem;

namespace {

// Programs that link the library's objects and programs that link the library both use this file.
void set_root(const char *dir) {
    auto *set = reinterpret_cast<int (*)(const char *)>(dlsym(RTLD_DEFAULT, "MORVSysRootSet"));
    if (set) set(dir);
}

}  // namespace

ScratchRoot::ScratchRoot() {
    char name[] = "/tmp/morv-test.XXXXXX";
    if (!mkdtemp(name)) throw std::runtime_error("mkdtemp failed");
    dir_ = name;
    set_root(name);
}

ScratchRoot::~ScratchRoot() {
    set_root("");
    std::error_code ignored;
    fs::remove_all(dir_, ignored);
}

std::string ScratchRoot::path(std::string_view name) const {
    const fs::path full = fs::path(dir_) / name;
    fs::create_directories(full.parent_path());
    return full.string();
}

std::string ScratchRoot::write(std::string_view name, std::string_view content, mode_t mode) const {
    const std::string full = path(name);
    write_file(full, content, mode);
    return full;
}

std::string ScratchRoot::read(std::string_view name) const {
    return read_file(dir_ + "/" + std::string(name));
}

std::vector<std::string> ScratchRoot::names(std::string_view folder) const {
    std::vector<std::string> found;
    for (const auto &entry : fs::directory_iterator(fs::path(dir_) / folder)) {
        found.push_back(entry.path().filename().string());
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void write_file(const std::string &path, std::string_view content, mode_t mode) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (!out || chmod(path.c_str(), mode) != 0) throw std::runtime_error("cannot write " + path);
}

struct stat stat_of(const std::string &path) {
    struct stat st = {};
    stat(path.c_str(), &st);
    return st;
}

unsigned mode_of(const std::string &path) {
    return stat_of(path).st_mode & 07777;
}

int open_descriptors() {
    return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/fd"), {})) - 1;
}

}  // namespace testing_support
