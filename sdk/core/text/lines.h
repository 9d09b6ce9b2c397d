// A text as a sequence of lines. The last line need not end in a line feed.
#pragma once

#include <string_view>

namespace morv {

// The line that starts at `from`, its line feed included; empty at the end of the text.
inline std::string_view line_at(std::string_view text, size_t from) noexcept {
    const size_t feed = text.find('\n', from);
    return text.substr(from, feed == text.npos ? text.npos : feed + 1 - from);
}

// The line around position `at`.
inline std::string_view line_around(std::string_view text, size_t at) noexcept {
    const size_t feed = at == 0 ? text.npos : text.rfind('\n', at - 1);
    return line_at(text, feed == text.npos ? 0 : feed + 1);
}

// The bytes of a line that count for matching: files are text, and a text ends at its first NUL.
inline std::string_view up_to_nul(std::string_view line) noexcept {
    return line.substr(0, line.find('\0'));
}

inline bool is_comment(std::string_view line) noexcept {
    return !line.empty() && (line[0] == '#' || line[0] == ';');
}

inline std::string_view without_line_feed(std::string_view line) noexcept {
    if (!line.empty() && line.back() == '\n') line.remove_suffix(1);
    return line;
}

// Lines of a text in a range-for loop.
class Lines {
  public:
    explicit Lines(std::string_view text) noexcept : text_(text) {}

    class Iterator {
      public:
        explicit Iterator(std::string_view rest) noexcept : rest_(rest), line_(line_at(rest, 0)) {}
        std::string_view operator*() const noexcept { return line_; }
        Iterator &operator++() noexcept {
            rest_.remove_prefix(line_.size());
            line_ = line_at(rest_, 0);
            return *this;
        }
        bool operator!=(const Iterator &) const noexcept { return !line_.empty(); }

      private:
        std::string_view rest_;
        std::string_view line_;
    };

    Iterator begin() const noexcept { return Iterator(text_); }
    Iterator end() const noexcept { return Iterator({}); }

  private:
    std::string_view text_;
};

}  // namespace morv
