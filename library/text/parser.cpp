// The tokenizer over a text in memory: characters, words, strings, numbers, places.
#include "library/text/parser.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>
#include <limits>

#include "library/text/messages.h"
#include "library/text/state.h"
#include "library/text/tokens.h"
#include "library/utilities/numbers.h"

namespace lumo {

namespace {

constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view WhiteSpace = " \t\n\v\f\r";
constexpr std::string_view NumberStarts = "0123456789+-.";
constexpr std::string_view ListClosers = ",)]}";  // end a number of a list, whatever the table says

short* NewTable() {
    short* const table = new short[CharPropCount]();
    for (const char c : WhiteSpace) table[static_cast<unsigned char>(c)] = CharPropSpace;
    for (int c = '0'; c <= '9'; ++c) table[c] = CharPropDigit;
    for (int c = 'a'; c <= 'z'; ++c) table[c] = CharPropLetter;
    for (int c = 'A'; c <= 'Z'; ++c) table[c] = CharPropLetter;
    return table;
}

void CopyWord(std::string_view word, char* out, int size) {
    const std::size_t n = std::min(word.size(), static_cast<std::size_t>(std::max(size, 0)));
    std::copy_n(word.data(), n, out);
    out[n] = 0;
}

bool Parse(const char* first, const char* last, double& value, const char*& end, ExactNumbers&) {
    return ParseNumber(first, last, value, end) == NumberEN::ok;
}

bool Parse(const char* first, const char* last, float& value, const char*& end,
           ExactNumbers& exact) {
    double wide = 0;
    const NumberEN result = ParseFloat(first, last, value, wide, end);
    if (result == NumberEN::ok) [[likely]]
        return true;
    if (result == NumberEN::more) exact.set(&value, wide);
    return result == NumberEN::more;
}

bool Parse(const char* first, const char* last, int& value, const char*& end, ExactNumbers&) {
    return ParseInteger(first, last, value, end) == NumberEN::ok;
}

/// The byte that the three octal digits at p spell; -1 when there are none such.
int OctalByte(const char* p) {
    int value = 0;
    for (int i = 0; i < 3; ++i) {
        if (p[i] < '0' || p[i] > '7') return -1;
        value = value * 8 + (p[i] - '0');
    }
    return value <= 255 ? value : -1;
}

/// Past the reference to a white-space character at p ("&#13;", "&#xA;"); null when there is none.
const char* PastWhiteReference(const char* p, const char* last) {
    constexpr std::ptrdiff_t longest = 8;
    if (p[1] != '#') return nullptr;
    const bool hexadecimal = p[2] == 'x';
    const char* const digits = p + (hexadecimal ? 3 : 2);
    int code = 0;
    const auto [end, error] = std::from_chars(digits, digits + std::min(longest, last - digits),
                                              code, hexadecimal ? 16 : 10);
    const bool white = code == '\t' || code == '\n' || code == '\r' || code == ' ';
    return error == std::errc() && white && *end == ';' ? end + 1 : nullptr;
}

/// Decodes the escape at p, which points at a backslash, and returns the place after it.
const char* AppendEscape(const char* p, strin_kt& out) {
    switch (p[1]) {
        case '"':
        case '\\':
            out.append(p[1]);
            return p + 2;
        case 'n':
            out.append('\n');
            return p + 2;
        case 't':
            out.append('\t');
            return p + 2;
        case 'r':
            out.append('\r');
            return p + 2;
        default:
            break;
    }
    const int byte = OctalByte(p + 1);
    out.append(byte < 0 ? '\\' : static_cast<char>(byte));
    return byte < 0 ? p + 1 : p + 4;
}

}  // namespace

// ---- Character tables ----------------------------------------------------------------------

short* MakeStdCharProps_kt() { return NewTable(); }

short* MakeXMLCharProps() {
    short* const table = NewTable();
    SetCharProp_kt("<>=/?!\"'", CharPropPunct, table);
    SetCharProp_kt("&", CharPropComment, table);
    return table;
}

void SetCharProp_kt(const char* characters, CharPropBitsEN bits, short* table) {
    for (; *characters != 0; ++characters) {
        short& entry = table[static_cast<unsigned char>(*characters)];
        entry = static_cast<short>(entry | bits);
    }
}

// ---- The channel ---------------------------------------------------------------------------

InChannel_CString_kt::InChannel_CString_kt(const char* text, const char* shownName)
    : position(text), start(text) {
    if (Is16Bit_kt(text)) throw MakeUnicodeError_kt(-4136, text);
    if (shownName == nullptr) return;
    wholeName = shownName;
    CopyWord(wholeName, fileName, fileNameSize - 1);
}

Parser_kt* InChannel_CString_kt::makeParser(const ParserOptions_kt* options) {
    return new Parser_CString_kt(options, *this);
}

rept_kt* InChannel_CString_kt::readInt(int* out) {
    const char* p = position + std::strspn(position, WhiteSpace.data());
    const char* const token = p;
    p += std::strcspn(p, " \t\n\v\f\r/");
    int value = 0;
    const char* after = nullptr;
    // Without a report of its own: the caller has a better message for what the file is not.
    if (ParseInteger(token, p, value, after) != NumberEN::ok || after != p) return Fail_rept_kt;
    *out = value;
    position = p;
    return Okay_rept_kt;
}

// ---- Life ----------------------------------------------------------------------------------

Parser_CString_kt::Parser_CString_kt(const ParserOptions_kt* with, const InChannel_CString_kt& from)
    : channel(from) {
    options = with;
    const bool atMark =
        channel.position == channel.start && StartsWith(channel.start, ByteOrderMark);
    if (atMark) channel.position += ByteOrderMark.size();
    end_ = channel.end != nullptr ? channel.end : channel.position + std::strlen(channel.position);
    tokenStart_ = solidStart_ = channel.position;
    state_ = std::make_unique<State>(atMark ? channel.position : channel.start);
    classifyBytes();
}

void Parser_CString_kt::classifyBytes() {
    for (int c = 0; c < CharPropCount; ++c) {
        const int properties = options->charProps[c];
        const auto in = [&](int bit, ByteClassEN which) {
            return (properties & bit) != 0 ? which : 0;
        };
        bytes_[c] = static_cast<unsigned char>(
            in(CharPropSpace, ByteSpace) | in(CharPropPunct, BytePunct) |
            in(CharPropComment, ByteComment) | in(CharPropLetter, ByteLetter));
    }
    bytes_[0] |= ByteEnd;
    for (const char c : ListClosers) bytes_[static_cast<unsigned char>(c)] |= ByteListCloser;
    for (const char c : NumberStarts) bytes_[static_cast<unsigned char>(c)] |= ByteNumber;
    if (options->xmlComments) bytes_[unsigned{'<'}] |= ByteComment;
}

Parser_CString_kt::~Parser_CString_kt() = default;

void DeleteParser(Parser_kt* parser) { delete static_cast<Parser_CString_kt*>(parser); }

// ---- Scanning ------------------------------------------------------------------------------

const char* Parser_CString_kt::State::pastCloser(CloserEN which, const char* from,
                                                 const char* end) {
    constexpr std::string_view closers[CloserCount] = {"*/", "-->", "]]>", "?>"};
    if (noCloser[which] != nullptr && from >= noCloser[which]) return nullptr;
    const std::string_view rest(from, static_cast<std::size_t>(end - from));
    const std::size_t at = rest.find(closers[which]);
    if (at != std::string_view::npos) return from + at + closers[which].size();
    noCloser[which] = from;
    return nullptr;
}

bool Parser_CString_kt::startsComment(const char* p) const {
    if (options->xmlComments && *p == '<') return StartsWith(p, "<!--");
    if (options->xmlText && *p == '&') return PastWhiteReference(p, end_) != nullptr;
    if ((options->charProps[static_cast<unsigned char>(*p)] & CharPropComment) == 0) return false;
    const char first = options->commentChar1;
    if (options->commentMode != 2) return *p == first && first != 0;
    if (p[0] == '/' && p[1] == '*') return true;
    return first != 0 && options->commentChar2 != 0 && p[0] == first &&
           p[1] == options->commentChar2;
}

const char* Parser_CString_kt::pastComment(const char* p) {
    if (options->xmlText && *p == '&') return PastWhiteReference(p, end_);
    const bool xml = *p == '<';
    const bool block = xml || (options->commentMode == 2 && p[1] == '*');
    if (!block) return p + std::strcspn(p, "\r\n");
    const char* const past = xml ? state_->pastCloser(CloseXMLComment, p + 4, end_)
                                 : state_->pastCloser(CloseComment, p + 2, end_);
    if (past != nullptr) {
        lookThroughComment(p, past);
        return past;
    }
    if (state_->commentWarned == nullptr) {
        state_->commentWarned = p;
        const char* const saved = std::exchange(tokenStart_, p);
        report(msg::text.unterminatedComment);
        tokenStart_ = saved;
    }
    return end_;
}

/// Warns when the comment from p on holds the start of another on a later line: it may have lost
/// its end.
void Parser_CString_kt::lookThroughComment(const char* p, const char* past) {
    if (p < state_->commentsUpTo) return;
    state_->commentsUpTo = past;
    const std::string_view opener = *p == '<' ? "<!--" : "/*";
    const std::string_view text(p + opener.size(), static_cast<std::size_t>(past - p) - 4);
    const std::size_t line = text.find_first_of("\r\n");
    if (line == text.npos || text.find(opener, line) == text.npos) return;
    const char* const saved = std::exchange(tokenStart_, p);
    report(msg::text.commentInComment);
    tokenStart_ = saved;
}

/// From the start of a comment, past it and all white space and comments behind it.
const char* Parser_CString_kt::pastComments(const char* p) {
    while (p < end_ && commentAt(p)) {
        p = pastComment(p);
        while (is(p, ByteSpace)) ++p;
    }
    return p;
}

/// The quote that ends the string whose text starts at p; null when there is none.
const char* Parser_CString_kt::closingQuote(const char* p) const {
    if (state_->noQuote != nullptr && p >= state_->noQuote) return nullptr;
    const char* const from = p;
    while (p < end_ && *p != '"') p += *p == '\\' && p + 1 < end_ ? 2 : 1;
    if (p < end_) return p;
    state_->noQuote = from;
    return nullptr;
}

// ---- Characters ----------------------------------------------------------------------------

// A character put back is no longer the token read last.
void Parser_CString_kt::backUp(int n) {
    channel.position -= std::min<std::ptrdiff_t>(n, channel.position - channel.start);
    if (tokenStart_ >= channel.position) tokenStart_ = solidStart_;
}

// ---- Words and strings ---------------------------------------------------------------------

std::string_view Parser_CString_kt::takeName(int size) {
    const std::string_view word = takeWord();
    const auto most = static_cast<std::size_t>(size);
    if (word.size() <= most) return word;
    constexpr int sizeOfNames = 255;  // shorter: keywords, which are unknown when they are cut
    if (size >= sizeOfNames)
        report(msg::text.textCut, static_cast<int>(std::min<std::size_t>(word.size(), INT_MAX)),
               size);
    return word.substr(0, most);
}

void Parser_CString_kt::readWord(char* out, int size) { CopyWord(takeName(size), out, size); }

char Parser_CString_kt::readWordPunc(char* out, int size) {
    readWord(out, size);
    skipSpaces();
    const char* const p = channel.position;
    if (!is(p, BytePunct)) return 0;
    channel.position = p + 1;
    return *p;
}

void Parser_CString_kt::readToChar(const char* stops, strin_kt& out) {
    if (options->xmlText) return readXMLText(stops, out);
    setTokenStart(channel.position);
    const std::size_t n = std::strcspn(channel.position, stops);
    out.append(std::string_view(channel.position, n));
    channel.position += n;
}

void Parser_CString_kt::readString(strin_kt& out) {
    const char* const p = toToken();
    if (*p != '"') return out.append(takeWord());
    channel.position = p + 1;
    readQuotedRest(out);
}

std::string_view Parser_CString_kt::takeString() {
    const char* const p = toToken();
    if (*p != '"') return takeWord();
    const char* const first = p + 1;
    const char* last = first;
    while (*last != '"' && *last != '\\' && *last != 0) ++last;
    if (*last == '"') {
        channel.position = last + 1;
        return {first, static_cast<std::size_t>(last - first)};
    }
    work.clear();
    readString(work);
    return work.view();
}

char* Parser_CString_kt::readStringNew() {
    work.clear();
    readString(work);
    return work.newCopy();
}

void Parser_CString_kt::unterminatedString(const char* quote) {
    setTokenStart(quote);
    report(msg::text.unterminatedString);
}

void Parser_CString_kt::readQuotedRest(strin_kt& out) {
    const char* p = channel.position;
    const char* const close = closingQuote(p);
    const char* const last = close != nullptr ? close : end_;
    if (close == nullptr) unterminatedString(p > channel.start ? p - 1 : p);
    while (p < last) {
        const void* const found = std::memchr(p, '\\', static_cast<std::size_t>(last - p));
        const char* const escape = found != nullptr ? static_cast<const char*>(found) : last;
        out.append(std::string_view(p, static_cast<std::size_t>(escape - p)));
        p = escape < last ? AppendEscape(escape, out) : last;
    }
    channel.position = close != nullptr ? close + 1 : end_;
}

// ---- Numbers -------------------------------------------------------------------------------

/// Reads the number at p, which must end where a word ends (in a list also before , ) ] or }).
template <class T>
inline bool Parser_CString_kt::numberAt(const char* p, bool inList, T& out, const char*& after) {
    if (!Parse(p, end_, out, after, exact)) return false;
    return is(after, ByteSpace | BytePunct | ByteEnd) || (inList && is(after, ByteListCloser)) ||
           commentAt(after);
}

/// From the start of a list, or the end p of a number of it, to where the next number may start.
/// When a comma may be passed and is, `comma` becomes false.
inline const char* Parser_CString_kt::pastSeparator(const char* p, bool& comma) {
    for (;;) {
        while (is(p, ByteSpace)) ++p;
        if (commentAt(p)) [[unlikely]]
            p = pastBlanks(p);
        if (!comma || *p != ',') return p;
        comma = false;
        ++p;
    }
}

template <class T>
int Parser_CString_kt::readNumbers(T* out, int most, CommasEN commas) {
    const bool inList = commas != CommasEN::none;
    const char* token = nullptr;       // the number read last, or what stands in its place
    const char* p = channel.position;  // after the number read last
    int n = 0;
    for (; n < most; ++n) {
        bool comma = inList && n > 0;
        token = pastSeparator(p, comma);
        if (comma && commas == CommasEN::must) break;
        const char* after = nullptr;
        if (!is(token, ByteNumber) || !numberAt(token, inList, out[n], after)) break;
        p = after;
    }
    channel.position = p;
    if (n < most)
        toToken();
    else if (n > 0)
        setTokenStart(token);
    return n;
}

int Parser_CString_kt::readFloats(float* out, int most, CommasEN commas) {
    return readNumbers(out, most, commas);
}

int Parser_CString_kt::readDoubles(double* out, int most, CommasEN commas) {
    return readNumbers(out, most, commas);
}

int Parser_CString_kt::readInts(int* out, int most) {
    return readNumbers(out, most, CommasEN::may);
}

double Parser_CString_kt::readDouble() {
    double value = 0;
    numberFailed = readNumbers(&value, 1, CommasEN::none) == 0;
    if (!numberFailed) return value;
    MakeNumberError(*this, false);
    takeWord();
    return std::numeric_limits<double>::quiet_NaN();
}

int Parser_CString_kt::readInt() {
    const char* const p = toToken();
    int value = 0;
    const char* end = nullptr;
    numberFailed = ParseInteger(p, end_, value, end) != NumberEN::ok || wordEnd(end) != end;
    if (!numberFailed) {
        channel.position = end;
        return value;
    }
    MakeNumberError(*this, true);
    takeWord();
    return 0;
}

// ---- Places --------------------------------------------------------------------------------

LineCounter::Mark LineCounter::at(const char* place) {
    const auto later = [](const char* p, const Mark& mark) { return p < mark.position; };
    const auto next = std::upper_bound(marks_.begin(), marks_.end(), place, later);
    Mark mark = next == marks_.begin() ? marks_.front() : *(next - 1);
    for (; mark.position < place; ++mark.position) {
        if (mark.position - marks_.back().position >= Stride) marks_.push_back(mark);
        const char c = *mark.position;
        if (c != '\n' && (c != '\r' || mark.position[1] == '\n')) continue;
        ++mark.line;
        mark.lineStart = mark.position + 1;
    }
    return mark;
}

void Parser_CString_kt::describePlace(rept_kt& report) const {
    const auto text = [](const char* s) { return s == nullptr || Is16Bit_kt(s) ? "" : s; };
    const char* const place = std::clamp(tokenStart_, channel.start, end_);
    const LineCounter::Mark mark = state_->lines.at(place);
    report.file = channel.wholeName;
    report.line = mark.line;
    report.column = static_cast<int>(
        std::clamp<std::ptrdiff_t>(place - mark.lineStart, 0, std::numeric_limits<int>::max() - 1) +
        1);
    report.offset = place - channel.start;
    report.structKind = text(structKind);
    report.structName = text(structName);
    report.fieldName = text(fieldName);
}

}  // namespace lumo
