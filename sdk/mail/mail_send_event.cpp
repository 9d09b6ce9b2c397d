#include <morvsdk/mail.h>
#include <string.h>

#include <algorithm>
#include <string>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/file_text.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/text/key_lines.h"
#include "core/text/lines.h"
#include "core/text/mail_text.h"
#include "core/text/name_rule.h"
#include "core/text/sections.h"
#include "core/text/trim.h"

using namespace morv;

namespace {

constexpr char kConfiguration[] = "/etc/morvinfo.conf";
constexpr char kTexts[] = "/usr/morv/morvsdk/texts/";
constexpr char kDefaultLanguage[] = "enu";

struct Settings {
    std::string language, from, to[2];
};

// Addresses that cannot be used are passed over: the others are to get their mail.
std::string address_of(std::string_view text, const char *key) {
    std::string address(find_key_value(text, key));
    if (address.empty() || is_mail_address(address)) return address;
    MORV_LOG(LOG_ERR, "no mail address in [%s]", key);
    return "";
}

int read_settings(Settings &settings) {
    FileText file;
    const int code = file.load(SysPath(kConfiguration).c_str());
    if (code == ERR_OPEN_FAILED) return ERR_KEY_NOT_FOUND;
    if (code != 0) return code;
    settings.language = find_key_value(file.view(), "mail_language");
    settings.from = address_of(file.view(), "mail_from");
    settings.to[0] = address_of(file.view(), "mail_to1");
    settings.to[1] = address_of(file.view(), "mail_to2");
    if (settings.to[0] == settings.to[1]) settings.to[1].clear();
    if (settings.language.empty()) settings.language = kDefaultLanguage;
    if (!is_plain_word(settings.language)) return ERR_BAD_PARAMETERS;
    return settings.to[0].empty() && settings.to[1].empty() ? ERR_KEY_NOT_FOUND : 0;
}

struct Template {
    std::string subject, body;
};

int read_template(const std::string &language, const char *event, Template &found) {
    FileText file;
    const int code = file.load(SysPath((kTexts + language + "/mail_templates").c_str()).c_str());
    if (code == ERR_OPEN_FAILED) return ERR_SECTION_NOT_FOUND;
    if (code != 0) return code;
    const std::string_view opening = find_section_line(file.view(), event);
    if (opening.empty()) return ERR_SECTION_NOT_FOUND;
    const std::string_view section = section_body(file.view(), opening);
    found.subject = find_key_value(section, "subject");
    found.body = find_key_value(section, "body");
    for (size_t at = 0; (at = found.body.find("\\n", at)) != std::string::npos; ++at)
        found.body.replace(at, 2, "\n");
    return 0;
}

int send_event(const char *event, const MLIBSZHASH *hash) {
    Settings settings;
    Template text;
    if (int code = read_settings(settings)) return code;
    int code = read_template(settings.language, event, text);
    if (code == ERR_SECTION_NOT_FOUND) code = read_template(kDefaultLanguage, event, text);
    if (code != 0) return code;

    const auto value = [hash](const char *word) { return SzMLIBSzHashGetValue(hash, word); };
    const std::string subject = replace_words(text.subject, value), body = replace_words(text.body, value);
    return feed_tool(mail_text({.from = settings.from,
                                .to = {settings.to[0], settings.to[1]},
                                .subject = subject,
                                .body = body}),
                     "/usr/sbin/sendmail -t", {});
}

}  // namespace

extern "C" int MORVMailSendEvent(const char *event, const MLIBSZHASH *hash) noexcept {
    if (!event || !is_plain_word(event)) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] { return send_event(event, hash); });
    if (code != 0)
        return MORV_LOG_FAIL(LOG_ERR, code, -1, "cannot send the mail of [%s], morverr=[0x%04X]", event,
                             unsigned(code));
    return 0;
}
