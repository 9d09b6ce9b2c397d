// Turns the library's error convention into C++ exceptions, in the one place where a program wants it.
//
//     ./example /tmp/example.log
#include <morvsdk/error.h>

#include <iostream>
#include <stdexcept>
#include <string>

namespace {

class SdkError : public std::runtime_error {
  public:
    explicit SdkError(const std::string &what) : std::runtime_error(what + ": " + name(MLIBErrGet())) {}

  private:
    static std::string name(int code) {
        const int index = code >> 8;
        const char *known = index >= 0 && index < errNum ? rgszErrMsg[index] : nullptr;
        return known ? known : "code " + std::to_string(code);
    }
};

void check(int result, const std::string &what) {
    if (result < 0) throw SdkError(what);
}

}  // namespace

int main(int argc, char **argv) try {
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " LOG\n";
        return 2;
    }
    MLIBErrLogInitial(argv[1]);
    check(MLIBErrLogSet(argv[1], "started"), argv[1]);
    std::cout << "started a new log in " << argv[1] << '\n';
    return 0;
} catch (const SdkError &e) {
    std::cerr << e.what() << '\n';
    return 1;
}
