// What a process that works on a file hands over to the one that tells of it: fields one after the
// other, each with a zero byte behind it.
#pragma once

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

namespace lumo::app {

inline void Put(std::string& text, std::string_view field) {
    for (const char c : field) text += c == '\0' ? ' ' : c;
    text += '\0';
}
inline void Put(std::string& text, long long number) { Put(text, std::to_string(number)); }

class Fields {
public:
    explicit Fields(std::string_view text) : left_(text) {}

    void get(std::string& field) {
        const std::size_t end = std::min(left_.find('\0'), left_.size());
        field = left_.substr(0, end);
        left_.remove_prefix(std::min(end + 1, left_.size()));
    }
    template <class NUMBER>
    void get(NUMBER& number) {
        std::string field;
        get(field);
        std::from_chars(field.data(), field.data() + field.size(), number);
    }

private:
    std::string_view left_;
};

}  // namespace lumo::app
