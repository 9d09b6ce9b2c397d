// Lists the settings of a file of "key=value" lines, or counts one of them up.
//
//     settings FILE
//     settings FILE KEY       prints the new number; a key that is missing counts as 0
//
// How the C functions are used from C++: a guard for each thing that is taken, and exceptions in place of
// results.
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/hash.h>

#include <charconv>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>

namespace {

std::string code_name(int code) {
    const int index = code >> 8;
    const char *known = index >= 0 && index < errNum ? rgszErrMsg[index] : nullptr;
    return known ? known : "code " + std::to_string(code);
}

class SdkError : public std::runtime_error {
  public:
    explicit SdkError(const std::string &what) : std::runtime_error(what + ": " + code_name(MLIBErrGet())) {}
};

int check(int result, const std::string &what) {
    if (result < 0) throw SdkError(what);
    return result;
}

// Held to the end of the scope. Who reads a value, changes it and writes it back takes the lock around all of
// that; one setting that is written without having been read first needs it just as much, as the file is
// written anew.
class Lock {
  public:
    explicit Lock(uint32_t bits) : bits_(bits) { check(ErrMLIBFileLock(bits_ | MORV_LOCK_WRITE, 5), "lock"); }
    ~Lock() { ErrMLIBFileUnlock(bits_); }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

  private:
    uint32_t bits_;
};

// Functions that may make a hash larger move it, and are given the address of the handle.
class Hash {
  public:
    Hash() : hash_(PshMLIBSzHashAlloc(1024)) {
        if (!hash_) throw SdkError("hash");
    }
    ~Hash() { MLIBSzHashFree(hash_); }
    Hash(const Hash &) = delete;
    Hash &operator=(const Hash &) = delete;

    MLIBSZHASH **address() { return &hash_; }
    std::map<std::string, std::string> pairs() const {
        std::map<std::string, std::string> found;
        for (int i = 0; i < hash_->nBucket; ++i) {
            const auto &[key, value] = hash_->bucket[i];
            if (key) found.emplace(key, value);
        }
        return found;
    }

  private:
    MLIBSZHASH *hash_;
};

void list(const std::string &file) {
    Hash hash;
    check(MLIBFileGetPair(file.c_str(), hash.address()), file);
    for (const auto &[key, value] : hash.pairs())
        std::cout << key << " = " << value << '\n';
}

int count_up(const std::string &file, const std::string &key) {
    const Lock lock(MORV_LOCK_MORVINFO);
    char text[16] = "0";
    const int length = check(MLIBFileGetKeyValue(file.c_str(), key.c_str(), text, sizeof text, 0), file);
    const char *end = length > 0 ? text + length - 1 : text + 1;
    int number = 0;
    const auto [rest, wrong] = std::from_chars(text, end, number);
    if (wrong != std::errc() || rest != end)
        throw std::runtime_error(file + ": " + key + " is no number: " + text);
    check(MLIBFileSetKeyValue(file.c_str(), key.c_str(), std::to_string(++number).c_str(), "%s=\"%s\"\n"),
          file);
    return number;
}

}  // namespace

int main(int argc, char **argv) try {
    if (argc != 2 && argc != 3) {
        std::cerr << "usage: settings FILE [KEY]\n";
        return 2;
    }
    if (argc == 2) {
        list(argv[1]);
    } else {
        std::cout << count_up(argv[1], argv[2]) << '\n';
    }
    return 0;
} catch (const std::exception &error) {
    std::cerr << "settings: " << error.what() << '\n';
    return 1;
}
