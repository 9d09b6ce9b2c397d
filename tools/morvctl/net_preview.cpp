#include "morvctl/net_preview.h"

#include <fcntl.h>
#include <limits.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <unistd.h>

#include <algorithm>

#include "morvctl/net_text.h"
#include "morvctl/network.h"
#include "morvctl/pairs.h"
#include "morvctl/text_lines.h"

namespace morvctl {

namespace {

constexpr char kRoutes[] = "/proc/net/route";

// Each is run by the library with MORV_ROOT in its environment. What stands below the root is given as on
// the appliance; the rest of a script is what the library counts on.
constexpr struct {
    const char *path;
    const char *script;
} kTools[] = {
    {"/sbin/ifconfig",
     "[ ! -e \"$MORV_ROOT/../routes\" ] || /bin/cp \"$MORV_ROOT/../routes\" \"$MORV_ROOT/proc/net/route\"\n"},
    {"/sbin/route", ""},
    {"/sbin/dhcpcd",
     "mkdir -p \"$MORV_ROOT/etc/dhcpc\"\n"
     "printf 'IPADDR=0.0.0.0\\nNETMASK=255.255.255.255\\n' >\"$MORV_ROOT/etc/dhcpc/dhcpcd-$2.info\"\n"},
    {"/bin/cp", "exec /bin/cp \"$@\"\n"},
};

std::vector<std::string> changed_files(const std::string &interface) {
    std::vector<std::string> files = {kNetworkFile,
                                      kResolvFile,
                                      kHostsFile,
                                      "/etc/morvinfo.conf",
                                      "/etc/resolv.conf.bak",
                                      "/etc/ppp/old_gateway.bak"};
    if (!interface.empty()) files.insert(files.begin(), config_file(interface));
    return files;
}

std::vector<std::string> read_files(const Session &session) {
    std::vector<std::string> files = {"/proc/net/dev", kRoutes};
    // Of all interfaces: which network a gateway lies in may depend on others.
    for (const std::string &name : interface_names(session))
        files.insert(files.end(), {lease_file(name), config_file(name)});
    return files;
}

std::string kernel_host_name() {
    char name[HOST_NAME_MAX + 1] = {};
    if (gethostname(name, sizeof name - 1) != 0) fail_system("read the host name");
    return name;
}

}  // namespace

NetPreview::NetPreview(const Session &session, const std::string &interface, bool with_host_name)
    : root_(session, changed_files(interface), read_files(session)) {
    for (const auto &tool : kTools) {
        // A tool that is missing is to be missed here, too.
        if (access(system_path(session, tool.path).c_str(), X_OK) != 0) continue;
        const std::string script = "#!/bin/sh\n{ printf %s " + std::string(tool.path) +
                                   " && printf ' %s' \"$@\" && echo; } >>\"$MORV_ROOT/../commands\"\n" +
                                   tool.script;
        root_.write(tool.path, script, 0700);
        if (access((root_.path() + tool.path).c_str(), X_OK) != 0) {
            throw Failure(
                Exit::kFailed,
                "no program may run in the folder for temporary files, which a dry run needs: TMPDIR "
                "names another");
        }
    }
    // With a system root the library reads the stored name.
    if (with_host_name && session.root.empty()) {
        const std::string file = root_.path() + kNetworkFile;
        const std::string name = kernel_host_name();
        clear_errors();
        if (MLIBFileSetKeyValue(file.c_str(), "HOSTNAME", name.c_str(), kPlainFormat) < 0)
            fail_net("copy the host name");
    }
}

void NetPreview::lose_routes(const std::string &interface) const {
    const Target routes{kRoutes, root_.path() + kRoutes};
    const Fd fd = open_file(routes, true);
    if (!fd) return;
    const std::string text = read_content(routes, fd);
    std::string left;
    for (size_t at = 0; at < text.size(); at = next_line(text, at)) {
        const std::string_view line = line_at(text, at);
        if (line.substr(0, line.find_first_of("\t ")) != interface) left.append(line).append("\n");
    }
    root_.write("/../routes", left);
}

void NetPreview::settle_route(const std::string &gateway) {
    const auto ran = commands();
    const std::string wanted = "/sbin/route add default gw " + gateway;
    if (std::find(ran.begin(), ran.end(), wanted) != ran.end()) return;
    further_commands_ = {"/sbin/route delete default", wanted};
}

std::vector<std::string> NetPreview::commands() const {
    const Target file{"", root_.beside("commands")};
    std::vector<std::string> found;
    const Fd fd = open_file(file, true);
    const std::string text = fd ? read_content(file, fd) : "";
    for (size_t at = 0; at < text.size(); at = next_line(text, at)) {
        std::string line(line_at(text, at));
        for (size_t place = 0; (place = line.find(root_.path() + "/", place)) != line.npos;)
            line.erase(place, root_.path().size());
        found.push_back(line);
    }
    found.insert(found.end(), further_commands_.begin(), further_commands_.end());
    return found;
}

void NetPreview::show(const Session &session, Json &document) const {
    root_.show(session, document);
    const auto ran = commands();
    document["commands"] = ran;
    if (session.json || ran.empty()) return;
    print_line("commands:");
    for (const std::string &command : ran)
        print_line("  " + printable(command));
}

}  // namespace morvctl
