// The template readers: pairs, lists of strings, arrays and lists of numbers.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "library/text/floatlist.h"
#include "library/text/messages.h"
#include "library/text/parser.h"
#include "library/text/tokens.h"

namespace lumo {

namespace {

char Counterpart(char open) {
    constexpr std::string_view pairs = "()[]{}<>";
    const std::size_t at = pairs.find(open);
    return at == std::string_view::npos ? open : pairs[at + 1];
}

/// Consumes the character when it stands next, after blanks.
template <class PARSER>
bool Take(PARSER& in, char c) {
    if (in.peekPunc() != c) return false;
    in.skipChar();
    return true;
}

/// The error for another thing than the expected standing next, which becomes the place.
rept_kt* Unexpected(Parser_kt& in, const Message<const char*, const char*>& message,
                    const char* expected) {
    const std::string found = NextToken(in);
    return in.report(message, expected, found.c_str());
}

template <class PARSER>
void Open(PARSER& in, char open) {
    const char name[] = {'\'', open, '\'', 0};
    if (!Take(in, open)) throw Unexpected(in, msg::text.badList, name);
}

/// A pair in parentheses or not. Returns the error that it recorded, or null.
template <class PARSER>
rept_kt* ReadPair(PARSER& in, double (&pair)[2]) {
    const bool opened = Take(in, '(');
    if (in.readDoubles(pair, 2, CommasEN::may) < 2)
        return Unexpected(in, msg::text.badCoordinate, "a pair of numbers");
    const ParserPos_kt last = in.tokenStart();
    if (opened && !Take(in, ')')) return Unexpected(in, msg::text.badCoordinate, "')'");
    in.setTokenStart(last);
    return nullptr;
}

template <class PARSER>
rept_kt* ReadIntPair(PARSER& in, coord_kt& out) {
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    double pair[2] = {0, 0};
    if (rept_kt* const error = ReadPair(in, pair); error != nullptr) return error;
    for (double& x : pair) {
        const double rounded = std::floor(x + 0.5);
        if (rounded >= lowest && rounded <= highest) continue;
        const std::string written = Format("%g", x);
        x = x < 0 ? lowest : highest;
        in.report(msg::text.coordinateClamped, written.c_str(), static_cast<int>(x));
    }
    out = {RoundToInt_kt(pair[0]), RoundToInt_kt(pair[1])};
    return nullptr;
}

}  // namespace

// ---- Pairs ---------------------------------------------------------------------------------

template <class PARSER>
void ReadCoord(PARSER& in, coord_kt& out) {
    if (rept_kt* const error = ReadIntPair(in, out); error != nullptr) throw error;
}

bool TryReadCoord(Parser_kt& in, coord_kt& out) { return ReadIntPair(in, out) == nullptr; }

template <class PARSER>
void ReadDCoord(PARSER& in, dcoord_kt& out) {
    double pair[2] = {0, 0};
    if (rept_kt* const error = ReadPair(in, pair); error != nullptr) throw error;
    out = {pair[0], pair[1]};
}

template void ReadCoord<Parser_kt>(Parser_kt& in, coord_kt& out);
template void ReadCoord<Parser_CString_kt>(Parser_CString_kt& in, coord_kt& out);
template void ReadDCoord<Parser_kt>(Parser_kt& in, dcoord_kt& out);
template void ReadDCoord<Parser_CString_kt>(Parser_CString_kt& in, dcoord_kt& out);

// ---- Strings -------------------------------------------------------------------------------

char** TextList::copies() const {
    OwnedStrs owned(new char*[size()](), static_cast<int>(size()));
    for (std::size_t i = 0; i < size(); ++i) owned.get()[i] = DupStr_kt((*this)[i]);
    return owned.release();
}

template <class PARSER>
void ReadListTexts(PARSER& in, TextList& out, bool keepEmpty) {
    out.clear();
    Open(in, in.listOpenChar);
    const char close = Counterpart(in.listOpenChar);
    bool afterComma = false;
    while (!Take(in, close)) {
        if (Take(in, ',')) {
            // A comma after another, or before any entry, stands for an empty entry.
            if (keepEmpty && (afterComma || out.size() == 0)) out.close();
            afterComma = true;
        } else if (in.peekPunc() == '"' || !in.peekWord().empty()) {
            in.readString(out.open());
            out.close();
            afterComma = false;
        } else {
            const std::string found = NextToken(in);
            throw in.report(msg::text.unclosedList, close, found.c_str());
        }
        if (out.size() > MaxListEntries) throw in.report(msg::text.longList, MaxListEntries);
    }
    if (keepEmpty && afterComma) out.close();
}

template void ReadListTexts<Parser_CString_kt>(Parser_CString_kt& in, TextList& out,
                                               bool keepEmpty);

template <class PARSER, bool quotedOrWord, bool keepEmpty, int most>
char** ReadListStrings(PARSER& in, int& count) {
    TextList texts;
    ReadListTexts(in, texts, keepEmpty);
    char** const array = texts.copies();
    count = static_cast<int>(texts.size());
    return array;
}

template char** ReadListStrings<Parser_kt, true, true, 1>(Parser_kt& in, int& count);
template char** ReadListStrings<Parser_CString_kt, true, true, 1>(Parser_CString_kt& in,
                                                                  int& count);

// ---- Numbers -------------------------------------------------------------------------------

template <class PARSER, class T, bool parens, bool, bool, bool>
int ReadArray(PARSER& in, T* out, int n) {
    static_assert(parens, "lists without parentheses are not read");
    Open(in, '(');
    int read = 0;
    for (; !Take(in, ')'); ++read) {
        const T value = in.readInt();
        if (in.numberFailed) throw in.curReport;
        if (read < n) out[read] = value;
        Take(in, ',');
    }
    if (read == n) return n;
    throw in.report(msg::text.wrongListCount, n, read);
}

template int ReadArray<Parser_kt, int, true, false, false, false>(Parser_kt& in, int* out, int n);

void FloatList::realloc_(int size) {
    XArray<float> larger = NewXArray<float>(size);
    if (larger == nullptr) throw std::bad_alloc();
    std::copy(begin(), begin() + N, larger.get());
    array = std::move(larger);
    capacity = size;
}

XArray<float> FloatList::takeLong() {
    constexpr int many = 1 << 14;
    const int spare = capacity - N;
    if (N < many || spare > N / 32) return nullptr;
    N = capacity = 0;
    return std::exchange(array, nullptr);
}

namespace {

/// Foresees the length of a list by its text, when it goes on like the numbers read so far: then a
/// long one has little room to spare.
template <class PARSER>
class ListLength {
public:
    ListLength(PARSER& in, char close) : in_(in), close_(close), from_(in.getPos()) {}

