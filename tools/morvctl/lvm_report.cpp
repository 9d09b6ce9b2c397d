#include "morvctl/lvm_report.h"

#include <algorithm>
#include <set>

#include "morvctl/storage.h"

namespace morvctl {

namespace {

// Some hundred bytes a physical volume.
constexpr size_t kMostBytes = size_t{16} << 20;

class Parser {
  public:
    explicit Parser(const std::string &name) : name_(name) {}

    LvmReport parse(const std::string &text) const {
        if (text.size() > kMostBytes) fail("it is too long");
        // The errors of the parser's own are exceptions with sentences that repeat the text.
        const auto document = nlohmann::json::parse(text, nullptr, false);
        if (document.is_discarded()) fail("it is no sound JSON");
        LvmReport report;
        std::set<std::string> seen;
        for (const auto &part : array(document, "report")) {
            if (!part.is_object()) fail("an entry of 'report' is no object");
            if (!part.contains("pv")) continue;
            for (const auto &pv : array(part, "pv")) {
                if (!pv.is_object()) fail("an entry of 'pv' is no object");
                add(pv, report, seen);
            }
        }
        return report;
    }

  private:
    using Value = nlohmann::json;

    [[noreturn]] void fail(const std::string &what) const {
        refuse("cannot use the report of LVM in " + name_ + ": " + what);
    }

    const Value &array(const Value &object, const char *key) const {
        if (!object.is_object() || !object.contains(key)) fail(std::string("it has no '") + key + "'");
        const Value &found = object[key];
        if (!found.is_array()) fail(std::string("'") + key + "' is no list");
        return found;
    }

    std::string field(const Value &pv, const char *key) const {
        if (!pv.contains(key)) fail(std::string("a physical volume has no '") + key + "'");
        const Value &found = pv[key];
        // One form of the report has numbers.
        if (found.is_number_unsigned()) return std::to_string(found.get<uint64_t>());
        if (!found.is_string()) fail(std::string("'") + key + "' of a physical volume is no text");
        return found.get<std::string>();
    }

    bool is_missing(const Value &pv) const {
        const std::string text = field(pv, "pv_missing");
        if (text == "missing" || text == "1") return true;
        if (!text.empty() && text != "0") fail("pv_missing is '" + escape(text) + "'");
        return false;
    }

    void add(const Value &pv, LvmReport &report, std::set<std::string> &seen) const {
        PhysicalVolume volume{field(pv, "pv_name"), field(pv, "vg_name"), is_missing(pv)};
        if (volume.group.empty()) return;  // in no group
        if (!is_group(volume.group)) {
            if (seen.insert(volume.group).second) report.foreign.push_back(volume.group);
            return;
        }
        volume.group.insert(0, "/dev/");
        if (volume.path == "[unknown]" || volume.path == "unknown device") {
            volume.path.clear();
        } else {
            check_path(volume.path);
            if (const std::string array = array_path(volume.path); !array.empty()) volume.path = array;
            if (!seen.insert(volume.path).second) {
                fail("the physical volume " + escape(volume.path) + " is there twice");
            }
        }
        if (volume.path.empty() && !volume.missing) fail("a physical volume without a name is not missing");
        report.volumes.push_back(volume);
    }

    static bool is_group(const std::string &name) {
        return name.size() > 2 && name.size() <= 11 && name.starts_with("vg") &&
               name.find_first_not_of("0123456789", 2) == name.npos;
    }

    // What could not stand in a line of the file, or in a record.
    void check_path(const std::string &path) const {
        const bool sound = path.starts_with("/dev/") && path.size() < sizeof LVM_PV::szPath &&
                           std::all_of(path.begin(), path.end(), [](char c) {
                               return c > ' ' && c != '\x7f' && c != '=' && c != '"' && c != '[' && c != ']';
                           });
        if (!sound) fail("'" + escape(path) + "' is no name of a device");
    }

    const std::string &name_;
};

}  // namespace

LvmReport parse_lvm_report(const std::string &text, const std::string &name) {
    return Parser(name).parse(text);
}

}  // namespace morvctl
