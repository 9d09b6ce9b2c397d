// A key/value file somebody else wrote, below a first line with a key and a second one with its new value:
// what the rewriters make of it is compared with a plain model of lines.
#include <morvsdk/file.h>
#include <morvsdk/internal/file.h>
#include <stddef.h>

#include <map>
#include <vector>

#include "input.h"

namespace {

std::vector<std::string> lines_of(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const size_t feed = text.find('\n');
        const size_t length = feed == text.npos ? text.size() : feed + 1;
        lines.emplace_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return lines;
}

// Whether a line holds the key; `line` then is cut behind the key as it is spelled there.
bool holds_key(std::string &line, const std::string &key) {
    line.resize(line.find('\0') == line.npos ? line.size() : line.find('\0'));
    return MLIBILineKeyMatch(line.data(), key.c_str()) == 1;
}

std::string without_key(std::string_view text, const std::string &key, int &dropped) {
    std::string rest;
    dropped = 0;
    for (const std::string &line : lines_of(text)) {
        std::string copy = line;
        if (holds_key(copy, key)) {
            ++dropped;
        } else {
            rest += line;
        }
    }
    return rest;
}

std::string with_key(std::string_view text, const std::string &key, const std::string &value) {
    std::string result;
    bool found = false;
    for (const std::string &line : lines_of(text)) {
        std::string copy = line;
        if (!holds_key(copy, key)) {
            result += line;
        } else if (!found) {
            // A line without "=" is all key, but for what ends it.
            std::string spelled = copy.c_str();
            if (spelled.ends_with('\n')) spelled.pop_back();
            if (line.substr(0, line.find('\0')).find('=') == line.npos && spelled.ends_with('\r'))
                spelled.pop_back();
            result += spelled + "=" + value + "\n";
            found = true;
        }
    }
    return found ? result : result + key + "=" + value + "\n";
}

std::string trimmed(std::string_view text) {
    constexpr char kBlanks[] = " \t\r\n";
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == text.npos) return {};
    text = text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
    const bool quoted = text.size() > 1 && text.front() == '"' && text.back() == '"';
    return std::string(quoted ? text.substr(1, text.size() - 2) : text);
}

// The last line of a key decides.
std::map<std::string, std::string> pairs_of(std::string_view text) {
    std::map<std::string, std::string> pairs;
    for (const std::string &line : lines_of(text)) {
        const std::string shown = line.c_str();
        const size_t equals = shown.find('=');
        if (shown[0] == '#' || shown[0] == ';' || equals == shown.npos) continue;
        const std::string key = trimmed(shown.substr(0, equals));
        if (!key.empty()) pairs[key] = trimmed(shown.substr(equals + 1));
    }
    return pairs;
}

void read_all_ways(const char *path, std::string_view text, const std::string &key) {
    const int size = MLIBFileGetKeyValue(path, key.c_str(), nullptr, 0, 0);
    expect(size >= 0);
    std::string value(size_t(size), 'x');
    expect(MLIBFileGetKeyValue(path, key.c_str(), value.data(), size, 0) == size);
    expect(size == 0 || value.back() == '\0');
    expect(size < 2 || MLIBFileGetKeyValue(path, key.c_str(), value.data(), size - 1, 0) == -1);

    MLIBSZHASH *pairs = PshMLIBSzHashAlloc(512);
    MLIBSZLIST *wanted = PslMLIBSzListAlloc(512);
    expect(MLIBFileGetPair(path, &pairs) >= 0);
    const auto expected = pairs_of(text);
    expect(size_t(MLIBSzHashPairNum(pairs)) == expected.size());
    for (const auto &[name, text_of_value] : expected) {
        const char *stored = SzMLIBSzHashGetValue(pairs, name.c_str());
        expect(stored && stored == text_of_value);
    }
    PslSzHashRemoveAll(pairs);
    MLIBSzListPush(&wanted, key.c_str());
    expect(MLIBFileGetKeys(path, wanted, &pairs, "=") <= 1);
    MLIBFileGetKeys(path, nullptr, &pairs, "=: ");
    MLIBSzListFree(wanted);
    MLIBSzHashFree(pairs);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const ScratchFile file;
    std::string_view text(reinterpret_cast<const char *>(data), size);
    const std::string key = take_line(text), value = take_line(text);
    file.write(text);
    read_all_ways(file.path(), text, key);

    if (key.empty()) {
        expect(MLIBFileSetKeyValue(file.path(), "", value.c_str(), nullptr) == -1);
        expect(MLIBFileRemoveKey(file.path(), "") == -1);
        expect(file.read() == text);
        return 0;
    }
    expect(MLIBFileSetKeyValue(file.path(), key.c_str(), value.c_str(), nullptr) == 1);
    const std::string set = file.read();
    expect(set == with_key(text, key, value));
    const bool own_line = text.empty() || text.back() == '\n';
    if (is_plain(key) && is_plain(value) && own_line) {
        std::string found(value.size() + 1, '\0');
        expect(MLIBFileGetKeyValue(file.path(), key.c_str(), found.data(), int(found.size()), 0) ==
               int(found.size()));
        expect(value == found.c_str());
        expect(MLIBFileAppendKey(file.path(), key.c_str(), "again", nullptr) == 0);
    }

    int dropped = 0;
    const std::string removed = without_key(set, key, dropped);
    expect(MLIBFileRemoveKey(file.path(), key.c_str()) == dropped);
    expect(file.read() == removed);

    // Many at once: what is asked for is used up, and every other line stays.
    file.write(text);
    MLIBSZHASH *pairs = PshMLIBSzHashAlloc(512);
    MLIBSZHASH *unwanted = PshMLIBSzHashAlloc(512);
    MLIBSzHashSetValue(&pairs, is_plain(key) ? key.c_str() : "plain", value.c_str());
    MLIBSzHashSetValue(&unwanted, value.c_str(), "");
    expect(MLIBFileSetKeys(file.path(), pairs, unwanted, nullptr) >= 0);
    expect(MLIBSzHashPairNum(pairs) == 0);
    MLIBSzHashFree(unwanted);
    MLIBSzHashFree(pairs);
    return 0;
}
