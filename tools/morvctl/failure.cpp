#include "morvctl/failure.h"

#include <ctype.h>
#include <errno.h>
#include <morvsdk/error.h>
#include <string.h>

namespace morvctl {

namespace {

// Codes that have no name in the library's table.
constexpr struct {
    int code;
    const char *name;
} kFurtherNames[] = {
    {ERR_READ_ONLY_FS, "ERR_READ_ONLY_FS"},
    {ERR_INTERRUPTED, "ERR_INTERRUPTED"},
    {ERR_STORE_INVALID, "ERR_STORE_INVALID"},
    {ERR_STORE_READ_FAILED, "ERR_STORE_READ_FAILED"},
    {ERR_STORE_WRITE_FAILED, "ERR_STORE_WRITE_FAILED"},
    {ERR_STORE_DELETE_FAILED, "ERR_STORE_DELETE_FAILED"},
    {ERR_STORE_END, "ERR_STORE_END"},
};

Exit exit_for(int code, int reason) {
    if (reason == ENOSPC || reason == EDQUOT) return Exit::kNoSpace;
    switch (code) {
        case ERR_KEY_NOT_FOUND:
        case ERR_SECTION_NOT_FOUND:
        case ERR_NO_SUCH_SHARE:
        case ERR_NO_SUCH_GROUP:
        case ERR_NO_SUCH_USER:
            return Exit::kNotFound;
        case ERR_BAD_PARAMETERS:
        case ERR_KEY_EXISTS:
        case ERR_SECTION_EXISTS:
        case ERR_SHARE_EXISTS:
        case ERR_GROUP_EXISTS:
        case ERR_USER_EXISTS:
            return Exit::kRefused;
        case ERR_LOCK_FAILED:
            return Exit::kLocked;
        case ERR_NOT_ENOUGH_SPACE:
        case ERR_NOT_ENOUGH_VOLUME_SPACE:
        case ERR_NOT_ENOUGH_QUOTA:
            return Exit::kNoSpace;
        default:
            return Exit::kFailed;
    }
}

// For failures without a failed system call.
const char *code_text(int code) {
    switch (code) {
        case ERR_OPEN_FAILED:
            return "it is no regular file";
        case ERR_OUT_OF_MEMORY:
            return "out of memory";
        case ERR_BAD_PARAMETERS:
            return "the library refuses it";
        case ERR_LOCK_FAILED:
            return "another program holds the lock";
        case ERR_STORE_INVALID:
            return "it is no sound record store";
        case ERR_STORE_READ_FAILED:
            return "a record could not be read";
        case ERR_FILE_NOT_FOUND:
            return "no such file";
        case ERR_KEY_NOT_FOUND:
            return "no such key";
        case ERR_PATH_NOT_FOUND:
            return "no such folder";
        default:
            return nullptr;
    }
}

}  // namespace

std::string reason_text(int reason) {
    std::string text = strerror(reason);
    if (text.size() > 1 && islower(static_cast<unsigned char>(text[1]))) {
        text[0] = char(tolower(static_cast<unsigned char>(text[0])));
    }
    return text;
}

std::string error_name(int code) {
    const int index = code >> 8;
    if ((code & 0xFF) == 0 && index >= 0 && index < errNum && rgszErrMsg[index]) return rgszErrMsg[index];
    for (const auto &further : kFurtherNames) {
        if (further.code == code) return further.name;
    }
    char text[16];
    snprintf(text, sizeof text, "0x%04X", unsigned(code));
    return text;
}

void clear_errors() {
    MLIBErrSet(ERR_SUCCESS);
    errno = 0;
}

void fail_library(const std::string &what) {
    const int reason = errno;
    const int code = MLIBErrGet();
    std::string sentence = "cannot " + what;
    // A lock that is held says so in fewer words than the system.
    if (const char *text = code_text(code);
        text && (reason == 0 || code == ERR_LOCK_FAILED || code == ERR_STORE_INVALID)) {
        sentence.append(": ").append(text);
    } else if (reason != 0) {
        sentence.append(": ").append(reason_text(reason));
    }
    if (code != ERR_SUCCESS) sentence.append(" (").append(error_name(code)).append(")");
    throw Failure(exit_for(code, reason), sentence);
}

void fail_system(const std::string &what) {
    const int reason = errno;
    throw Failure(exit_for(0, reason), "cannot " + what + ": " + reason_text(reason));
}

}  // namespace morvctl
