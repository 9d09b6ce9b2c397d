// Eight real interfaces, in a network namespace of the benchmark's own: beside a floor that makes the same reads and
// the same calls of the kernel, and the whole tool beside that of the kernel's network.
#include <fcntl.h>
#include <morvsdk/net.h>
#include <net/if.h>
#include <sched.h>
#include <spawn.h>
#include <string.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "bench.h"

namespace bench {

namespace {

constexpr int kPairs = 4;
constexpr int kInterfaces = 2 * kPairs;

std::string name_of(int number) {
    return "eth" + std::to_string(number);
}

// Answers whether it is allowed to.
bool make_interfaces() {
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return false;
    std::string commands = "ip link set lo up";
    for (int i = 0; i < kPairs; ++i)
        commands += " && ip link add " + name_of(2 * i) + " type veth peer name " + name_of(2 * i + 1);
    for (int i = 0; i < kInterfaces; ++i) {
        commands += " && ip addr add 10." + std::to_string(i) + ".0.1/16 dev " + name_of(i) +
                    " && ip link set " + name_of(i) + " up";
    }
    commands = "(" + commands + ") >/dev/null 2>&1";
    return system(commands.c_str()) == 0;
}

class Root {
  public:
    explicit Root(const Place &place) : folder_(place.folder + "/net") {
        std::filesystem::create_directories(folder_ + "/tmp/lock");
        std::filesystem::create_directories(folder_ + "/etc/sysconfig/network-scripts");
        std::filesystem::create_directory_symlink("/proc", folder_ + "/proc");
        write_file(folder_ + "/tmp/lock/lock_host", "");
        write_file(folder_ + "/etc/resolv.conf", "nameserver\t10.0.0.2\n");
        write_file(folder_ + "/etc/sysconfig/network", "NETWORKING=yes\nHOSTNAME=nas\nGATEWAY=10.0.0.2\n");
        write_file(folder_ + "/etc/morvinfo.conf", "language=\"enu\"\n");
        for (int i = 0; i < kInterfaces; ++i) {
            write_file(settings(i), "DEVICE=" + name_of(i) + "\nONBOOT=yes\nBOOTPROTO=static\nIPADDR=10." +
                                        std::to_string(i) + ".0.1\nNETMASK=255.255.0.0\n");
        }
    }
    std::string settings(int number) const {
        return folder_ + "/etc/sysconfig/network-scripts/ifcfg-" + name_of(number);
    }
    const std::string &folder() const { return folder_; }
    void use() const { use_root(folder_); }

  private:
    std::string folder_;
};

void read_whole(const std::string &path) {
    char room[32 * 1024];
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) give_up("interfaces: " + path);
    while (read(fd, room, sizeof room) > 0) {
    }
    close(fd);
}

int list_bare(const Root &root) {
    read_whole(root.folder() + "/proc/net/dev");
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    int found = 0;
    ifreq request = {};
    strcpy(request.ifr_name, "lo");
    ioctl(fd, SIOCGIFFLAGS, &request);
    for (int i = 0; i < kInterfaces; ++i) {
        for (const unsigned long what : {SIOCGIFFLAGS, SIOCGIFHWADDR, SIOCGIFADDR}) {
            memset(&request, 0, sizeof request);
            memcpy(request.ifr_name, ("eth" + std::to_string(i)).c_str(), 5);
            if (ioctl(fd, what, &request) != 0) give_up("interfaces: ioctl");
        }
        ++found;
    }
    close(fd);
    return found;
}

std::string read_bare_card(const Root &root) {
    const int lock = open((root.folder() + "/tmp/lock/lock_host").c_str(), O_RDONLY | O_CLOEXEC);
    flock(lock, LOCK_SH | LOCK_NB);
    list_bare(root);
    // Once for the protocol, once for the addresses.
    read_whole(root.settings(5));
    read_whole(root.settings(5));
    flock(lock, LOCK_UN);
    close(lock);
    return "10.5.0.1";
}

int run(const std::vector<const char *> &arguments) {
    std::vector<char *> argv;
    for (const char *argument : arguments)
        argv.push_back(const_cast<char *>(argument));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid;
    int status = -1;
    if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0 ||
        waitpid(pid, &status, 0) != pid)
        give_up(std::string("interfaces: ") + argv[0]);
    posix_spawn_file_actions_destroy(&actions);
    return status;
}

const Area interfaces([] {
    if (!make_interfaces()) {
        fprintf(stderr, "interfaces: not measured, no network namespace can be made here\n");
        return;
    }
    const Root root(places().back());
    compare("interfaces_list_8", std::to_string(kInterfaces))
        .side("ours",
              [root](auto see) {
                  root.use();
                  NET_INTERFACE entries[16];
                  see(MLIBNetGetInterfaceInfo(entries, 16, MORV_NET_ALL));
              })
        .side("floor", [root](auto see) { see(list_bare(root)); });
    compare("interfaces_card", "10.5.0.1")
        .side("ours",
              [root](auto see) {
                  root.use();
                  NET_CARD card = {};
                  MORVNetGetCard1(5, nullptr, &card);
                  see(card.address);
              })
        .side("floor", [root](auto see) { see(read_bare_card(root)); });
    compare("interfaces_show_process", "0")
        .side("ours",
              [root](auto see) {
                  see(run({MORV_MORVCTL, "--root", root.folder().c_str(), "net", "show", "--json"}));
              })
        .side("floor", [](auto see) {
            see(run({"ip", "-j", "addr"}));
        });
});

}  // namespace

}  // namespace bench
