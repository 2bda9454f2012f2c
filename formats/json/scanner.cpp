#include "formats/json/scanner.h"

#include <algorithm>
#include <cstring>

#include "formats/shared/readers.h"
#include "library/utilities/numbers.h"

namespace lumo {
namespace {

constexpr std::string_view blanks = " \t\r\n";

/// The code point as UTF-8; a half of a pair is none.
void AppendUtf8(unsigned code, std::string& out) {
    if (code >= 0xD800 && code < 0xE000) code = 0xFFFD;
    const auto byte = [&out](unsigned value) { out += static_cast<char>(value); };
    if (code < 0x80) return byte(code);
    if (code < 0x800) {
        byte(0xC0 | code >> 6);
    } else if (code < 0x10000) {
        byte(0xE0 | code >> 12);
        byte(0x80 | (code >> 6 & 0x3F));
    } else {
        byte(0xF0 | code >> 18);
        byte(0x80 | (code >> 12 & 0x3F));
        byte(0x80 | (code >> 6 & 0x3F));
    }
    byte(0x80 | (code & 0x3F));
}

}  // namespace

JsonScanner::JsonScanner(Parser_CString_kt& in)
    : in_(in), at_(in.getPos()), last_(at_ + in.bytesLeft()) {}

char JsonScanner::peek() {
    while (at_ < last_ && blanks.find(*at_) != blanks.npos) ++at_;
    return at_ < last_ ? *at_ : '\0';
}

void JsonScanner::fail(const char* expected) {
    const char next = peek();
    pointAt(at_);
    if (at_ >= last_) throw in_.report(msg::json.syntax, expected, "the end of the file");
    throw in_.report(msg::json.syntax, expected, CharName(next));
}

void JsonScanner::take(char c, const char* expected) {
    if (peek() != c || at_ >= last_) fail(expected);
    ++at_;
}

bool JsonScanner::more(char close, bool first) {
    if (peek() == close) {
        ++at_;
        return false;
    }
    if (!first) take(',', close == '}' ? "',' or '}'" : "',' or ']'");
    if (peek() == close) fail(close == '}' ? "a key" : "a value");
    return true;
}

bool JsonScanner::takeWord(std::string_view word) {
    peek();
    if (!std::string_view(at_, static_cast<std::size_t>(last_ - at_)).starts_with(word))
        return false;
    at_ += word.size();
    return true;
}

double JsonScanner::number() {
    const char next = peek();
    const char* end = at_;
    double value = 0;
    const bool starts = next == '-' || (next >= '0' && next <= '9');
    if (!starts || ParseNumber(at_, last_, value, end) != NumberEN::ok) fail("a number");
    at_ = end;
    return value;
}

long long JsonScanner::countItems() const {
    constexpr std::ptrdiff_t atHand = 32 << 10;  // of the text, which is gone through twice
    long long commas = 0;
    const char* close = nullptr;
    for (const char* p = at_; p < last_ && close == nullptr;) {
        const std::ptrdiff_t size = std::min(last_ - p, atHand);
        close = static_cast<const char*>(std::memchr(p, ']', static_cast<std::size_t>(size)));
        for (const char* const end = close != nullptr ? close : p + size; p < end;) {
            // Of so many bytes one byte counts them, which compilers do for sixteen at a time.
            const char* const some = p + std::min<std::ptrdiff_t>(end - p, 128);
            unsigned char commasThere = 0;
            for (; p < some; ++p)
                commasThere = static_cast<unsigned char>(commasThere + (*p == ',' ? 1 : 0));
            commas += commasThere;
        }
    }
    return commas + 1;
}

long long JsonScanner::floats(float* out, long long most, ExactNumbers& exact) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto isBlank = [](char c) { return c <= ' ' && blanks.find(c) != blanks.npos; };
    const char* p = at_;
    long long n = 0;
    while (n < most && p < last_ && (isDigit(*p) || *p == '-')) {
        double wide = 0;
        const char* end = p;
        const NumberEN held = ParseFloat(p, last_, out[n], wide, end);
        if (held == NumberEN::more)
            exact.set(out + n, wide);
        else if (held != NumberEN::ok)
            break;
        ++n;
        p = at_ = end;
        while (p < last_ && isBlank(*p)) ++p;
        if (p >= last_ || *p != ',') return n;
        for (++p; p < last_ && isBlank(*p);) ++p;
    }
    if (n > 0 || most == 0) return n;
    const double wide = number();  // which no float holds
    out[0] = static_cast<float>(wide);
    exact.set(out, wide);
    return 1;
}

// ---- Texts ---------------------------------------------------------------------------------

std::string JsonScanner::text() {
    if (peek() != '"') fail("a text");
    const char* const opening = at_++;
    std::string out;
    for (;;) {
        const char* const from = at_;
        at_ = std::find_if(at_, last_,
                           [](char c) { return c == '"' || c == '\\' || c == '\n' || c == '\r'; });
        out.append(from, at_);
        if (at_ >= last_ || *at_ == '\n' || *at_ == '\r') {
            pointAt(opening);
            throw in_.report(msg::json.openText);
        }
        if (*at_++ == '"') return out;
        escape(out);
    }
}

unsigned JsonScanner::hexDigits() {
    constexpr std::string_view digits = "0123456789abcdef";
    unsigned value = 0;
    for (int i = 0; i < 4; ++i, ++at_) {
        const char c = at_ < last_ ? static_cast<char>(*at_ | 0x20) : ' ';
        const std::size_t digit = at_ < last_ && *at_ >= '0' ? digits.find(c) : digits.npos;
        if (digit == digits.npos) fail("four hexadecimal digits");
        value = value * 16 + static_cast<unsigned>(digit);
    }
    return value;
}

void JsonScanner::escape(std::string& out) {
    static constexpr std::string_view written = "\"\\/bfnrt";
    static constexpr std::string_view meant = "\"\\/\b\f\n\r\t";
    const char c = at_ < last_ ? *at_ : '\0';
    if (const std::size_t known = c == 0 ? written.npos : written.find(c); known != written.npos) {
        out += meant[known];
        ++at_;
        return;
    }
    if (c != 'u') fail("an escape");
    ++at_;
    unsigned code = hexDigits();
    const bool isFirst = code >= 0xD800 && code < 0xDC00;
    if (isFirst && last_ - at_ >= 6 && at_[0] == '\\' && at_[1] == 'u') {
        const char* const second = at_;
        at_ += 2;
        const unsigned low = hexDigits();
        if (low >= 0xDC00 && low < 0xE000)
            code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
        else
            at_ = second;
    }
    AppendUtf8(code, out);
}

// ---- Passing over --------------------------------------------------------------------------

void JsonScanner::skip() {
    std::string open;  // the brackets that are
    do {
        const char next = peek();
        if (next == '{' || next == '[') {
            open += next == '{' ? '}' : ']';
            ++at_;
            if (peek() == open.back()) {
                ++at_;
                open.pop_back();
            } else {
                if (open.back() == '}') text(), take(':', "':'");
                continue;
            }
        } else if (next == '"') {
            text();
        } else if (!takeWord("null") && !takeWord("true") && !takeWord("false")) {
            number();
        }
        while (!open.empty() && !more(open.back(), false)) open.pop_back();
        if (!open.empty() && open.back() == '}') text(), take(':', "':'");
    } while (!open.empty());
}

}  // namespace lumo
