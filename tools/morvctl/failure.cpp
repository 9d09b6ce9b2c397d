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
    {ERR_STORE_WALK_FAILED, "ERR_STORE_WALK_FAILED"},
    {ERR_INVALID_PATH, "ERR_INVALID_PATH"},
    {ERR_ID_NOT_FOUND, "ERR_ID_NOT_FOUND"},
    {ERR_INVALID_ARRAY, "ERR_INVALID_ARRAY"},
    {ERR_MAP_FAILED, "ERR_MAP_FAILED"},
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
        case ERR_INVALID_USERNAME:
        case ERR_INVALID_GROUPNAME:
        case ERR_INVALID_SHARENAME:
        case ERR_INVALID_PATH:
        case ERR_INVALID_NETNAME:
        case ERR_INVALID_ARRAY:
        case ERR_DEVICE_BUSY:
            return Exit::kRefused;
        case ERR_LOCK_FAILED:
            return Exit::kLocked;
        case ERR_NOT_ENOUGH_SPACE:
        case ERR_NOT_ENOUGH_VOLUME_SPACE:
        case ERR_NOT_ENOUGH_QUOTA:
        case ERR_TOO_MANY_USERS:
        case ERR_TOO_MANY_GROUPS:
        case ERR_TOO_MANY_SHARES:
            return Exit::kNoSpace;
        default:
            return Exit::kFailed;
    }
}

constexpr CodeText kTexts[] = {
    {ERR_OPEN_FAILED, false, "it is no regular file"},
    {ERR_OUT_OF_MEMORY, false, "out of memory"},
    {ERR_BAD_PARAMETERS, false, "the library refuses it"},
    // A lock that is held says so in fewer words than the system.
    {ERR_LOCK_FAILED, true, "another program holds the lock"},
    {ERR_STORE_INVALID, true, "it is no sound record store"},
    {ERR_STORE_READ_FAILED, false, "a record could not be read"},
    {ERR_FILE_NOT_FOUND, false, "no such file"},
    {ERR_FILE_EXISTS, false, "it is there already"},
    {ERR_KEY_NOT_FOUND, false, "no such key"},
    {ERR_PATH_NOT_FOUND, false, "no such folder"},
    {ERR_NO_SUCH_USER, true, "there is no such user"},
    {ERR_NO_SUCH_GROUP, true, "there is no such group"},
    {ERR_NO_SUCH_SHARE, true, "there is no such share"},
    {ERR_USER_EXISTS, true, "there is a user of that name already"},
    {ERR_GROUP_EXISTS, true, "there is a group of that name already"},
    {ERR_SHARE_EXISTS, true, "there is a share of that name already"},
    {ERR_INVALID_USERNAME, true, "root, admin, guest and the users of a domain stay as they are"},
    {ERR_INVALID_GROUPNAME, true, "the groups of the system and of a domain stay as they are"},
    {ERR_INVALID_SHARENAME, true, "the name is no valid one, or kept for the system"},
    {ERR_TOO_MANY_USERS, true, "maxaccounts in /etc.defaults/morvinfo.conf is reached, or no uid is free"},
    {ERR_TOO_MANY_GROUPS, true, "maxgroups in /etc.defaults/morvinfo.conf is reached, or no gid is free"},
    {ERR_TOO_MANY_SHARES, true, "maxshares in /etc.defaults/morvinfo.conf is reached"},
    {ERR_FORMAT_ERROR, true, "a line of the account files is malformed; pwck and grpck find it"},
    {ERR_INVALID_PATH, true, "the path does not begin with a slash"},
};

const char *code_text(std::span<const CodeText> texts, int code, bool always) {
    for (const CodeText &text : texts) {
        if (text.code == code && (text.always || !always)) return text.text;
    }
    return nullptr;
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

void fail_library(const std::string &what, std::span<const CodeText> texts) {
    const int reason = errno;
    const int code = MLIBErrGet();
    std::string sentence = "cannot " + what;
    const char *text = code_text(texts, code, reason != 0);
    if (!text) text = code_text(kTexts, code, reason != 0);
    if (text) {
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
