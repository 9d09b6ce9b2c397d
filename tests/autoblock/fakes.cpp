// The machine around the blocking: its clock, its waiting, and its name server.
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "autoblock/block_root.h"
#include "autoblock/names.h"

namespace testing_support {

volatile int64_t *const clock_seconds =
    static_cast<int64_t *>(mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
bool waits_are_over;
int waits;
std::function<void()> before_lock;
int names_asked;
std::vector<std::string> not_to_be_locked;
bool was_locked;

}  // namespace testing_support

using namespace testing_support;

extern "C" {

time_t time(time_t *at) noexcept {
    const time_t now = time_t(*clock_seconds);
    if (at) *at = now;
    return now;
}

int usleep(useconds_t microseconds) {
    ++waits;
    if (waits_are_over) return 0;
    const timespec wait = {0, long(microseconds) * 1000};
    return nanosleep(&wait, nullptr);
}

int flock(int fd, int operation) noexcept {
    if (before_lock) std::exchange(before_lock, nullptr)();
    return int(syscall(SYS_flock, fd, operation));
}

int getaddrinfo(const char *host, const char *, const addrinfo *, addrinfo **found) {
    ++names_asked;
    for (const std::string &path : not_to_be_locked) {
        const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) != 0) was_locked = true;
        if (fd >= 0) close(fd);
    }
    uint32_t address;
    if (strcmp(host, "client.example") == 0)
        address = address_of("192.0.2.77");
    else if (strcmp(host, "silent.example") == 0)
        return EAI_AGAIN;
    else if (strcmp(host, "nowhere.example") == 0)
        address = 0;
    else
        return EAI_NONAME;
    struct Answer {
        addrinfo info;
        sockaddr_in socket;
    };
    auto *const answer = static_cast<Answer *>(calloc(1, sizeof(Answer)));
    if (!answer) return EAI_MEMORY;
    answer->socket.sin_family = AF_INET;
    answer->socket.sin_addr.s_addr = address;
    answer->info.ai_addr = reinterpret_cast<sockaddr *>(&answer->socket);
    answer->info.ai_addrlen = sizeof answer->socket;
    *found = &answer->info;
    return 0;
}

void freeaddrinfo(addrinfo *found) noexcept {
    free(found);
}
}
