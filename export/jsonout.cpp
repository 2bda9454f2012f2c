#include "export/jsonout.h"

namespace lumo {

void JsonOut::quoted(std::string_view utf8) {
    static constexpr char hex[] = "0123456789abcdef";
    static constexpr std::string_view plain = "\"\\\b\f\n\r\t";
    static constexpr std::string_view escaped = "\"\\bfnrt";
    buffer_ += '"';
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (const std::size_t at = plain.find(c); at != std::string_view::npos) {
            buffer_ += '\\';
            buffer_ += escaped[at];
        } else if (byte < 0x20 || byte == 0x7F || (inMarkup_ && c == '<')) {
            buffer_ += "\\u00";
            buffer_ += hex[byte >> 4];
            buffer_ += hex[byte & 15];
        } else {
            buffer_ += c;
        }
    }
    buffer_ += '"';
}

}  // namespace lumo
