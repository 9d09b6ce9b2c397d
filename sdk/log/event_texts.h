// Events as text: their fields, the sentences of a language, and the lines of a log.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

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

// A text taken apart at its placeholders: what stands as it is, and which argument comes behind it (-1: none). An
// argument that is empty leaves its placeholder standing.
struct Piece {
    std::string_view literal;
    int argument;
};
void split_text(std::string_view text, std::vector<Piece> &pieces);

// Calls `put` with the parts of the sentence.
template <class Put>
void for_each_part(const std::vector<Piece> &pieces, const std::string_view (&arguments)[4], Put put) {
    static constexpr std::string_view kPlaceholders[] = {"@1", "@2", "@3", "@4"};
    for (const Piece &piece : pieces) {
        put(piece.literal);
        if (piece.argument < 0) continue;
        const std::string_view argument = arguments[piece.argument];
        put(argument.empty() ? kPlaceholders[piece.argument] : argument);
    }
}

// The name of a type, read from its file.
using TypeText = char[12];
void find_type_text(uint8_t type, const char *language, TypeText &text) noexcept;

// Local times as "2008/02/29 13:37:00"; the zone is that of the construction.
class TimeText {
  public:
    TimeText() noexcept;
    std::string_view of(int64_t time) noexcept;

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

    // Appends the line of an event; nothing for one without a text, which is told in the system log. Control
    // characters, with which a line would not be one, become blanks.
    void append(const EventFields &event, std::string &out);

  private:
    bool find_text(const EventFields &event);
    std::string_view type_text(uint8_t type) noexcept;

    const char *language_;
    TimeText time_;
    // Events of one kind follow each other.
    uint32_t event_ = 0;
    std::string text_;
    std::vector<Piece> pieces_;
    bool has_type_[4] = {};
    TypeText types_[4];
};

}  // namespace morv
