#include "library/utilities/text.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "library/utilities/Utils.h"

namespace lumo {
namespace {

// Windows-1252 from 0x80 to 0x9F; the five bytes it leaves undefined are the control characters.
constexpr std::array<std::uint16_t, 32> windows1252 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

unsigned byteAt(std::string_view text, std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
}

void appendUtf8(unsigned code, std::string& out) {
    const auto put = [&out](unsigned byte) { out += static_cast<char>(byte); };
    if (code < 0x80) return put(code);
    if (code < 0x800) {
        put(0xC0 | code >> 6);
    } else {
        put(0xE0 | code >> 12);
        put(0x80 | (code >> 6 & 0x3F));
    }
    put(0x80 | (code & 0x3F));
}

bool IsControl(unsigned byte) { return byte < 0x20 || byte == 0x7F; }

bool IsAscii(std::string_view text) {
    return std::ranges::none_of(text, [](char c) { return (c & '\x80') != 0; });
}

/// Bytes of the control character (or of U+FFFE and U+FFFF, which are no characters) that the valid
/// UTF-8 text starts with; 0 when it starts with another one.
std::size_t ControlLength(std::string_view utf8) {
    const unsigned lead = byteAt(utf8, 0);
    if (IsControl(lead)) return 1;
    if (lead == 0xC2 && byteAt(utf8, 1) < 0xA0) return 2;
    return lead == 0xEF && byteAt(utf8, 1) == 0xBF && byteAt(utf8, 2) >= 0xBE ? 3 : 0;
}

}  // namespace

int Utf8Length(std::string_view text) {
    const unsigned lead = byteAt(text, 0);
    const unsigned second = byteAt(text, 1);
    if (text.empty() || lead < 0x80) return text.empty() ? 0 : 1;
    if (lead < 0xC2 || lead > 0xF4) return 0;
    const int length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    for (int i = 1; i < length; ++i)
        if ((byteAt(text, static_cast<std::size_t>(i)) & 0xC0) != 0x80) return 0;
    const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    const bool noCharacter = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
    return overlong || noCharacter ? 0 : length;
}

std::string_view WithinBytes(std::string_view utf8, std::size_t most) {
    if (utf8.size() <= most) return utf8;
    const std::size_t least =
        most - std::min<std::size_t>(most, 3);  // may follow a character's first
    while (most > least && (byteAt(utf8, most) & 0xC0) == 0x80) --most;
    return utf8.substr(0, most);
}

std::pair<char32_t, std::size_t> CodePoint(std::string_view utf8) {
    const auto lead = static_cast<unsigned char>(utf8[0]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t code = length == 1 ? lead : lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i)
        code = code << 6 | (static_cast<unsigned char>(utf8[i]) & 0x3FU);
    return {code, length};
}

std::string ToUtf8(std::string_view text) {
    if (IsAscii(text)) return std::string(text);  // a tenth of the time
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const int length = Utf8Length(text);
        if (length > 0) {
            out += text.substr(0, static_cast<std::size_t>(length));
        } else {
            const unsigned byte = byteAt(text, 0);
            appendUtf8(byte < 0xA0 ? windows1252[byte - 0x80] : byte, out);
        }
        text.remove_prefix(static_cast<std::size_t>(std::max(length, 1)));
    }
    return out;
}

bool IsHidden(char32_t code) {
    constexpr struct {
        char32_t first, last;
    } ranges[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x61C, 0x61C},   {0x200B, 0x200B},
                  {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F}, {0xFEFF, 0xFEFF}};
    return std::ranges::any_of(
        ranges, [code](const auto& range) { return range.first <= code && code <= range.last; });
}

std::string Visible(std::string_view text) {
    const std::string utf8 = ToUtf8(text);
    std::string out;
    for (std::string_view rest = utf8; !rest.empty();) {
        const auto [code, length] = CodePoint(rest);
        if (IsHidden(code)) {
            out += Format(code < 0x100 ? "\\x%02x" : "\\u%04x", static_cast<unsigned>(code));
        } else {
            out += rest.substr(0, length);
        }
        rest.remove_prefix(length);
    }
    return out;
}

std::string OneLine(std::string_view text) {
    std::string out = ToUtf8(text);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < out.size();) {
        const std::size_t control = ControlLength(std::string_view(out).substr(i));
        out[kept++] = control > 0 ? ' ' : out[i];
        i += std::max<std::size_t>(control, 1);
    }
    out.resize(kept);
    return out;
}

std::string XmlText(std::string_view text) {
    static constexpr std::string_view special = "&<>\"'";
    static constexpr const char* escaped[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&#39;"};
    const auto isPlain = [](char c) {  // nearly all are
        return (c >= '?' && c <= '~') || (c >= '(' && c <= ';') || c == ' ';
    };
    const std::string utf8 = ToUtf8(text);
    if (std::ranges::all_of(utf8, isPlain)) return utf8;
    std::string out;
    out.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const std::string_view rest = std::string_view(utf8).substr(i);
        const std::size_t control = ControlLength(rest);
        if (const std::size_t at = special.find(rest[0]); at != std::string_view::npos) {
            out += escaped[at];
        } else if (control > 0 && rest[0] != '\n' && rest[0] != '\t') {
            out += "\uFFFD";
        } else {
            out += rest[0];
        }
        i += std::max<std::size_t>(control, 1);
    }
    return out;
}

}  // namespace lumo
