// What the sides of the comparisons on files share.
#pragma once

#include "bench.h"

namespace bench {

// A file of `keys` lines `service_0042="value 42"`. One in its middle is read and changed. A section's line
// opens it, as some peers want one; to the others it is a line without a key.
struct ConfFile {
    explicit ConfFile(int keys);

    // Writes it below the place for one side; answers the path.
    std::string put(const Place &place, const char *side) const;

    std::string key;
    std::string value;  // of the key
    std::string content;
    std::string changed(std::string_view value) const;  // the content with another value for the key
    std::string name(const char *work, const Place &place) const;  // "set_key_1000_disk"

    int keys;
};

inline constexpr int kConfSizes[] = {60, 1000};
inline constexpr const char *kConfSection = "main";

// Values to write: each other than the last, so that nobody can leave the write out.
class NewValue {
  public:
    const char *next() { return (++count_ & 1) ? "new value" : "old value"; }
    static constexpr const char *kFirst = "new value";

  private:
    unsigned count_ = 0;
};

// The bare way to change a file so that a crash leaves the old or the new one: a temporary file beside it,
// sync, rename. `parts` are written in one call.
void replace_bare(const std::string &path, std::initializer_list<std::string_view> parts,
                  bool sync_folder = false);

// The bare way to read one: open, read, close. Answers the bytes read.
std::string_view read_bare(const std::string &path, char *buffer, size_t size);

}  // namespace bench
