#include "string/string_edit.h"

#include <string.h>

#include <functional>

namespace morv {

MallocPtr<char> copy_text(std::string_view text) noexcept {
    MallocPtr<char> copy(static_cast<char *>(malloc(text.size() + 1)));
    if (!copy) return nullptr;
    memcpy(copy.get(), text.data(), text.size());
    copy.get()[text.size()] = '\0';
    return copy;
}

void splice(char *dst, std::string_view string, size_t at, size_t cut, std::string_view text) noexcept {
    const char *const tail = string.data() + at + cut;
    const size_t tail_length = string.size() - at - cut;
    char *const tail_dst = dst + at + text.size();
    // Head and tail each in the order that leaves the other one's source alone.
    if (std::less<>()(static_cast<const char *>(dst), string.data())) {
        memmove(dst, string.data(), at);
        memmove(tail_dst, tail, tail_length);
    } else {
        memmove(tail_dst, tail, tail_length);
        memmove(dst, string.data(), at);
    }
    memcpy(dst + at, text.data(), text.size());
    tail_dst[tail_length] = '\0';
}

}  // namespace morv
