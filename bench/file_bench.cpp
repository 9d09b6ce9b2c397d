// Configuration files: one key read, one or many written, a section read.
#include "file_bench.h"

#include <fcntl.h>
#include <morvsdk/file.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/uio.h>
#include <unistd.h>

#include <map>

namespace bench {

namespace {

constexpr const char *kFormat = "%s=\"%s\"\n";
constexpr size_t kBuffer = 128 * 1024;
char buffer[kBuffer];

std::string conf_key(int i) {
    char text[32];
    snprintf(text, sizeof text, "service_%04d", i);
    return text;
}

std::string conf_line(const std::string &key, std::string_view value) {
    return key + "=\"" + std::string(value) + "\"\n";
}

}  // namespace

ConfFile::ConfFile(int count) : keys(count) {
    content = std::string("[") + kConfSection + "]\n";
    for (int i = 0; i < count; ++i)
        content += conf_line(conf_key(i), "value " + std::to_string(i));
    key = conf_key(count / 2);
    value = "value " + std::to_string(count / 2);
}

std::string ConfFile::put(const Place &place, const char *side) const {
    const std::string path = place.folder + "/" + side + std::to_string(keys) + ".conf";
    write_file(path, content);
    return path;
}

std::string ConfFile::changed(std::string_view new_value) const {
    const std::string old = conf_line(key, value);
    std::string text = content;
    return text.replace(text.find(old), old.size(), conf_line(key, new_value));
}

std::string ConfFile::name(const char *work, const Place &place) const {
    return std::string(work) + "_" + std::to_string(keys) + "_" + place.name;
}

std::string_view read_bare(const std::string &path, char *to, size_t size) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t got = fd < 0 ? -1 : read(fd, to, size);
    if (got < 0 || size_t(got) == size) give_up("cannot read " + path);
    close(fd);
    return {to, size_t(got)};
}

