// The one place where programs are started.
//
//     if (int code = run_tool("/bin/tar -cf %s -C %s .", {archive, folder})) return code;
//
// A command is a template for the shell. What is put into it is only ever one word of the command, or a
// part of one: it is quoted unless it consists of letters, digits and "_-./:,=+@%". A value at the
// beginning of a word that a tool would read as an option (it begins with "-") is refused.
//
//     %s                     a text
//     %d %u and %ld %lu ...  an integer
//     %%                     a per cent sign
//
// Names of tools are looked for below the system root, and so are those behind "|", "&", ";", "(" and a
// backtick; with a root, one without a folder is the first of its name in the folders of the search path
// there. Paths among the arguments are used as they are given: those of the library's own have passed
// through SysPath before. Between backticks there are no values, as a shell reads what is there twice.
//
// Tools do not depend on who calls the library: their environment is a search path, the locale "C" and the
// system root, no signal is blocked, files that they make have mode 0644, they read nothing but what they
// are given, and they have none of the caller's descriptors.
//
// All functions answer 0 or
//   ERR_BAD_PARAMETERS  the template or a value cannot be used; nothing was run
//   ERR_OUT_OF_MEMORY
//   ERR_SYS_UNKNOWN     no process could be started, or the tool failed
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <concepts>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace morv {

// A value for a template. Views what it was made from.
class CommandValue {
  public:
    CommandValue(std::string_view text) noexcept : text_(text) {}
    CommandValue(const std::string &text) noexcept : text_(text) {}
    CommandValue(const char *text) noexcept : text_(text) {}
    template <std::integral T>
    CommandValue(T number) noexcept
        : magnitude_(number < 0 ? 0 - uint64_t(number) : uint64_t(number)),
          negative_(number < 0),
          is_number_(true) {}

    bool is_number() const noexcept { return is_number_; }
    std::string text() const {
        return is_number_ ? (negative_ ? "-" : "") + std::to_string(magnitude_) : std::string(text_);
    }

  private:
    std::string_view text_;
    uint64_t magnitude_ = 0;
    bool negative_ = false;
    bool is_number_ = false;
};

// The values in the order of the template; views them.
class CommandValues {
  public:
    CommandValues(std::initializer_list<CommandValue> values) noexcept {
        begin_ = values.begin();
        end_ = values.end();
    }
    CommandValues(const std::vector<CommandValue> &values) noexcept
        : begin_(values.data()), end_(values.data() + values.size()) {}

    const CommandValue *begin() const noexcept { return begin_; }
    const CommandValue *end() const noexcept { return end_; }

  private:
    const CommandValue *begin_ = nullptr;
    const CommandValue *end_ = nullptr;
};

// Runs a command with its output discarded, and waits for its end; interrupts from the terminal are the
// tool's meanwhile, as with system(3). status: null, or what gets the exit status (128 and the number for
// an end by a signal) when the command ran, whether it succeeded or not.
int run_tool(const char *format, CommandValues values, int *status = nullptr) noexcept;

// The same, but answers what the command wrote to its standard output, every byte as it was. One that takes
// longer than 30 seconds is ended: ERR_TIMER_EXPIRED. Output that
// exceeds limit bytes ends the command: ERR_READ_FAILED.
inline constexpr size_t kMostOutput = size_t{64} << 20;
int capture_tool(std::string &output, const char *format, CommandValues values, int *status = nullptr,
                 size_t limit = kMostOutput) noexcept;

// As run_tool, with `input` as what the command reads. One that takes longer than 30 seconds is ended:
// ERR_TIMER_EXPIRED.
int feed_tool(std::string_view input, const char *format, CommandValues values,
              int *status = nullptr) noexcept;

// What the shell would get, for the log; the template alone where its values cannot be used. May throw
// std::bad_alloc.
std::string command_text(const char *format, CommandValues values);

// Work for a process of its own.
struct BackgroundJob {
    // Called first, while the starter waits; its code becomes that of start_background. Null: nothing to
    // prepare.
    int (*prepare)(void *context) noexcept;
    // Called when `prepare` answered 0; the process ends with its return.
    void (*work)(void *context) noexcept;
    void *context;
};

// Starts a process that outlives the caller and is nobody's child to wait for. It has a session and a
// process group of its own (the group's number is the process's), its working folder is "/", its standard
// streams lead nowhere; of the caller's descriptors it has those in `keep` only, and none of its locks;
// signals are as at the start of a program, but that broken pipes do not end it.
int start_background(const BackgroundJob &job, std::initializer_list<int> keep = {}) noexcept;

namespace command_detail {

// The text that the shell gets for a template and its values.
int fill(std::string &command, const char *format, CommandValues values);

}  // namespace command_detail

}  // namespace morv
