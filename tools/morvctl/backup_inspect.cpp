// morvctl backup inspect: what is in a file. Files may be large, and pipes are slow enough as they are: text is put
// together by hand in one buffer.
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <charconv>
#include <memory>

#include "morvctl/backup.h"

namespace morvctl {

namespace {

// Standard output, written in large pieces. What is put into it at once is no longer than kRoom.
class Pieces {
  public:
    // A pipe that takes several pieces lets its reader work at the same time. One that cannot grow does as well.
    Pieces() { fcntl(STDOUT_FILENO, F_SETPIPE_SZ, int(4 * kSize)); }

    void put(std::string_view text) {
        while (text.size() > kSize - used_) {
            const size_t part = kSize - used_;
            memcpy(buffer_.get() + used_, text.data(), part);
            used_ += part;
            text.remove_prefix(part);
            flush();
        }
        memcpy(buffer_.get() + used_, text.data(), text.size());
        used_ += text.size();
    }
    void put(char c) {
        if (used_ == kSize) flush();
        buffer_[used_++] = c;
    }
    void put_number(int64_t value) {
        char digits[24];
        put({digits, size_t(std::to_chars(digits, digits + sizeof digits, value).ptr - digits)});
    }

    // Room for so many bytes, at most kRoom, to be filled and then taken.
    static constexpr size_t kRoom = 4096;
    char *room() {
        if (kSize - used_ < kRoom) flush();
        return buffer_.get() + used_;
    }
    void take(size_t length) { used_ += length; }

    void flush() {
        for (size_t at = 0; at < used_;) {
            const ssize_t done = write(STDOUT_FILENO, buffer_.get() + at, used_ - at);
            if (done >= 0) {
                at += size_t(done);
            } else if (errno != EINTR) {
                fail_system("write to standard output");
            }
        }
        used_ = 0;
    }

  private:
    static constexpr size_t kSize = size_t{256} << 10;
    std::unique_ptr<char[]> buffer_{new char[kSize]};
    size_t used_ = 0;
};

constexpr uint64_t each(uint64_t byte) {
    return byte * 0x0101010101010101;
}

// Whether one of eight bytes is neither a blank nor a visible character of ASCII, or is `one` or `other`.
[[gnu::always_inline]] inline bool is_special(uint64_t bytes, char one, char other) {
    const auto zeros = [](uint64_t x) { return (x - each(1)) & ~x; };
    const auto has = [&](char c) { return zeros(bytes ^ each(static_cast<unsigned char>(c))); };
    const uint64_t controls = (bytes - each(0x20)) & ~bytes;
    return ((bytes | controls | has(0x7F) | has(one) | has(other)) & each(0x80)) != 0;
}

// Copies a text to where there is room for it; false when it holds what cannot be shown as it is.
[[gnu::always_inline]] inline bool copy_plain(char *to, const char *text, size_t length, char one,
                                              char other) {
    uint64_t bytes;
    for (; length >= sizeof bytes; length -= sizeof bytes, text += sizeof bytes, to += sizeof bytes) {
        memcpy(&bytes, text, sizeof bytes);
        if (is_special(bytes, one, other)) return false;
        memcpy(to, &bytes, sizeof bytes);
    }
    bytes = each(' ');
    memcpy(&bytes, text, length);
    if (is_special(bytes, one, other)) return false;
    memcpy(to, text, length);
    return true;
}

// What a walk has met.
struct Summary {
    int blocks = 0;
    int problems = 0;
    int32_t mask = 0;
};

// Shows each part of a file as View does. Failures are thrown behind the library, through which nothing goes.
template <class View>
class Shower {
  public:
    Shower(int32_t kinds, bool filters, bool show_secrets)
        : kinds_(kinds), filters_(filters), show_secrets_(show_secrets) {}
    Shower(const Shower &) = delete;
    Shower &operator=(const Shower &) = delete;

    Summary run(const std::string &file) {
        walk_backup(file, {begin, item, end, this}, &summary_.mask);
        if (failure_) std::rethrow_exception(failure_);
        view().finish(summary_);
        out.flush();
        return summary_;
    }

  protected:
    bool hides(const MORVSYSBKPITEM &item) const { return item.isSecret == 1 && !show_secrets_; }

    Pieces out;

  private:
    View &view() { return static_cast<View &>(*this); }

    bool is_wanted(const MORVSYSBKPBLOCK &block) const {
        return !filters_ || (block.szName && (block.id & kinds_));
    }

