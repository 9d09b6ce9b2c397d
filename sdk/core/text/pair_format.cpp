#include "core/text/pair_format.h"

#include <limits.h>
#include <string.h>

#include <iterator>
#include <optional>

#include "core/base/no_throw.h"

namespace morv {

namespace {

struct Conversion {
    bool left = false;
    size_t width = 0;
    size_t precision = std::string_view::npos;

    void append_to(std::string &out, std::string_view text) const {
        text = text.substr(0, precision);
        const size_t padding = width > text.size() ? width - text.size() : 0;
        if (!left) out.append(padding, ' ');
        out.append(text);
        if (left) out.append(padding, ' ');
    }
};

// Reads digits, none standing for 0; nothing beyond what printf takes.
bool read_number(const char *&at, size_t &number) noexcept {
    number = 0;
    for (; *at >= '0' && *at <= '9'; ++at) {
        number = number * 10 + size_t(*at - '0');
        if (number > INT_MAX) return false;
    }
    return true;
}

// Reads a string conversion behind its "%", and moves `at` behind it.
std::optional<Conversion> read_conversion(const char *&at) noexcept {
    Conversion conversion;
    for (; *at && strchr("-+ #0'", *at); ++at)
        conversion.left |= *at == '-';
    if (!read_number(at, conversion.width)) return std::nullopt;
    if (*at == '.' && !read_number(++at, conversion.precision)) return std::nullopt;
    if (*at != 's') return std::nullopt;
    ++at;
    return conversion;
}

int expand(std::string &out, const char *format, std::string_view key, std::string_view value) {
    const std::string_view arguments[] = {key, value};
    size_t used = 0;
    for (const char *at = format; *at;) {
        const char *const percent = strchrnul(at, '%');
        out.append(at, percent);
        if (!*percent) break;
        at = percent + 1;
        if (*at == '%') {
            out += *at++;
            continue;
        }
        const std::optional<Conversion> conversion = read_conversion(at);
        if (!conversion || used == std::size(arguments)) return ERR_BAD_PARAMETERS;
        conversion->append_to(out, arguments[used++]);
    }
    return 0;
}

}  // namespace

bool is_pair_format(const char *format) noexcept {
    if (!format) return true;
    for (const char *part : {"%s", "=", "%s", "\n"}) {
        format = strstr(format, part);
        if (!format) return false;
        format += strlen(part);
    }
    return true;
}

int append_pair(std::string &out, const char *format, std::string_view key, std::string_view value) noexcept {
    const size_t before = out.size();
    const int code = no_throw([&] {
        if (format && strcmp(format, kPairFormat) != 0) return expand(out, format, key, value);
        // Spares the callers that write many pairs one growth of the string per piece.
        out.reserve(before + key.size() + value.size() + 2);
        out.append(key).append(1, '=').append(value).append(1, '\n');
        return 0;
    });
    if (code != 0) out.resize(before);
    return code;
}

}  // namespace morv
