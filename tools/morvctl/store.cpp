// morvctl store: the records of a record file.
#include <morvsdk/bdb.h>
#include <morvsdk/error.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <memory>

#include "morvctl/containers.h"
#include "morvctl/families.h"
#include "morvctl/output.h"
#include "morvctl/store_copy.h"

namespace morvctl {

namespace {

struct Args {
    std::string file;
    std::string key;
};

struct Record {
    std::string key;
    std::string value;
};

struct Buffers {
    void *key = nullptr;
    int key_size = 0;
    void *value = nullptr;
    int value_size = 0;

    ~Buffers() {
        MORVBDbFree(key);
        MORVBDbFree(value);
    }
};

// All records, in the order of their keys.
std::vector<Record> read_store(const Target &target) {
    const StoreCopy store(target);
    Buffers to;
    std::vector<Record> records;
    MORVBDbCursorSetType(store.get(), MORV_BDB_FIRST);
    while (MORVBDbCursorGet(store.get(), 0, &to.key, &to.key_size, &to.value, &to.value_size) == 0) {
        records.push_back({std::string(static_cast<char *>(to.key), size_t(to.key_size)),
                           std::string(static_cast<char *>(to.value), size_t(to.value_size))});
        MORVBDbCursorSetType(store.get(), MORV_BDB_NEXT);
    }
    if (MLIBErrGet() != ERR_STORE_END) fail_library("read " + target.name);
    return records;
}

std::string iso_date(int32_t seconds) {
    const time_t when = seconds;
    struct tm parts;
    char text[32] = "";
    if (gmtime_r(&when, &parts)) strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

// A key or value as text: a zero at the end, which many have, is not shown.
std::string shown(std::string_view bytes) {
    if (!bytes.empty() && bytes.back() == '\0') bytes.remove_suffix(1);
    return escape(bytes);
}

std::string hex(std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        text += kDigits[static_cast<unsigned char>(c) >> 4];
        text += kDigits[c & 15];
    }
    return text;
}

// What a record says: its kind, and the value in that kind's form.
struct Meaning {
    const char *kind;
    Json value;
    std::string text;
};

Meaning meaning_of(const Record &record) {
    const std::string &value = record.value;
    if (record.key.starts_with('#')) {
        int32_t number;
        if (value.size() == sizeof number) {
            memcpy(&number, value.data(), sizeof number);
            const auto is = [&](const char *key, size_t length) {
                return record.key == std::string_view(key, length);
            };
            if (is(MORV_BDB_SYNC_TIME, MORV_BDB_SYNC_TIME_LENGTH) ||
                is(MORV_BDB_EXPIRE_TIME, MORV_BDB_EXPIRE_TIME_LENGTH)) {
                return {"time", iso_date(number), iso_date(number)};
            }
            if (is(MORV_BDB_DEPRECATED, MORV_BDB_DEPRECATED_LENGTH)) {
                return {"flag", number != 0, number != 0 ? "yes" : "no"};
            }
            return {"number", number, std::to_string(number)};
        }
        if (record.key == "#MORV@SOURCES" && value.size() % sizeof(uint64_t) == 0) {
            std::vector<uint64_t> numbers(value.size() / sizeof(uint64_t));
            memcpy(numbers.data(), value.data(), value.size());
            std::string text;
            for (const uint64_t each : numbers)
                text.append(text.empty() ? "" : " ").append(std::to_string(each));
            return {"numbers", numbers, text};
        }
        if (MLIBSZLIST *unpacked = MORVListDBUnpack(value.data(), int(value.size()))) {
            const List list(unpacked);
            std::string text;
            for (const std::string &item : list.items())
                text.append(text.empty() ? "" : ", ").append(escape(item));
            return {"list", list.items(), "[" + text + "]"};
        }
    }
    return {"text", shown(value), shown(value)};
}

Json record_json(const Record &record) {
    const Meaning meaning = meaning_of(record);
    return {{"key", shown(record.key)},
            {"kind", meaning.kind},
            {"value", meaning.value},
            {"key_hex", hex(record.key)},
            {"value_hex", hex(record.value)}};
}

void print_records(const Session &session, const Args &args, const std::vector<Record> &records) {
    if (session.json) {
        Json list = Json::array();
        for (const Record &record : records)
            list.push_back(record_json(record));
        print_json({{"file", args.file}, {"records", list}});
        return;
    }
    size_t widest = 0;
    for (const Record &record : records)
        widest = std::max(widest, shown(record.key).size());
    for (const Record &record : records) {
        std::string line = shown(record.key);
        line.resize(widest, ' ');
        print_line(line + "  " + meaning_of(record).text);
    }
}

int dump(const Session &session, const Args &args) {
    print_records(session, args, read_store(find_target(session, args.file)));
    return int(Exit::kDone);
}

int get(const Session &session, const Args &args) {
    std::vector<Record> records = read_store(find_target(session, args.file));
    std::erase_if(records, [&](const Record &record) { return shown(record.key) != args.key; });
    if (records.empty()) {
        throw Failure(Exit::kNotFound, "cannot find the record " + escape(args.key) + " in " + args.file +
                                           " (" + error_name(ERR_KEY_NOT_FOUND) + ")");
    }
    if (session.json) {
        print_records(session, args, records);
    } else {
        for (const Record &record : records)
            print_line(meaning_of(record).text);
    }
    return int(Exit::kDone);
}

}  // namespace

void add_store_commands(CLI::App &family, Session &session) {
    const auto add = [&](const char *name, const char *description,
                         auto work) -> std::pair<CLI::App &, Args &> {
        CLI::App &command = add_command(family, session, Kind::kReads, name, description);
        auto args = std::make_shared<Args>();
        add_text(command, "FILE", args->file, "The record file")->required();
        run_with(command, session, [args, work](Session &s) { return work(s, *args); });
        return {command, *args};
    };
    add("dump", "Print all records", dump);
    auto [command, args] = add("get", "Print the value of a record", get);
    add_text(command, "KEY", args.key, "Its key, as dump shows it")->required();
}

}  // namespace morvctl
