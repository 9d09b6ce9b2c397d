// A sectioned file somebody else wrote, below three lines with a section's name, a key and its value: the
// other sections and the comments survive every change of that one.
#include <morvsdk/file.h>
#include <stddef.h>
#include <string.h>

#include <algorithm>
#include <vector>

#include "input.h"

namespace {

std::vector<std::string> sections_of(const ScratchFile &file) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(512);
    std::vector<std::string> names;
    // A line of 1024 bytes or more is too long for the listing.
    if (MLIBFileEnumSection(file.path(), &list) >= 0) {
        for (int i = 0; i < list->nItem; ++i)
            names.push_back(SzMLIBSzListGet(list, i));
    }
    MLIBSzListFree(list);
    return names;
}

std::vector<std::string> comments_of(std::string_view text) {
    std::vector<std::string> comments;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (!line.empty() && (line[0] == '#' || line[0] == ';')) comments.emplace_back(line);
        text.remove_prefix(std::min(text.size(), line.size() + 1));
    }
    return comments;
}

std::vector<std::string> without(std::vector<std::string> names, const std::string &name) {
    names.erase(std::remove(names.begin(), names.end(), name), names.end());
    return names;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const ScratchFile file;
    std::string_view text(reinterpret_cast<const char *>(data), size);
    const std::string name = take_line(text), key = take_line(text), value = take_line(text);
    file.write(text);
    const std::vector<std::string> before = sections_of(file);

    MLIBSZHASH *pairs = PshMLIBSzHashAlloc(512);
    expect(MLIBFileGetSection(file.path(), name.c_str(), &pairs) >= 0);
    PslSzHashRemoveAll(pairs);
    expect(MLIBSzHashSetValue(&pairs, key.c_str(), value.c_str()) >= 0);

    // Set: the section holds the pair and nothing else but its comments.
    const int set = ErrMLIBFileSetSection(file.path(), name.c_str(), nullptr, pairs, nullptr);
    const bool is_refused = key.empty() || key[0] == '[';
    expect(set == 0 || set == (is_refused ? -1 : 1));
    if (set != 1) expect(file.read() == text);
    const bool is_pair = is_plain(key) && is_plain(value);
    if (set == 1 && is_pair) {
        expect(sections_of(file) == before || before.empty());
        MLIBSZHASH *found = PshMLIBSzHashAlloc(512);
        expect(MLIBFileGetSection(file.path(), name.c_str(), &found) >= 1);
        const char *found_value = SzMLIBSzHashGetValue(found, key.c_str());
        expect(found_value != nullptr);
        MLIBSzHashFree(found);
    }

    // Remove: no section of that name is left, the others and all comments are.
    file.write(text);
    const int removed = ErrMLIBFileRemoveSection(file.path(), name.c_str());
    expect(removed == 0 || removed == 1);
    const std::string rest = file.read();
    if (removed == 0) expect(rest == text);
    const std::vector<std::string> after = sections_of(file);
    expect(after == without(before, name) || before.empty());
    expect(comments_of(rest) == comments_of(text));

    // Add, and set one key of it.
    if (is_plain(name) && is_pair) {
        const bool had_it = std::find(before.begin(), before.end(), name) != before.end();
        const int added = ErrMLIBFileAddSection(file.path(), name.c_str(), pairs, nullptr);
        expect(added == 1 || added == 0);
        if (had_it) expect(added == 1);
        expect(ErrSetSecKeyVal(file.path(), name.c_str(), "one_more", value.c_str(), nullptr) == 1);
        MLIBSZHASH *found = PshMLIBSzHashAlloc(512);
        expect(MLIBFileGetSection(file.path(), name.c_str(), &found) >= 1);
        expect(strcmp(SzMLIBSzHashGetValue(found, "one_more"), value.c_str()) == 0);
        MLIBSzHashFree(found);
    }
    MLIBSzHashFree(pairs);
    return 0;
}