void replace_bare(const std::string &path, std::initializer_list<std::string_view> parts, bool sync_folder) {
    char temporary[4096];
    snprintf(temporary, sizeof temporary, "%s.XXXXXX", path.c_str());
    const int fd = mkostemp(temporary, O_CLOEXEC);
    iovec pieces[256];
    int count = 0;
    size_t size = 0;
    for (const std::string_view part : parts) {
        pieces[count++] = {const_cast<char *>(part.data()), part.size()};
        size += part.size();
    }
    if (fd < 0 || writev(fd, pieces, count) != ssize_t(size) || fsync(fd) != 0 || close(fd) != 0 ||
        rename(temporary, path.c_str()) != 0) {
        give_up("cannot replace " + path);
    }
    if (!sync_folder) return;
    const int folder = open(path.substr(0, path.rfind('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0 || fsync(folder) != 0 || close(folder) != 0) give_up("cannot sync the folder");
}

namespace {

struct Found {
    std::string_view value;
    size_t end;  // where the next line starts
};

// Looks for the key alone, and then at what stands around it: memmem is slow for a text whose last bytes are
// in each line, as `="` is.
Found search_bare(std::string_view text, std::string_view key) {
    for (size_t from = 0;;) {
        const void *const hit = memmem(text.data() + from, text.size() - from, key.data(), key.size());
        if (!hit) give_up("no such key");
        const size_t line = size_t(static_cast<const char *>(hit) - text.data());
        const size_t equals = line + key.size();
        from = equals;
        if ((line > 0 && text[line - 1] != '\n') || text[equals] != '=') continue;
        const size_t value = equals + 2;
        const size_t end = text.find('\n', value);
        return {text.substr(value, end - 1 - value), end + 1};
    }
}

void add_read(const ConfFile &conf, const Place &place) {
    const std::string path = conf.put(place, "read");
    compare(conf.name("read_key", place), conf.value)
        .side("ours",
              [=, key = conf.key](auto see) {
                  char value[256];
                  if (MLIBFileGetKeyValue(path.c_str(), key.c_str(), value, sizeof value, 0) < 1)
                      give_up("read");
                  see(static_cast<const char *>(value));
              })
        .side("floor", [=, key = conf.key](auto see) {
            char value[256];
            const Found found = search_bare(read_bare(path, buffer, sizeof buffer), key);
            memcpy(value, found.value.data(), found.value.size());
            value[found.value.size()] = '\0';
            see(static_cast<const char *>(value));
        });
}

void add_set(const ConfFile &conf, const Place &place, int durability, const char *work) {
    const std::string ours = conf.put(place, work);
    const std::string bare = conf.put(place, (std::string(work) + "-bare").c_str());
    const auto next = [value = NewValue()]() mutable { return value.next(); };
    compare(conf.name(work, place), conf.changed(NewValue::kFirst))
        .side("ours", next,
              [=, key = conf.key](const char *value, auto see) {
                  MORVFileDurabilitySet(durability);
                  if (MLIBFileSetKeyValue(ours.c_str(), key.c_str(), value, kFormat) != 1) give_up("set");
                  see(FileAt{ours});
              })
        .side("floor", next, [=, key = conf.key](const char *value, auto see) {
            const std::string_view text = read_bare(bare, buffer, sizeof buffer);
            const Found found = search_bare(text, key);
            replace_bare(bare,
                         {text.substr(0, size_t(found.value.data() - text.data())), value, "\"\n",
                          text.substr(found.end)},
                         durability == MORV_DURABLE);
            see(FileAt{bare});
        });
}

// Every 20th key of 1,000.
void add_set_many(const Place &place) {
    constexpr int kChanged = 50;
    const ConfFile conf(1000);
    std::vector<std::string> keys;
    std::string expected = conf.content;
    for (int i = 0; i < kChanged; ++i) {
        keys.push_back(conf_key(i * 20));
        const std::string old = conf_line(keys.back(), "value " + std::to_string(i * 20));
        expected.replace(expected.find(old), old.size(), conf_line(keys.back(), NewValue::kFirst));
    }
    const std::string ours = conf.put(place, "many");
    const std::string bare = conf.put(place, "many-bare");
    const auto pairs = [=, value = NewValue()]() mutable {
        MLIBSZHASH *hash = PshMLIBSzHashAlloc(2048);
        const char *const text = value.next();
        for (const std::string &key : keys)
            MLIBSzHashSetValue(&hash, key.c_str(), text);
        return hash;
    };
    compare(std::string("set_50_keys_") + place.name, expected)
        .side("ours", pairs,
              [=](MLIBSZHASH *hash, auto see) {
                  MORVFileDurabilitySet(MORV_ATOMIC);
                  if (MLIBFileSetKeys(ours.c_str(), hash, nullptr, kFormat) != kChanged) give_up("set many");
                  MLIBSzHashFree(hash);
                  see(FileAt{ours});
              })
        .side(
            "floor", [value = NewValue()]() mutable { return value.next(); },
            [=](const char *value, auto see) {
                const std::string_view text = read_bare(bare, buffer, sizeof buffer);
                static char changed[kBuffer];
                char *at = changed;
                size_t done = 0;
                for (const std::string &key : keys) {
                    const Found found = search_bare(text.substr(done), key);
                    const size_t keep = size_t(found.value.data() - text.data()) - done;
                    at = stpcpy(static_cast<char *>(mempcpy(at, text.data() + done, keep)), value);
                    done += keep + found.value.size();
                }
                at = static_cast<char *>(mempcpy(at, text.data() + done, text.size() - done));
                replace_bare(bare, {{changed, size_t(at - changed)}});
                see(FileAt{bare});
            });
}

// The last but ten of 100 sections of 20 keys.
void add_section(const Place &place) {
    std::string content;
    std::string body;
    std::map<std::string, std::string> pairs;
    for (int section = 0; section < 100; ++section) {
        content += "[share " + std::to_string(section) + "]\n";
        for (int i = 0; i < 20; ++i) {
            const std::string key = "option " + std::to_string(i);
            const std::string value = std::to_string(section) + " and " + std::to_string(i);
            content.append(key).append("=").append(value).append("\n");
            if (section != 90) continue;
            body.append(key).append("=").append(value).append("\n");
            pairs[key] = value;
        }
    }
    const std::string path = place.folder + "/sections.conf";
    write_file(path, content);
    // The pairs differ in how they are handed over, not in what was found: ours are compared as a sum of
    // lengths.
    long long length = 0;
    for (const auto &[key, value] : pairs)
        length += static_cast<long long>(key.size() + value.size() + 2);
    compare(std::string("read_section_") + place.name, std::to_string(length))
        .side("ours",
              [=](auto see) {
                  MLIBSZHASH *hash = PshMLIBSzHashAlloc(1024);
                  if (MLIBFileGetSection(path.c_str(), "share 90", &hash) != 20) give_up("section");
                  long long sum = 0;
                  for (int i = 0; i < hash->nBucket; ++i) {
                      const MLIBSZHASHBUCKET &pair = hash->bucket[i];
                      if (pair.pszKey)
                          sum += static_cast<long long>(strlen(pair.pszKey) + strlen(pair.pszValue) + 2);
                  }
                  see(sum);
                  MLIBSzHashFree(hash);
              })
        .side("floor", [=](auto see) {
            const std::string_view text = read_bare(path, buffer, sizeof buffer);
            static constexpr std::string_view kOpening = "\n[share 90]\n";
            const auto *const hit =
                static_cast<const char *>(memmem(text.data(), text.size(), kOpening.data(), kOpening.size()));
            if (!hit) give_up("no such section");
            const char *const start = hit + kOpening.size();
            const auto *const end =
                static_cast<const char *>(memmem(start, size_t(text.data() + text.size() - start), "\n[", 2));
            see(static_cast<long long>(end + 1 - start));
        });
}

void add_files() {
    for (const Place &place : places()) {
        for (const int keys : kConfSizes) {
            const ConfFile conf(keys);
            add_read(conf, place);
            add_set(conf, place, MORV_ATOMIC, "set_key");
            if (!place.in_memory()) add_set(conf, place, MORV_DURABLE, "set_key_folder");
        }
        add_set_many(place);
        add_section(place);
    }
}

const Area files(add_files);

}  // namespace

}  // namespace bench