    template <class F>
    int guarded(F show) noexcept {
        try {
            show();
            return 0;
        } catch (...) {
            failure_ = std::current_exception();
            return 1;
        }
    }
    static int begin(const MORVSYSBKPBLOCK *block, void *context) {
        Shower &self = *static_cast<Shower *>(context);
        if (!self.is_wanted(*block)) return 0;
        ++self.summary_.blocks;
        return self.guarded([&] { self.view().show_begin(*block); });
    }
    static int item(const MORVSYSBKPBLOCK *block, const MORVSYSBKPITEM *item, void *context) {
        Shower &self = *static_cast<Shower *>(context);
        if (!self.is_wanted(*block)) return 0;
        return self.guarded([&] { self.view().show_item(*block, *item); });
    }
    static int end(const MORVSYSBKPBLOCK *block, const char *problem, void *context) {
        Shower &self = *static_cast<Shower *>(context);
        if (block && !self.is_wanted(*block)) return 0;
        if (problem) ++self.summary_.problems;
        return self.guarded([&] { self.view().show_end(block, problem); });
    }

    const int32_t kinds_;
    const bool filters_;
    const bool show_secrets_;
    Summary summary_;
    std::exception_ptr failure_;
};

std::string exported_with(int32_t mask) {
    if (mask == MORV_SYSBKP_ALL) return "all kinds";
    const auto names = kind_names(mask);
    return names.empty() ? "no kind that is known" : joined(names);
}

// ---- Text ----

class TextShower : public Shower<TextShower> {
  public:
    using Shower::Shower;

    void show_begin(const MORVSYSBKPBLOCK &block) {
        record_ = entry_ = -1;
        char line[128];
        const int length = snprintf(line, sizeof line, "%s: id 0x%X, version %d, %u bytes at %lld\n",
                                    block_name(block).c_str(), unsigned(block.id), int(block.version),
                                    unsigned(block.size), static_cast<long long>(block.offset));
        out.put({line, size_t(length)});
    }

    void show_item(const MORVSYSBKPBLOCK &, const MORVSYSBKPITEM &item) {
        char *const room = out.room();
        char *to = room;
        const bool begins = item.record != record_ || item.entry != entry_;
        const std::string_view indent = item.record < 0  ? "  "
                                        : item.entry < 0 ? (begins ? "  - " : "    ")
                                                         : (begins ? "      - " : "        ");
        record_ = item.record;
        entry_ = item.entry;
        memcpy(to, indent.data(), indent.size());
        to += indent.size();
        const Label &head = label(item.szName);
        memcpy(to, head.text, sizeof head.text);
        to += head.length;
        if (item.type == MORV_SYSBKP_LONG) {
            to = std::to_chars(to, to + 16, item.value).ptr;
        } else if (item.length == 0) {
            to[-1] = '\n';
            out.take(size_t(to - room));
            return;
        } else if (hides(item)) {
            memcpy(to, kHidden.data(), kHidden.size());
            to += kHidden.size();
        } else if (size_t(item.length) < Pieces::kRoom - 128 &&
                   copy_plain(to, item.szText, size_t(item.length), '\\', '\\')) {
            to += item.length;
        } else {
            out.take(size_t(to - room));
            out.put(escape({item.szText, size_t(item.length)}));
            out.put('\n');
            return;
        }
        *to++ = '\n';
        out.take(size_t(to - room));
    }

    void show_end(const MORVSYSBKPBLOCK *block, const char *problem) {
        if (problem) {
            out.put(block ? "  DAMAGED: " : "DAMAGED: ");
            out.put(printable(problem));
            out.put('\n');
        }
        if (block) out.put('\n');
    }

    void finish(const Summary &summary) {
        out.put_number(summary.blocks);
        out.put(summary.blocks == 1 ? " block, exported with " : " blocks, exported with ");
        out.put(exported_with(summary.mask));
        out.put(summary.problems ? "; damaged, see above\n" : "; sound\n");
    }

  private:
    // A name and what comes before and behind it: "    fullname = ". The names are the library's constants, so
    // that each has its line prepared at its address.
    struct Label {
        const char *name = nullptr;
        char text[40] = {};
        uint32_t length = 0;
    };
    const Label &label(const char *name) {
        Label &found = labels_[(reinterpret_cast<uintptr_t>(name) >> 1) % std::size(labels_)];
        if (found.name != name) {
            found.name = name;
            found.length =
                uint32_t(snprintf(found.text, sizeof found.text, "%-*s = ", kColumn, name ? name : "?"));
            found.length = std::min<uint32_t>(found.length, sizeof found.text - 1);
        }
        return found;
    }

    static constexpr int kColumn = 17;
    static constexpr std::string_view kHidden = "(hidden)";
    Label labels_[256];
    int32_t record_ = -1;
    int32_t entry_ = -1;
};

// ---- JSON ----

// A number that says how many records or entries follow is the name of a list of those.
class JsonShower : public Shower<JsonShower> {
  public:
    using Shower::Shower;

