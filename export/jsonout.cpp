#include "export/jsonout.h"

namespace lumo {

void JsonOut::quoted(std::string_view utf8) {
    static constexpr char hex[] = "0123456789abcdef";
    static constexpr std::string_view plain = "\"\\\b\f\n\r\t";
    static constexpr std::string_view escaped = "\"\\bfnrt";
    buffer_ += '"';
    const auto escape = [this](unsigned code) {
        buffer_ += "\\u";
        for (const int shift : {12, 8, 4, 0}) buffer_ += hex[code >> shift & 15];
    };
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const char c = utf8[i];
        const auto byte = static_cast<unsigned char>(c);
        if (const std::size_t at = plain.find(c); at != std::string_view::npos) {
            buffer_ += '\\';
            buffer_ += escaped[at];
        } else if (byte < 0x20 || byte == 0x7F || (inMarkup_ && c == '<')) {
            escape(byte);
        } else if (byte < 0x80) {
            buffer_ += c;
        } else {
            const auto [code, length] = CodePoint(utf8.substr(i));
            IsHidden(code) ? escape(code) : void(buffer_.append(utf8, i, length));
            i += length - 1;
        }
    }
    buffer_ += '"';
}

}  // namespace lumo
