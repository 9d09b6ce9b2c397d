#include "core/account/share_keys.h"

#include <morvsdk/error.h>

#include "core/account/named_lines.h"
#include "core/account/share_rights.h"
#include "core/base/log.h"
#include "core/text/case.h"
#include "core/text/trim.h"

namespace morv {

namespace {

// Heads a list of those who alone may come in, so that it never becomes empty: it would then let everybody
// in.
constexpr std::string_view kNobody = "nobody";
constexpr std::string_view kEverybodyItem = "@USERS";

std::string_view text_of(const char *text) noexcept {
    return text ? std::string_view(text) : std::string_view();
}

// The access of everybody by the lists; 0 when they say nothing about it.
int access_by(std::string_view invalid_users, std::string_view write_list, std::string_view read_list) {
    if (names_everybody(invalid_users)) return MORV_SHARE_NO_ACCESS;
    if (names_everybody(write_list)) return MORV_SHARE_READ_WRITE;
    return names_everybody(read_list) ? int{MORV_SHARE_READ_ONLY} : 0;
}

int access_by(const MORVSHARE &share) {
    return access_by(text_of(share.szInvalidUsers), text_of(share.szWriteList), text_of(share.szReadList));
}

void remove_everybody(std::string &list) {
    std::string rest;
    if (edit_list(list, kEverybodyItem, {}, rest)) list.swap(rest);
}

const char *value_of(const MLIBSZHASH *keys, const char *key) noexcept {
    const char *const value = keys ? SzMLIBSzHashGetValue(keys, key) : nullptr;
    return value ? value : "";
}

std::string_view yes_or_no(bool yes) noexcept {
    return yes ? "yes" : "no";
}

// Collects what a section does not say yet.
class EditList {
  public:
    EditList(KeyEdits &edits, const MLIBSZHASH *keys) noexcept : edits_(edits), keys_(keys) {}

    void say(const char *key, std::string_view value) {
        const char *const there = keys_ ? SzMLIBSzHashGetValue(keys_, key) : nullptr;
        if (!there ? !value.empty() : value != there) edits_.set(key, conf_value(value));
    }

    // What contradicts it under another spelling goes, also when the key says it already.
    void say_switch(const char *key, bool yes) {
        if (ascii_equal(there(key), yes_or_no(yes)))
            edits_.keep(key);
        else
            edits_.set(key, std::string(yes_or_no(yes)));
    }

    void say_list(const char *key, const std::string &list) {
        const char *const there = keys_ ? SzMLIBSzHashGetValue(keys_, key) : nullptr;
        const std::string value = conf_list(list);
        if (!there ? !value.empty() : trim(value) != there) edits_.set(key, value);
    }

    const char *there(const char *key) const noexcept { return value_of(keys_, key); }