    /// What a full list of so many grows to, of which so many were read from here on: not many
    /// times as much as is there.
    int next(int count, int read) {
        constexpr int least = 32, mostTimes = 16;
        const int usual = GrownCapacity_kt(count);
        if (read < least) return usual;
        const ParserPos_kt at = in_.getPos();
        if (end_ == nullptr || end_ < at) {
            const auto left = static_cast<std::size_t>(in_.bytesLeft());
            const void* const found = std::memchr(at, close_, left);
            end_ = found != nullptr ? static_cast<const char*>(found) : at + left;
        }
        const double rest = static_cast<double>(end_ - at) * read / static_cast<double>(at - from_);
        const double wanted = count + least + rest + rest / 64;
        return static_cast<int>(std::min({wanted, 1.0 * mostTimes * usual, 1.0 * INT_MAX}));
    }

private:
    PARSER& in_;
    char close_;
    ParserPos_kt from_;
    const char* end_ = nullptr;
};

template <class PARSER, class LIST>
void ReadFloatList(PARSER& in, LIST& out) {
    const bool elementText = in.listOpenChar == '>';
    if (elementText && in.atEmptyElement()) return;
    if (!elementText) Open(in, in.listOpenChar);
    const char close = elementText ? '<' : Counterpart(in.listOpenChar);
    if (out.N == 0) in.exact.over(out.begin(), out.capacity);
    const int before = out.N;
    ListLength length(in, close);
    for (;;) {
        if (out.N == out.capacity) {
            out.realloc_(length.next(out.N, out.N - before));
            in.exact.moved(out.begin(), out.capacity);
        }
        const int n = in.readFloats(out.begin() + out.N, out.capacity - out.N, CommasEN::may);
        out.N += n;
        const char next = in.peekPunc();
        if (next == close) break;
        const bool more = out.N == out.capacity || (n > 0 && next == ',');
        if (!more) throw MakeNumberError(in, false);
        if (next == ',') in.skipChar();
    }
    if (!elementText) in.skipChar();
}

}  // namespace

template <class PARSER, class T, bool, bool>
void ReadList(PARSER& in, vect_kt<T>& out) {
    ReadFloatList(in, out);
}

template void ReadList<Parser_CString_kt, float, false, false>(Parser_CString_kt& in,
                                                               vect_kt<float>& out);

void ReadList(Parser_CString_kt& in, FloatList& out) { ReadFloatList(in, out); }

}  // namespace lumo
