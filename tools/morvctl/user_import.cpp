// The tables of `morvctl user import` and `export`.
#include <morvsdk/error.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <map>
#include <set>

#include "morvctl/change.h"
#include "morvctl/csv.h"
#include "morvctl/record_event.h"
#include "morvctl/user_values.h"

namespace morvctl {

namespace {

// The columns in the order of an export. Where a text is empty the user gets an empty one; another empty
// value leaves what is there.
constexpr struct {
    const char *name;
    std::optional<std::string> UserValues::*value;  // null for the name and the password
    bool is_text;
} kColumns[] = {
    {"name", nullptr, false},
    {"password", nullptr, false},
    {"uid", &UserValues::uid, false},
    {"gid", &UserValues::gid, false},
    {"description", &UserValues::description, true},
    {"home", &UserValues::home, true},
    {"shell", &UserValues::shell, true},
    {"expire", &UserValues::expire, false},
    {"no_password_change", &UserValues::no_password_change, false},
    {"privilege", &UserValues::privilege, false},
    {"extra", &UserValues::extra, true},
};
constexpr size_t kName = 0;
constexpr size_t kPassword = 1;

// What is wrong with which line.
using Faults = std::vector<std::pair<int, std::string>>;

// For each column of the file its place in kColumns.
std::vector<size_t> read_header(const CsvRow &row, Faults &faults) {
    std::vector<size_t> columns;
    if (!row.fault.empty()) faults.emplace_back(row.line, row.fault);
    for (const char *field : row.fields) {
        size_t column = 0;
        while (column < std::size(kColumns) && strcmp(kColumns[column].name, field) != 0)
            ++column;
        const std::string name = "'" + escape(field) + "'";
        if (column == std::size(kColumns)) {
            faults.emplace_back(row.line, "there is no column " + name);
        } else if (std::find(columns.begin(), columns.end(), column) != columns.end()) {
            faults.emplace_back(row.line, "the column " + name + " is there twice");
        }
        columns.push_back(column);
    }
    if (faults.empty() && std::find(columns.begin(), columns.end(), kName) == columns.end()) {
        faults.emplace_back(row.line, "the column 'name' is missing");
    }
    return columns;
}

// The users that a table is about, and what they are to be.
class Import {
  public:
    Import(const Session &session, const ImportArgs &args, std::vector<CsvRow> rows)
        : session_(session), args_(args), rows_(std::move(rows)) {}

    // Looks at every line, and changes nothing if one is wrong.
    Json run() {
        if (rows_.empty()) faults_.emplace_back(1, "the names of the columns are missing");
        const auto columns = rows_.empty() ? std::vector<size_t>() : read_header(rows_[0], faults_);
        for (size_t i = 1; i < rows_.size() && (faults_.empty() || i > 1); ++i) {
            try {
                add_row(rows_[i], columns);
            } catch (const Failure &failure) {
                if (failure.code != Exit::kRefused && failure.code != Exit::kNotFound) throw;
                faults_.emplace_back(rows_[i].line, failure.what());
            }
        }
        fail_if_faulty();
        write();
        return {{"added", added_}, {"changed", int(users_.size()) - added_}};
    }

  private:
    void add_row(const CsvRow &row, const std::vector<size_t> &columns) {
        if (!row.fault.empty()) refuse(row.fault);
        if (row.fields.size() != columns.size()) {
            refuse("it has " + std::to_string(row.fields.size()) + " fields, not " +
                   std::to_string(columns.size()));
        }
        std::string name;
        const char *password = "";
        UserValues values;
        for (size_t i = 0; i < columns.size(); ++i) {
            const auto &column = kColumns[columns[i]];
            if (columns[i] == kName) {
                name = row.fields[i];
            } else if (columns[i] == kPassword) {
                password = row.fields[i];
            } else if (*row.fields[i] || column.is_text) {
                values.*column.value = row.fields[i];
            }
        }
        check_user_name(name);
        if (!names_.insert(name_key(name)).second) refuse("the user " + escape(name) + " is there twice");
        const User old = find_user(session_, name);
        Secret random;
        if (!old && !*password) {
            if (!args_.no_password) refuse("the new user " + escape(name) + " has no password");
            random = random_password();
            password = random.c_str();
        }
        User user =
            make_user(session_, old.get(), old ? old->szName : name, *password ? password : nullptr, values);
        if (values.uid && user->uid != 0) {
            const auto [known, is_new] = uids_.emplace(user->uid, row.line);
            if (!is_new)
                refuse("line " + std::to_string(known->second) + " has the uid " + *values.uid + " already");
        }
        added_ += old ? 0 : 1;
        lines_.push_back(row.line);
        users_.push_back(std::move(user));
    }

    void fail_if_faulty() {
        if (faults_.empty()) return;
        Json errors = Json::array();
        for (const auto &[line, reason] : faults_) {
            errors.push_back({{"line", line}, {"reason", reason}});
            fprintf(stderr, "morvctl: line %d: %s\n", line, printable(reason).c_str());
        }
        if (session_.json) print_json({{"added", 0}, {"changed", 0}, {"errors", errors}});
        refuse("cannot import " + args_.file + ": nothing has been changed");
    }

    void write() {
        std::vector<const MORVUSER *> records;
        for (const User &user : users_)
            records.push_back(user.get());
        int failed = -1;
        clear_errors();
        if (records.empty() || MORVUserSetMany(records.data(), int(records.size()), &failed) == 0) return;
        const std::string line = failed >= 0 ? ", line " + std::to_string(lines_.at(size_t(failed))) : "";
        fail_account(session_, "import " + args_.file + line);
    }

    const Session &session_;
    const ImportArgs &args_;
    std::vector<CsvRow> rows_;
    std::vector<User> users_;
    std::vector<int> lines_;
    std::set<std::string> names_;
    std::map<uint32_t, int> uids_;
    int added_ = 0;
    Faults faults_;
};

std::string export_table(const Session &session) {
    std::vector<std::string> header;
    for (const auto &column : kColumns) {
        if (&column != &kColumns[kPassword]) header.push_back(column.name);
    }
    std::string table = csv_row(header);
    for (const std::string &name : user_names(session, MORV_USER_LOCAL)) {
        const User user = find_user(session, name);
        if (!user) continue;
        table +=
            csv_row({user->szName, std::to_string(user->uid), std::to_string(user->gid), user->szDescription,
                     user->szHome, user->szShell, expire_text(user->expireDay),
                     user->noPasswordChange ? "yes" : "no", std::to_string(user->privilege), user->szExtra});
    }
    return table;
}

}  // namespace

int import_users(const Session &session, const ImportArgs &args) {
    Secret text;
    if (args.file == "-") {
        text.read_all(STDIN_FILENO, "standard input");
    } else {
        const Target target = find_target(session, args.file);
        text.read_all(open_file(target).get(), args.file);
    }
    int64_t count = 0;
    change_accounts(session, {}, [&] {
        Json document = Import(session, args, parse_csv(text)).run();
        count = document["added"].get<int64_t>() + document["changed"].get<int64_t>();
        return document;
    });
    if (count > 0) {
        record_event(session, MORV_EVENT_USERS_IMPORTED,
                     {std::to_string(count), args.file == "-" ? "standard input" : args.file});
    }
    return int(Exit::kDone);
}

int export_users(const Session &session, const ExportArgs &args) {
    prepare(session);
    const std::string table = export_table(session);
    if (args.file) {
        return change_text(session, *args.file, Missing::kIsMade, [&](std::string &text) {
            text = table;
            return 1;
        });
    }
    print_raw(table);
    return int(Exit::kDone);
}

}  // namespace morvctl
