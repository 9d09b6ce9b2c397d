// The text of a mail. What is put into it is only ever text: no value begins a header or a line of one.
#pragma once

#include <string>
#include <string_view>

namespace morv {

// Whether a text can be handed on as the address of a mailbox: of the characters that need no quotes, and
// nothing that a mail program takes for an option, a file or a program.
bool is_mail_address(std::string_view text) noexcept;

// Replaces the words of a template: `value_of` answers what stands for "%NAME%", or null. Values are not
// looked through again.
template <class F>
std::string replace_words(std::string_view text, F value_of) {
    std::string result;
    while (!text.empty()) {
        const size_t begin = text.find('%');
        const size_t end = begin == text.npos ? begin : text.find('%', begin + 1);
        result.append(text.substr(0, begin));
        if (begin == text.npos) break;
        const std::string word(end == text.npos ? "" : text.substr(begin, end + 1 - begin));
        const char *const value = word.empty() ? nullptr : value_of(word.c_str());
        result.append(value ? value : "%");
        text.remove_prefix(value ? end + 1 : begin + 1);
    }
    return result;
}

struct Mail {
    std::string_view from;   // "": as the mail program has it
    std::string_view to[2];  // "": none
    std::string_view subject;
    std::string_view body;  // UTF-8, lines end with line feeds
};

// The mail with its headers, as "sendmail -t" reads it. May throw std::bad_alloc.
std::string mail_text(const Mail &mail);

}  // namespace morv
