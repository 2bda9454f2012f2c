// ParseBelVec: one probability vector, whatever stands in it.
#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <string_view>
#include <utility>

#include "formats/dsc/belvec.h"
#include "formats/dsc/blocks.h"
#include "library/text/tokens.h"
#include "library/utilities/exact.h"

namespace lumo {

namespace {

/// Reads one vector, token by token where it is not plain numbers.
class BelVecReader {
public:
    BelVecReader(Parser_CString_kt& in, float* out, int n) : in_(in), out_(out), n_(n) {}

    int read() {
        start();
        while (more()) {
        }
        if (count_ < n_) {
            problems_ |= BelVecTooFew;
            std::fill(out_ + count_, out_ + n_, 0.0F);
        }
        if (count_ > n_) problems_ |= BelVecTooMany;
        if (n_ > 0 && count_ == 2LL * n_) problems_ |= BelVecTwice;
        judge();
        return problems_;
    }

private:
    /// What may stand before the first number: "default :", the rest of an empty tuple, '('.
    void start() {
        if (const char first = in_.peekPunc(); first >= '0' && first <= '9') return;
        if (IsDefault(in_.peekWord())) skipWord();
        for (char c = in_.peekPunc(); c == ')' || c == ':' || c == ','; c = in_.peekPunc())
            in_.skipChar();
        opened_ = in_.peekPunc() == '(';
        if (opened_) in_.skipChar();
    }

    void count() {
        if (count_ < std::numeric_limits<int>::max()) ++count_;
    }

    void skipWord() { in_.setPos(in_.getPos() + in_.peekWord().size()); }

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
        refuse();
        do in_.skipChar();
        while (in_.peekChar() != '"' && in_.peekChar() != 0);
        in_.skipChar();
        if (count_ < n_) out_[count_] = 0;
        count();
        return true;
    }

    /// Names what is no number; the rest of the row is read without a word.
    void refuse() {
        if ((problems_ & BelVecNotANumber) == 0) MakeNumberError(in_, false);
        problems_ |= BelVecNotANumber;
    }

    bool word() {
        const std::string_view next = in_.peekWord();
        if (next.empty() || IsDefault(next) || dsc::AtBlock(in_)) return false;
        float extra = 0;
        // Of those at their place digits are kept that floats do not hold.
        float* const to = count_ < n_ ? out_ + count_ : &extra;
        if (in_.readFloats(to, 1, CommasEN::may) == 0) {
            refuse();
            skipWord();
            *to = 0;
        }
        count();
        return true;
    }

    void judge() {
        const std::span values(out_, static_cast<std::size_t>(n_));
        int negative = 0;  // without a branch: many at a time
        for (float& value : values) {
            negative |= value < 0 ? 1 : 0;
            value = value > 0 ? value : 0.0F;
        }
        if (negative != 0) problems_ |= BelVecNegative;
        const double sum = SumOf(out_, n_);
        const auto isWhole = [](float value) { return value == std::floor(value); };
        if (sum == 0)
            problems_ |= BelVecZeroSum | BelVecDontNormalize;
        else if (std::fabs(sum - 1) > 1e-3)
            problems_ |=
                sum > 1 && std::ranges::all_of(values, isWhole) ? BelVecCounts : BelVecNotOne;
    }

    Parser_CString_kt& in_;
    float* out_;
    int n_;
    int count_ = 0;
    int problems_ = 0;
    bool opened_ = false;
};

}  // namespace

int ParseBelVec(Parser_kt& in, float* out, const Varbl_bn& variable, char) {
    return BelVecReader(TextParser(in), out, variable.numStates).read();
}

}  // namespace lumo
