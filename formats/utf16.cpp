#include "formats/utf16.h"

namespace lumo {
namespace {

using namespace std::string_view_literals;
constexpr char32_t replacement = 0xFFFD;

void AppendUtf8(std::string& out, char32_t c) {
    const auto add = [&out](char32_t byte) { out += static_cast<char>(byte); };
    if (c < 0x80) return add(c);
    if (c < 0x800) {
        add(0xC0 | c >> 6);
    } else if (c < 0x10000) {
        add(0xE0 | c >> 12);
        add(0x80 | (c >> 6 & 0x3F));
    } else {
        add(0xF0 | c >> 18);
        add(0x80 | (c >> 12 & 0x3F));
        add(0x80 | (c >> 6 & 0x3F));
    }
    add(0x80 | (c & 0x3F));
}

bool IsHigh(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLow(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

bool IsUtf16(std::string_view bytes) {
    return (bytes.starts_with("\xFF\xFE"sv) && !bytes.starts_with("\xFF\xFE\0\0"sv)) ||
           bytes.starts_with("\xFE\xFF"sv);
}

std::string FromUtf16(std::string_view bytes) {
    const std::size_t low = bytes.starts_with("\xFF\xFE"sv) ? 0 : 1;
    const auto unit = [&](std::size_t at) -> char32_t {
        const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
        return static_cast<char32_t>(byte(at + low) | byte(at + 1 - low) << 8);
    };
    std::string out;
    out.reserve(bytes.size() / 2);
    std::size_t at = 2;
    for (; at + 1 < bytes.size(); at += 2) {
        const char32_t first = unit(at);
        if (IsHigh(first) && at + 3 < bytes.size() && IsLow(unit(at + 2))) {
            at += 2;
            AppendUtf8(out, 0x10000 + ((first - 0xD800) << 10) + (unit(at) - 0xDC00));
        } else {
            AppendUtf8(out, IsHigh(first) || IsLow(first) ? replacement : first);
        }
    }
    if (at < bytes.size()) AppendUtf8(out, replacement);
    return out;
}

}  // namespace lumo
