// How a command fails: with an exit code and one sentence.
#pragma once

#include <span>
#include <stdexcept>
#include <string>

namespace morvctl {

// The exit codes of every command; `lock run` passes on that of the program it runs.
enum class Exit {
    kDone = 0,
    kNotFound = 1,
    kUsage = 2,
    kRefused = 3,
    kLocked = 4,
    kNoSpace = 5,
    kFailed = 6,
    kNotHealthy = 7,
};

inline constexpr struct {
    Exit code;
    const char *name;
    const char *meaning;
} kExits[] = {
    {Exit::kDone, "done", "what was asked for has been done"},
    {Exit::kNotFound, "not found",
     "no such key, line, record, account, array, ...; net check, net validate, backup diff: no"},
    {Exit::kUsage, "usage", "the command line is wrong"},
    {Exit::kRefused, "refused", "the input is not valid, or is there already"},
    {Exit::kLocked, "locked", "another program held the lock until the time was over"},
    {Exit::kNoSpace, "no space", "the disk, the quota or the model's limit is full"},
    {Exit::kFailed, "failed", "anything else: a missing file, no permission, a disk error"},
    {Exit::kNotHealthy, "not healthy",
     "volume health, log verify, backup verify: damaged; block check: blocked"},
};

struct Failure : std::runtime_error {
    Failure(Exit exit_code, const std::string &sentence) : std::runtime_error(sentence), code(exit_code) {}
    Exit code;
};

// The name of an error code of the library, or its hexadecimal value.
std::string error_name(int code);

// Forgets earlier errors, so that what the next call of the library leaves is its own.
void clear_errors();

// The system's words for an errno, as a part of a sentence.
std::string reason_text(int reason);

// What a code says that no system call has said already; `always` when what the system says would not help.
struct CodeText {
    int code;
    bool always;
    const char *text;
};

// Throws for the library's call that has just failed: "cannot WHAT: cause (ERR_NAME)". `texts` are those of
// the family, and go before the common ones.
[[noreturn]] void fail_library(const std::string &what, std::span<const CodeText> texts = {});

// Throws for the system call that has just failed: "cannot WHAT: cause".
[[noreturn]] void fail_system(const std::string &what);

[[noreturn]] inline void refuse(const std::string &sentence) {
    throw Failure(Exit::kRefused, sentence);
}

}  // namespace morvctl
