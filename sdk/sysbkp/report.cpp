#include "sysbkp/report.h"

#include <errno.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/sysbkp.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>

namespace morv {

namespace {

constexpr size_t kTextSize = 1024;

// Like the error state: one per process.
Telling *innermost = nullptr;

constexpr struct {
    int code;
    const char *text;
} kTexts[] = {
    {ERR_BAD_PARAMETERS, "a value that it cannot have"},
    {ERR_OUT_OF_MEMORY, "out of memory"},
    {ERR_NOT_ENOUGH_MEMORY, "it is too long"},
    {ERR_LOCK_FAILED, "another program holds the lock"},
    {ERR_OPEN_FAILED, "a file cannot be opened"},
    {ERR_READ_FAILED, "a file cannot be read"},
    {ERR_WRITE_FAILED, "a file cannot be written"},
    {ERR_RENAME_FAILED, "a file cannot be put in place"},
    {ERR_STAT_FAILED, "a file cannot be looked at"},
    {ERR_ACCESS_DENIED, "no permission"},
    {ERR_PATH_NOT_FOUND, "a file is missing"},
    {ERR_NOT_ENOUGH_SPACE, "the file system is full"},
    {ERR_CREATE_FAILED, "the folder cannot be made"},
    {ERR_FORMAT_ERROR, "a line is malformed"},
    {ERR_KEY_NOT_FOUND, "there is none"},
    {ERR_INVALID_NETNAME, "no valid name or address"},
    {ERR_INVALID_USERNAME, "no valid user name"},
    {ERR_INVALID_GROUPNAME, "no valid group name"},
    {ERR_INVALID_SHARENAME, "no valid share name"},
    {ERR_INVALID_PATH, "no absolute path"},
    {ERR_NO_SUCH_USER, "there is no such user"},
    {ERR_NO_SUCH_GROUP, "there is no such group"},
    {ERR_NO_SUCH_SHARE, "there is no such share"},
    {ERR_USER_EXISTS, "there are two of that name"},
    {ERR_GROUP_EXISTS, "there are two of that name"},
    {ERR_SHARE_EXISTS, "there are two of that name"},
    {ERR_TOO_MANY_USERS, "this model takes no more users"},
    {ERR_TOO_MANY_GROUPS, "this model takes no more groups"},
    {ERR_TOO_MANY_SHARES, "this model takes no more shares"},
    {ERR_SYS_UNKNOWN, "a tool failed"},
    {ERR_OP_FAILURE, "it did not work"},
};

// Fills `text` from a format, without control characters. Keeps errno, which "%m" stands for.
void fill(char (&text)[kTextSize], const char *format, va_list args) noexcept {
    const int saved = errno;
    vsnprintf(text, sizeof text, format, args);
    for (char *c = text; *c; ++c) {
        if (static_cast<unsigned char>(*c) < ' ' || *c == 0x7F) *c = ' ';
    }
    errno = saved;
}

}  // namespace

Telling::Telling(MORVSYSBKPREPORT report, void *context) noexcept
    : outer_(innermost), report_(report), context_(context) {
    innermost = this;
}

Telling::~Telling() {
    innermost = outer_;
}

void Telling::send(int what, int id, const char *text) const noexcept {
    if (!report_) return;
    const MORVSYSBKPEVENT event = {what, id, text};
    report_(&event, context_);
}

void Telling::begin(int id) noexcept {
    id_ = id;
    is_unsupported_ = false;
    send(MORV_SYSBKP_BEGINS, id, "");
}

void Telling::end(int result) noexcept {
    send(result != 0       ? MORV_SYSBKP_FAILED
         : is_unsupported_ ? MORV_SYSBKP_SKIPPED
                           : MORV_SYSBKP_DONE,
         id_, "");
    id_ = 0;
}

void Telling::skip(int id) noexcept {
    send(MORV_SYSBKP_SKIPPED, id, "");
}

void tell(int what, const char *format, va_list args) noexcept {
    const int saved = errno;
    char text[kTextSize];
    fill(text, format, args);
    syslog(what == MORV_SYSBKP_PROBLEM ? LOG_ERR : LOG_INFO, "configuration backup: %s", text);
    if (innermost) innermost->send(what, innermost->id_, text);
    errno = saved;
}

void tell_problem(const char *format, ...) noexcept {
    va_list args;
    va_start(args, format);
    tell(MORV_SYSBKP_PROBLEM, format, args);
    va_end(args);
}

void tell_note(const char *format, ...) noexcept {
    va_list args;
    va_start(args, format);
    tell(MORV_SYSBKP_NOTE, format, args);
    va_end(args);
}

void tell_missing(const char *format, ...) noexcept {
    va_list args;
    va_start(args, format);
    tell(MORV_SYSBKP_MISSING, format, args);
    va_end(args);
}

void tell_unsupported(const char *format, ...) noexcept {
    va_list args;
    va_start(args, format);
    tell(MORV_SYSBKP_NOTE, format, args);
    va_end(args);
    if (innermost) innermost->is_unsupported_ = true;
}

const char *code_text(int code) noexcept {
    for (const auto &known : kTexts) {
        if (known.code == code) return known.text;
    }
    static char text[16];
    snprintf(text, sizeof text, "error 0x%04X", static_cast<unsigned>(code));
    return text;
}

bool is_showable(const char *text) noexcept {
    for (; *text; ++text) {
        if ((static_cast<unsigned char>(*text) < ' ' && *text != '\t') || *text == 0x7F) return false;
    }
    return true;
}

void keep_reason(const char *name, const char *why) noexcept {
    constexpr int kMost = 4096;
    if (!gpshUser) gpshUser = PshMLIBSzHashAlloc(1024);
    // Without room for it a message says less, and nothing else fails.
    if (*name && gpshUser && MLIBSzHashPairNum(gpshUser) < kMost) MLIBSzHashSetValue(&gpshUser, name, why);
}

void log_text(const char *format, ...) noexcept {
    const int saved = errno;
    char text[kTextSize];
    va_list args;
    va_start(args, format);
    fill(text, format, args);
    va_end(args);
    // The line feed at the end of some of them is their own.
    const size_t length = strlen(text);
    const bool has_feed = length > 0 && length < sizeof text - 1 && format[strlen(format) - 1] == '\n';
    if (has_feed) text[length - 1] = '\n';
    syslog(LOG_ERR, "%s", text);
    errno = saved;
}

}  // namespace morv
