#include "core/text/mail_text.h"

#include <nettle/base64.h>
#include <string.h>

#include <algorithm>

#include "core/text/name_rule.h"

namespace morv {

namespace {

bool is_control(char c) noexcept {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

bool is_ascii(char c) noexcept {
    return static_cast<unsigned char>(c) < 0x80;
}

bool begins_character(char c) noexcept {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
}

std::string base64(std::string_view text) {
    std::string encoded(BASE64_ENCODE_RAW_LENGTH(text.size()), '\0');
    base64_encode_raw(encoded.data(), text.size(), reinterpret_cast<const uint8_t *>(text.data()));
    return encoded;
}

// A subject in one header: as it is, or in encoded words of whole characters, of at most 75 bytes each.
void append_subject(std::string &out, std::string_view subject) {
    std::string text(subject);
    std::replace_if(text.begin(), text.end(), is_control, ' ');
    const bool plain = std::all_of(text.begin(), text.end(), is_ascii);
    // One that looks like an encoded word would be shown as what it encodes; a long line would be cut.
    if (plain && text.size() <= 900 && text.find("=?") == text.npos) {
        out.append(text);
        return;
    }
    constexpr size_t kMost = 45;  // 60 in base64, and the frame
    std::string_view left = text;
    for (bool first = true; !left.empty(); first = false) {
        size_t size = std::min(kMost, left.size());
        while (size > kMost - 4 && size < left.size() && !begins_character(left[size]))
            --size;
        out.append(first ? "=?UTF-8?B?" : "\n =?UTF-8?B?").append(base64(left.substr(0, size))).append("?=");
        left.remove_prefix(size);
    }
}

void append_body(std::string &out, std::string_view body) {
    std::string text;
    for (const char c : body) {
        if (c == '\r') continue;
        if (c == '\n') text.push_back('\r');
        text.push_back(c);
    }
    text.append("\r\n");
    constexpr size_t kLine = 57;  // 76 in base64
    for (size_t at = 0; at < text.size(); at += kLine)
        out.append(base64(std::string_view(text).substr(at, kLine))).push_back('\n');
}

}  // namespace

bool is_mail_address(std::string_view text) noexcept {
    if (text.empty() || text.size() > 254 || strchr("-/|", text.front())) return false;
    return std::all_of(text.begin(), text.end(), [](char c) {
        return is_letter_or_digit(c) || (c != '\0' && strchr("!#$%&'*+-/=?^_`{|}~.@", c));
    });
}

std::string mail_text(const Mail &mail) {
    std::string out("To: ");
    out.append(mail.to[0]).append(!mail.to[0].empty() && !mail.to[1].empty() ? ", " : "").append(mail.to[1]);
    if (!mail.from.empty()) out.append("\nFrom: ").append(mail.from);
    out.append("\nSubject: ");
    append_subject(out, mail.subject);
    out.append(
        "\nMIME-Version: 1.0"
        "\nContent-Type: text/plain; charset=UTF-8"
        "\nContent-Transfer-Encoding: base64"
        "\nAuto-Submitted: auto-generated\n\n");
    append_body(out, mail.body);
    return out;
}

}  // namespace morv