  private:
    KeyEdits &edits_;
    const MLIBSZHASH *keys_;
};

// The switches that other readers go by.
void say_access(EditList &section, const SettledShare &wanted, bool by_lists) {
    const bool is_open = wanted.access != MORV_SHARE_NO_ACCESS;
    const bool is_writable = wanted.access == MORV_SHARE_READ_WRITE;
    if (!by_lists) {
        section.say_switch("guest ok", is_open);
        section.say_switch("writeable", is_writable);
        return;
    }
    // Guests are in no list: they keep what they may do if everybody may do that.
    section.say_switch("guest ok", is_open && ascii_equal(section.there("guest ok"), "yes"));
    section.say_switch("writeable", is_writable && ascii_equal(section.there("writeable"), "yes"));
}

}  // namespace

MORVSHARE SettledShare::record() const noexcept {
    MORVSHARE share = {};
    share.szName = const_cast<char *>(name.c_str());
    share.szComment = const_cast<char *>(comment.c_str());
    share.szPath = const_cast<char *>(path.c_str());
    share.szInvalidUsers = const_cast<char *>(invalid_users.c_str());
    share.szWriteList = const_cast<char *>(write_list.c_str());
    share.szReadList = const_cast<char *>(read_list.c_str());
    share.accessType = access;
    share.browseable = browseable;
    share.ftpFlags = ftp;
    return share;
}

int SettledShare::take(const MORVSHARE &share, const MORVSHARE *old, const Accounts &accounts) {
    name = text_of(share.szName);
    comment = text_of(share.szComment);
    path = text_of(share.szPath);
    const bool is_type =
        share.accessType == MORV_SHARE_READ_WRITE || share.accessType == MORV_SHARE_NO_ACCESS;
    access = is_type ? share.accessType : int{MORV_SHARE_READ_ONLY};
    browseable = share.browseable != 0;
    ftp = share.ftpFlags & 7;
    const struct {
        const char *from;
        std::string &to;
    } lists[] = {{share.szInvalidUsers, invalid_users},
                 {share.szWriteList, write_list},
                 {share.szReadList, read_list}};
    for (const auto &[from, to] : lists) {
        int count;
        to.clear();
        if (const int code = accounts.normalise(text_of(from), to, &count)) return code;
    }

    const int by_lists = access_by(invalid_users, write_list, read_list);
    if (by_lists == 0 || by_lists == access) return 0;
    const bool only_access_changes = old && access != old->accessType && by_lists == access_by(*old);
    if (!only_access_changes) {
        access = by_lists;
        return 0;
    }
    remove_everybody(write_list);
    remove_everybody(read_list);
    remove_everybody(invalid_users);
    // Those who are in no list stay out: the others would be let in with guests.
    if (access == MORV_SHARE_NO_ACCESS) return 0;
    std::string &list = access == MORV_SHARE_READ_WRITE ? write_list : read_list;
    if (!list.empty()) list.push_back(',');
    list.append("@users");
    std::string again;
    int count;
    if (const int code = accounts.normalise(list, again, &count)) return code;
    list.swap(again);
    return 0;
}

bool SettledShare::equals(const MORVSHARE &share) const noexcept {
    return name == text_of(share.szName) && comment == text_of(share.szComment) &&
           path == text_of(share.szPath) && invalid_users == text_of(share.szInvalidUsers) &&
           write_list == text_of(share.szWriteList) && read_list == text_of(share.szReadList) &&
           access == share.accessType && browseable == share.browseable && ftp == share.ftpFlags;
}

KeyEdits edits_of(const MORVSHARE *old, const SettledShare &wanted, const MLIBSZHASH *keys) {
    KeyEdits edits;
    EditList section(edits, keys);
    const auto differs = [&](char *MORVSHARE::*text, const std::string &value) {
        return !old || value != text_of(old->*text);
    };
    if (differs(&MORVSHARE::szComment, wanted.comment)) section.say("comment", wanted.comment);
    if (differs(&MORVSHARE::szPath, wanted.path)) section.say("path", wanted.path);
    if (!old || old->browseable != wanted.browseable)
        section.say_switch("browseable", wanted.browseable != 0);

    const int by_lists = access_by(wanted.invalid_users, wanted.write_list, wanted.read_list);
    const bool changes_access = !old || old->accessType != wanted.access || access_by(*old) != by_lists;
    bool changes_lists = false;
    if (changes_access) say_access(section, wanted, by_lists != 0);
    const struct {
        const char *key;
        char *MORVSHARE::*text;
        const std::string &value;
    } lists[] = {{"invalid users", &MORVSHARE::szInvalidUsers, wanted.invalid_users},
                 {"write list", &MORVSHARE::szWriteList, wanted.write_list},
                 {"read list", &MORVSHARE::szReadList, wanted.read_list}};
    for (const auto &list : lists) {
        if (!differs(list.text, list.value)) continue;
        changes_lists = true;
        section.say_list(list.key, list.value);
    }

    // No switch keeps everybody out and lets those of the lists in.
    static constexpr char kOnly[] = "valid users";
    if (wanted.access == MORV_SHARE_NO_ACCESS && by_lists == 0) {
        std::string only(kNobody);
        for (const std::string &list : {wanted.write_list, wanted.read_list}) {
            if (!list.empty()) only.append(",").append(list);
        }
        if (changes_access || changes_lists) section.say_list(kOnly, only);
    } else if (changes_access) {
        Items items(section.there(kOnly));
        if (items.next() && items.item == kNobody) edits.drop(kOnly);
    }

    const struct {
        const char *key;
        int flag;
    } flags[] = {{"ftp disable list", MORV_SHARE_FTP_NO_LIST},
                 {"ftp disable modify", MORV_SHARE_FTP_NO_MODIFY},
                 {"ftp disable download", MORV_SHARE_FTP_NO_DOWNLOAD}};
    for (const auto &flag : flags) {
        const bool is_set = (wanted.ftp & flag.flag) != 0;
        if (old && is_set == ((old->ftpFlags & flag.flag) != 0)) continue;
        if (is_set || *section.there(flag.key)) section.say_switch(flag.key, is_set);
    }
    return edits;
}

}  // namespace morv
