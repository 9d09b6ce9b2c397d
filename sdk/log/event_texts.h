// Events as text: their fields, the sentences of a language, and the lines of a log.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>

namespace morv {

// A record taken apart.
struct EventFields {
    uint16_t type;
    uint32_t time;
    uint32_t event;
    std::string_view program, user, arguments[4];
};

// Takes a record apart, given without its length field. Answers false when its texts do not fit into it.
bool parse_event(std::string_view record, EventFields &event) noexcept;

// The text of an event with its placeholders: "" when there is none, null on lack of memory. Read once, and kept
// until forget_event_texts, whatever the language of later calls.
const char *find_event_text(uint32_t event, const char *language) noexcept;
void forget_event_texts() noexcept;

// Appends a text with "@1" to "@4" replaced by those of the arguments that are not empty.
enum class Bytes {
    kAsTheyAre,
    kOfOneLine  // control characters, with which a line would not be one, become blanks
};
void append_sentence(std::string &out, std::string_view text, const std::string_view (&arguments)[4],
                     Bytes bytes);

// The name of a type, read from its file.
using TypeText = char[12];
void find_type_text(uint8_t type, const char *language, TypeText &text) noexcept;

// Local times as "2008/02/29 13:37:00"; the zone is that of the construction.
class TimeText {
  public:
    TimeText() noexcept;
    const char *of(int64_t time) noexcept;

  private:
    bool find_offset(int64_t time) noexcept;

    // From one full hour to the next the zone is asked once.
    int64_t hour_ = INT64_MIN;
    int64_t offset_ = 0;
    int64_t day_ = INT64_MIN;  // that of the date in the text
    char text_[48];
};

// Writes the lines of a log.
class EventLines {
  public:
    explicit EventLines(const char *language) noexcept : language_(language) {}

    // Appends the line of an event; nothing for one without a text, which is told in the system log.
    void append(const EventFields &event, std::string &out);

  private:
    const char *language_;
    TimeText time_;
    // Events of one kind follow each other.
    uint32_t event_ = 0;
    std::string text_;
    bool has_type_[4] = {};
    TypeText types_[4];
};

}  // namespace morv
