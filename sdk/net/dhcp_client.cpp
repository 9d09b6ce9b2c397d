#include "net/dhcp_client.h"

#include <morvsdk/errcodes.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/system/process.h"
#include "net/interface_file.h"

namespace morv {

namespace {

constexpr int kPatience = 3000;  // milliseconds
constexpr int kMostTries = 30;

using Room = char[1024];

// Takes the first of some arguments, each with a zero byte behind it.
std::string_view take_argument(std::string_view &arguments) noexcept {
    const std::string_view first = arguments.substr(0, arguments.find('\0'));
    arguments.remove_prefix(std::min(first.size() + 1, arguments.size()));
    return first;
}

// Whether they are "/sbin/dhcpcd -n NAME" and whatever follows, with the interpreter in front if it is a
// script.
bool is_client_of(std::string_view arguments, std::string_view name) noexcept {
    if (take_argument(arguments) != "/sbin/dhcpcd" && take_argument(arguments) != "/sbin/dhcpcd")
        return false;
    return take_argument(arguments) == "-n" && take_argument(arguments) == name;
}

bool has_argument(std::string_view arguments, std::string_view wanted) noexcept {
    while (!arguments.empty()) {
        if (take_argument(arguments) == wanted) return true;
    }
    return false;
}

// Others may give a process of theirs any name.
bool is_own(int pid) noexcept {
    char path[32];
    struct stat st;
    snprintf(path, sizeof path, "/proc/%d", pid);
    return stat(path, &st) == 0 && st.st_uid == geteuid();
}

int end_all(std::string_view name) {
    std::vector<int> pids;
    if (int code = find_processes("dhcpcd", pids)) return code;
    std::vector<Process> clients;
    for (const int pid : pids) {
        Process client;
        Room room;
        if (!is_own(pid) || !client.open(pid) || !is_client_of(client.arguments(room), name)) continue;
        client.signal(SIGTERM);
        clients.push_back(std::move(client));
    }
    for (const Process &client : clients) {
        if (client.wait(kPatience)) continue;
        if (!client.signal(SIGKILL) || !client.wait(kPatience)) return ERR_OP_FAILURE;
    }
    return 0;
}

}  // namespace

int end_dhcp_clients(const char *name) noexcept {
    return has_system_root() ? 0 : no_throw([name] { return end_all(name); });
}

ClientEnd kill_dhcp_client(const char *name) noexcept {
    const int pid = read_pid_file(InterfaceFile::client_pid(name).path());
    Process client;
    Room room;
    if (!client.open(pid) || client.name(room) != "dhcpcd" || !has_argument(client.arguments(room), name) ||
        !is_own(pid)) {
        return ClientEnd::kNone;
    }
    for (int tries = 0; !client.signal(SIGKILL); ++tries) {
        if (tries == kMostTries) return ClientEnd::kStays;
        syslog(LOG_ERR, "%s(%d) dhcpcd pid[%d] still exists, wait 1 second.", "MORVILnxSetDHCP", __LINE__,
               pid);
        sleep(1);
    }
    return client.wait(kPatience) ? ClientEnd::kEnded : ClientEnd::kStays;
}

}  // namespace morv
