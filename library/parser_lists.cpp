// The template readers: pairs, lists of strings, arrays and lists of numbers, probability vectors.
#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

#include "library/netmodel.h"
#include "library/parser.h"
#include "library/parser_state.h"

namespace lumo {

namespace {

char Counterpart(char open) {
    constexpr std::string_view pairs = "()[]{}<>";
    const std::size_t at = pairs.find(open);
    return at == std::string_view::npos ? open : pairs[at + 1];
}

/// Consumes the character when it stands next, after blanks.
bool Take(Parser_kt& in, char c) {
    if (in.peekPunc() != c) return false;
    in.skipChar();
    return true;
}

/// The error for another thing than the expected standing next, which becomes the place.
rept_kt* Unexpected(Parser_kt& in, int number, const char* expected) {
    const std::string found = NextToken(in);
    return in.makeError(number, "expected %s, but found %s", expected, found.c_str());
}

void Open(Parser_kt& in, char open) {
    const char name[] = {'\'', open, '\'', 0};
    if (!Take(in, open)) throw Unexpected(in, num::badList, name);
}

/// A pair in parentheses or not. Returns the error that it recorded, or null.
rept_kt* ReadPair(Parser_kt& in, double (&pair)[2]) {
    const bool opened = Take(in, '(');
    if (in.readDoubles(pair, 2, CommasEN::may) < 2)
        return Unexpected(in, num::badCoordinate, "a pair of numbers");
    const ParserPos_kt last = in.tokenStart();
    if (opened && !Take(in, ')')) return Unexpected(in, num::badCoordinate, "')'");
    in.setTokenStart(last);
    return nullptr;
}

rept_kt* ReadIntPair(Parser_kt& in, coord_kt& out) {
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    double pair[2] = {0, 0};
    if (rept_kt* const error = ReadPair(in, pair); error != nullptr) return error;
    for (const double x : pair) {
        const double rounded = std::floor(x + 0.5);
        if (rounded < lowest || rounded > highest)
            return in.makeError(num::numberTooLarge, "coordinate %g is too large", x);
    }
    out = {RoundToInt_kt(pair[0]), RoundToInt_kt(pair[1])};
    return nullptr;
}

}  // namespace

std::string NextToken(Parser_kt& in) {
    const std::string_view word = in.peekWord();
    in.setTokenStart(in.getPos());
    if (!word.empty()) return Format("'%s'", Shown(word).c_str());
    if (in.peekChar() == 0) return "the end of the input";
    return CharName_kt(static_cast<unsigned char>(in.peekChar()));
}

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

// ---- Strings -------------------------------------------------------------------------------

template <class PARSER, bool quotedOrWord, bool keepEmpty, int most>
char** ReadListStrings(PARSER& in, int& count) {
    Open(in, in.listOpenChar);
    const char close = Counterpart(in.listOpenChar);
    std::vector<OwnedStr> entries;
    entries.reserve(8);  // enough for most
    bool afterComma = false;
    while (!Take(in, close)) {
        if (Take(in, ',')) {
            // A comma after another, or before any entry, stands for an empty entry.
            if (keepEmpty && (afterComma || entries.empty())) entries.emplace_back(DupStr_kt(""));
            afterComma = true;
        } else if (in.peekPunc() == '"' || !in.peekWord().empty()) {
            entries.emplace_back(in.readStringNew());
            afterComma = false;
        } else {
            const std::string found = NextToken(in);
            throw in.makeError(num::badList, "missing '%c' at the end of the list, before %s",
                               close, found.c_str());
        }
        if (entries.size() > MaxStates)
            throw in.makeError(num::badList, "the list has more than %d entries", MaxStates);
    }
    if (keepEmpty && afterComma) entries.emplace_back(DupStr_kt(""));
    auto array = std::make_unique<char*[]>(entries.size());
    std::transform(entries.begin(), entries.end(), array.get(),
                   [](OwnedStr& entry) { return entry.release(); });
    count = static_cast<int>(entries.size());
    return array.release();
}

template char** ReadListStrings<Parser_kt, true, true, 1>(Parser_kt& in, int& count);

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
    throw in.makeError(num::wrongListCount, "%d numbers wanted, but %d read", n, read);
}

template int ReadArray<Parser_kt, int, true, false, false, false>(Parser_kt& in, int* out, int n);

