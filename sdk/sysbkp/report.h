// What an export or import tells: the system log, and who asked for a report.
#pragma once

#include <morvsdk/sysbkp.h>
#include <stdarg.h>

#include "core/base/fail.h"

namespace morv {

// While it lives, problems and notes go to a report. Nests.
class Telling {
  public:
    Telling(MORVSYSBKPREPORT report, void *context) noexcept;
    ~Telling();
    Telling(const Telling &) = delete;
    Telling &operator=(const Telling &) = delete;

    // The kinds of settings one after the other. end() tells how it went: passed over, when tell_unsupported
    // was called meanwhile.
    void begin(int id) noexcept;
    void end(int result) noexcept;
    void skip(int id) noexcept;

  private:
    Telling *const outer_;
    const MORVSYSBKPREPORT report_;
    void *const context_;
    int id_ = 0;
    bool is_unsupported_ = false;

    friend void tell(int what, const char *format, va_list args) noexcept;
    friend void tell_unsupported(const char *format, ...) noexcept;
    void send(int what, int id, const char *text) const noexcept;
};

// For a person: one sentence without a full stop, as "user alice: the limit of users is reached". Also go to
// the system log. Control characters in it become blanks.
void tell_problem(const char *format, ...) noexcept __attribute__((format(printf, 1, 2)));
void tell_note(const char *format, ...) noexcept __attribute__((format(printf, 1, 2)));
void tell_missing(const char *format, ...) noexcept __attribute__((format(printf, 1, 2)));

// This model has nothing that the kind is for.
void tell_unsupported(const char *format, ...) noexcept __attribute__((format(printf, 1, 2)));

// Whether a text can be a part of a line: it has no control characters but tabs. Other programs show what is in the files.
bool is_showable(const char *text) noexcept;

// Keeps in gpshUser why somebody is not here. Only of some thousands, more than any model takes: a file may name any number.
void keep_reason(const char *name, const char *why) noexcept;

// A code for a person, as "no such user"; "error 0x1D00" for one that nobody should meet.
const char *code_text(int code) noexcept;

// Lines of the system log alone, at priority error.
void log_text(const char *format, ...) noexcept __attribute__((format(printf, 1, 2)));

}  // namespace morv

// The same, with the source's name and line in the form that this family has.
#define BACKUP_LOG(format, ...) \
    ::morv::log_text("%s(%d): " format, MORV_STEM, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