    void show_begin(const MORVSYSBKPBLOCK &block) {
        out.put(is_first_ ? "{\n  \"blocks\": [\n" : ",\n");
        is_first_ = false;
        out.put("    {\"block\": ");
        out.put(block.szName ? json_text(block.szName, -1) : "null");
        out.put(", \"id\": ");
        out.put_number(block.id);
        out.put(", \"version\": ");
        out.put_number(block.version);
        out.put(", \"bytes\": ");
        out.put_number(block.size);
        out.put(", \"offset\": ");
        out.put_number(block.offset);
        out.put(", \"items\": {");
        record_ = entry_ = -1;
        separator_ = "";
        records_ = entries_ = false;
    }

    void show_item(const MORVSYSBKPBLOCK &block, const MORVSYSBKPITEM &item) {
        if (item.record != record_) {
            const bool follows = record_ >= 0;
            close_record();
            out.put(follows ? ",\n      {" : "\n      {");
            separator_ = "";
        }
        record_ = item.record;
        if (item.entry != entry_) {
            const bool follows = entry_ >= 0;
            close_entry();
            if (follows) out.put(", ");
            // The members of a group are names and nothing else.
            is_plain_ = block.id == MORV_SYSBKP_GROUP;
            if (!is_plain_) out.put('{');
            separator_ = "";
        }
        entry_ = item.entry;
        out.put(separator_);
        if (item.entry < 0 || !is_plain_) {
            out.put('"');
            out.put(item.szName ? item.szName : "?");
            out.put("\": ");
            separator_ = ", ";
        }
        if (is_count(block, item)) {
            out.put('[');
            (item.record < 0 ? records_ : entries_) = true;
        } else if (item.type == MORV_SYSBKP_LONG) {
            out.put_number(item.value);
        } else if (hides(item)) {
            out.put("null");
        } else if (char *const room = out.room();
                   size_t(item.length) < Pieces::kRoom - 2 &&
                   copy_plain(room + 1, item.szText, size_t(item.length), '\\', '"')) {
            room[0] = room[item.length + 1] = '"';
            out.take(size_t(item.length) + 2);
        } else {
            out.put(json_text(Json(std::string(item.szText, size_t(item.length))), -1));
        }
    }

    void show_end(const MORVSYSBKPBLOCK *block, const char *problem) {
        if (!block) {
            problem_ = problem ? problem : "";
            return;
        }
        close_record();
        if (records_) out.put(']');
        out.put("}, \"problem\": ");
        out.put(problem ? json_text(problem, -1) : "null");
        out.put('}');
    }

    void finish(const Summary &summary) {
        out.put(is_first_ ? "{\n  \"blocks\": [" : "\n  ");
        out.put("],\n  \"mask\": ");
        out.put_number(summary.mask);
        out.put(",\n  \"sound\": ");
        out.put(summary.problems ? "false" : "true");
        out.put(",\n  \"problem\": ");
        out.put(problem_.empty() ? "null" : json_text(problem_, -1));
        out.put("\n}\n");
    }

  private:
    static bool is_count(const MORVSYSBKPBLOCK &block, const MORVSYSBKPITEM &item) {
        if (item.type != MORV_SYSBKP_LONG || !item.szName) return false;
        const auto is = [&](const char *name) { return strcmp(item.szName, name) == 0; };
        switch (block.id) {
            case MORV_SYSBKP_USER:
                return item.record < 0 && is("users");
            case MORV_SYSBKP_SHARE:
                return item.record < 0 && is("shares");
            case MORV_SYSBKP_GROUP:
                return item.record < 0 ? is("groups") : item.entry < 0 && is("members");
            case MORV_SYSBKP_USERQUOTA:
                return item.record < 0 ? is("users") : item.entry < 0 && is("volumes");
            default:
                return false;
        }
    }

    void close_entry() {
        if (entry_ >= 0 && !is_plain_) out.put('}');
        entry_ = -1;
    }
    void close_record() {
        close_entry();
        if (entries_) out.put(']');
        entries_ = false;
        if (record_ >= 0) out.put('}');
        record_ = -1;
    }

    bool is_first_ = true;
    bool records_ = false;  // their list is open
    bool entries_ = false;
    bool is_plain_ = false;
    int32_t record_ = -1;
    int32_t entry_ = -1;
    std::string_view separator_;
    std::string problem_;
};

}  // namespace

int inspect_backup(const Session &session, const BackupArgs &args) {
    const int32_t kinds = parse_kinds(args.only, kAllKinds);
    const bool filters = args.only.has_value();
    const Summary summary = session.json ? JsonShower(kinds, filters, args.show_secrets).run(args.file)
                                         : TextShower(kinds, filters, args.show_secrets).run(args.file);
    if (filters && summary.blocks == 0) {
        throw Failure(Exit::kNotFound, args.file + " has no block of that kind");
    }
    return int(summary.problems ? Exit::kNotHealthy : Exit::kDone);
}

}  // namespace morvctl
