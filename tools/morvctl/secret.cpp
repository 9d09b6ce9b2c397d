#include "morvctl/secret.h"

#include <errno.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/random.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>

#include "morvctl/failure.h"
#include "morvctl/output.h"

namespace morvctl {

namespace {

constexpr size_t kLongestPassword = 1024;
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

volatile sig_atomic_t caught;

// A terminal that does not show what is typed. A signal that ends or stops the program ends the reading,
// and takes effect when the terminal is as it was.
class SilentTerminal {
  public:
    SilentTerminal() {
        if (tcgetattr(STDIN_FILENO, &former_) != 0) fail_system("switch the echo off");
        caught = 0;
        struct sigaction action = {};
        action.sa_handler = [](int signal) { caught = signal; };
        for (size_t i = 0; i < std::size(kSignals); ++i)
            sigaction(kSignals[i], &action, &actions_[i]);
        struct termios silent = former_;
        silent.c_lflag &= ~tcflag_t(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~SilentTerminal() {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &former_);
        for (size_t i = 0; i < std::size(kSignals); ++i)
            sigaction(kSignals[i], &actions_[i], nullptr);
        if (caught) raise(caught);
    }
    SilentTerminal(const SilentTerminal &) = delete;
    SilentTerminal &operator=(const SilentTerminal &) = delete;

  private:
    struct termios former_;
    struct sigaction actions_[std::size(kSignals)];
};

// One line, byte by byte: what follows it is somebody else's. Answers false when a signal came first.
bool read_line(Secret &line) {
    for (;;) {
        char c;
        const ssize_t got = read(STDIN_FILENO, &c, 1);
        if (got < 0 && errno == EINTR) {
            if (caught) return false;
            continue;
        }
        if (got < 0) fail_system("read the password");
        if (got == 0 || c == '\n') return true;
        if (c == '\0') refuse("the password holds a zero byte");
        if (line.size() == kLongestPassword) refuse("the password is longer than 1024 bytes");
        line.push_back(c);
    }
}

Secret ask(const std::string &prompt) {
    for (;;) {
        Secret line;
        bool done;
        {
            const SilentTerminal terminal;
            fputs(printable(prompt).c_str(), stderr);
            done = read_line(line);
            fputc('\n', stderr);
        }
        // Stopped, and going on now.
        if (done) return line;
    }
}

}  // namespace

Secret::~Secret() {
    if (text_) explicit_bzero(text_, room_);
    free(text_);
}

void Secret::reserve(size_t length) {
    if (length < room_) return;
    const size_t room = std::max<size_t>(length + 1, room_ * 2 + 256);
    char *moved = static_cast<char *>(malloc(room));
    if (!moved) throw Failure(Exit::kFailed, "out of memory");
    memset(moved, 0, room);
    if (text_) {
        memcpy(moved, text_, length_);
        explicit_bzero(text_, room_);
    }
    free(std::exchange(text_, moved));
    room_ = room;
}

void Secret::read_all(int fd, const std::string &name) {
    for (;;) {
        reserve(length_ + 4096);
        const ssize_t got = read(fd, text_ + length_, room_ - length_ - 1);
        if (got == 0) return;
        if (got > 0) {
            length_ += size_t(got);
        } else if (errno != EINTR) {
            fail_system("read " + name);
        }
    }
}

Secret read_password(const std::string &user) {
    Secret password;
    if (isatty(STDIN_FILENO)) {
        password = ask("New password of " + user + ": ");
        if (strcmp(password.c_str(), ask("The same again: ").c_str()) != 0) {
            refuse("the two passwords are not the same");
        }
    } else {
        read_line(password);
    }
    if (password.size() == 0) refuse("the password is empty");
    return password;
}

Secret random_password() {
    unsigned char bytes[32];
    if (getrandom(bytes, sizeof bytes, 0) != ssize_t(sizeof bytes)) fail_system("make a password");
    Secret password;
    for (const unsigned char byte : bytes)
        password.push_back("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz.-"[byte % 64]);
    explicit_bzero(bytes, sizeof bytes);
    return password;
}

}  // namespace morvctl
