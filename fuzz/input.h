// What the targets share: a file in memory, and arguments cut off the input.
#pragma once

#include <fcntl.h>
#include <morvsdk/file.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <initializer_list>
#include <string>
#include <string_view>

// A file in memory that holds a target's input. It is removed when the program ends.
class ScratchFile {
  public:
    ScratchFile() : path_("/dev/shm/morv-fuzz." + std::to_string(getpid())) {}
    ~ScratchFile() { unlink(path_.c_str()); }
    ScratchFile(const ScratchFile &) = delete;
    ScratchFile &operator=(const ScratchFile &) = delete;

    const char *path() const { return path_.c_str(); }

    void write(std::string_view content) const {
        const int file = open(path(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (file < 0 || ::write(file, content.data(), content.size()) != ssize_t(content.size())) abort();
        close(file);
    }

    std::string read() const {
        std::string content;
        const int file = open(path(), O_RDONLY | O_CLOEXEC);
        if (file < 0) abort();
        char piece[65536];
        for (ssize_t n; (n = ::read(file, piece, sizeof piece)) > 0;)
            content.append(piece, size_t(n));
        close(file);
        return content;
    }

  private:
    std::string path_;
};

// A system root in memory, removed when the program ends.
class MemoryRoot {
  public:
    // folders: those that it has, the upper ones first
    explicit MemoryRoot(std::initializer_list<const char *> folders)
        : dir_("/dev/shm/morv-fuzz-root." + std::to_string(getpid())) {
        mkdir(dir_.c_str(), 0755);
        for (const char *folder : folders)
            mkdir((dir_ + folder).c_str(), 0755);
        MORVSysRootSet(dir_.c_str());
    }
    ~MemoryRoot() {
        const std::string command = "rm -rf " + dir_;
        if (system(command.c_str()) != 0) abort();
    }
    MemoryRoot(const MemoryRoot &) = delete;
    MemoryRoot &operator=(const MemoryRoot &) = delete;

    const std::string &dir() const { return dir_; }

    void write(const char *name, std::string_view content) const {
        FILE *const file = fopen((dir_ + name).c_str(), "w");
        if (!file || fwrite(content.data(), 1, content.size(), file) != content.size() || fclose(file) != 0)
            abort();
    }

    std::string read(const char *name) const {
        std::string content;
        FILE *const file = fopen((dir_ + name).c_str(), "r");
        if (!file) abort();
        char piece[65536];
        for (size_t n; (n = fread(piece, 1, sizeof piece, file)) > 0;)
            content.append(piece, n);
        fclose(file);
        return content;
    }

  private:
    std::string dir_;
};

// Cuts the first line off the input, without its line feed: an argument that a caller would pass as a C
// string, so it ends at a NUL byte.
inline std::string take_line(std::string_view &input) {
    const size_t end = input.find('\n');
    const std::string line(input.substr(0, end));
    input.remove_prefix(end == input.npos ? input.size() : end + 1);
    return line.c_str();
}

// A word to which no syntax gives another meaning.
inline bool is_plain(std::string_view text) {
    return !text.empty() && text.find_first_not_of(
                                "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                "0123456789_") == text.npos;
}

inline void expect(bool holds, int line = __builtin_LINE()) {
    if (holds) return;
    fprintf(stderr, "the expectation in line %d does not hold\n", line);
    abort();
}