template <class PARSER, class T, bool, bool>
void ReadList(PARSER& in, vect_kt<T>& out) {
    const bool elementText = in.listOpenChar == '>';
    if (elementText && in.atEmptyElement()) return;
    if (!elementText) Open(in, in.listOpenChar);
    const char close = elementText ? '<' : Counterpart(in.listOpenChar);
    for (;;) {
        if (out.N == out.capacity) out.realloc_(GrownCapacity_kt(out.N));
        const int n = in.readFloats(out.array + out.N, out.capacity - out.N, CommasEN::may);
        out.N += n;
        const char next = in.peekPunc();
        if (next == close) break;
        const bool more = out.N == out.capacity || (n > 0 && next == ',');
        if (!more) throw MakeNumberError(in, num::notANumber);
        if (next == ',') in.skipChar();
    }
    if (!elementText) in.skipChar();
}

template void ReadList<Parser_CString_kt, float, false, false>(Parser_CString_kt& in,
                                                               vect_kt<float>& out);

// ---- Probability vectors -------------------------------------------------------------------

namespace {

/// Reads one vector, token by token where it is not plain numbers.
class BelVecReader {
public:
    BelVecReader(Parser_kt& in, float* out, int n) : in_(in), out_(out), n_(n) {}

    int read() {
        std::fill_n(out_, n_, 0.0F);
        start();
        while (more()) {
        }
        if (count_ < n_) problems_ |= BelVecTooFew;
        if (count_ > n_) problems_ |= BelVecTooMany;
        judge();
        return problems_;
    }

private:
    /// What may stand before the first number: "default :", the rest of an empty tuple, '('.
    void start() {
        if (IsDefault(in_.peekWord())) skipWord();
        for (char c = in_.peekPunc(); c == ')' || c == ':' || c == ','; c = in_.peekPunc())
            in_.skipChar();
        opened_ = Take(in_, '(');
    }

    void add(float value) {
        if (count_ < n_) out_[count_] = value;
        if (count_ < std::numeric_limits<int>::max()) ++count_;
    }

    void skipWord() {
        char word[8];
        in_.readWord(word, 7);
    }

    static bool IsDefault(std::string_view word) {
        constexpr std::string_view name = "default";
        return word.size() == name.size() && streqli_kt(std::string(word).c_str(), name.data());
    }

    bool more() {
        const int room = count_ == 0 ? std::min(n_, 1) : n_ - count_;  // see whether commas follow
        if (room > 0) count_ += in_.readFloats(out_ + count_, room, CommasEN::may);
        switch (in_.peekPunc()) {
            case ',':
                problems_ |= BelVecCommas;
                in_.skipChar();
                return true;
            case ')':
                in_.skipChar();
                return !std::exchange(opened_, false) && in_.peekPunc() != ';';
            case '"':
                return text();
            default:
                return word();
        }
    }

    /// A quoted string is no number, whatever it says.
    bool text() {
        do in_.skipChar();
        while (in_.peekChar() != '"' && in_.peekChar() != 0);
        in_.skipChar();
        problems_ |= BelVecNotANumber;
        add(0);
        return true;
    }

    bool word() {
        const std::string_view next = in_.peekWord();
        if (next.empty() || IsDefault(next)) return false;
        float extra = 0;
        if (in_.readFloats(&extra, 1, CommasEN::may) == 0) {
            problems_ |= BelVecNotANumber;
            skipWord();
        }
        add(extra);
        return true;
    }

    void judge() {
        double sum = 0;
        bool whole = true;
        for (float& value : std::span(out_, static_cast<std::size_t>(n_))) {
            if (value < 0) problems_ |= BelVecNegative;
            if (value <= 0) value = 0;
            whole = whole && value == std::floor(value);
            sum += static_cast<double>(value);
        }
        if (sum == 0)
            problems_ |= BelVecZeroSum | BelVecDontNormalize;
        else if (std::fabs(sum - 1) > 1e-3)
            problems_ |= whole && sum > 1 ? BelVecCounts : BelVecNotOne;
    }

    Parser_kt& in_;
    float* out_;
    int n_;
    int count_ = 0;
    int problems_ = 0;
    bool opened_ = false;
};

}  // namespace

int ParseBelVec(Parser_kt& in, float* out, const Varbl_bn& variable, char) {
    return BelVecReader(in, out, variable.numStates).read();
}

}  // namespace lumo
