// Distributions of continuous nodes as Hugin files have them, `normal(mean, variance)` for each
// combination of the discrete parents' states, as formulas of XDSL.
#include "formats/xdsl/distribution.h"

#include <cctype>
#include <cmath>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "formats/shared/digits.h"
#include "library/utilities/Utils.h"

namespace lumo {
namespace {

bool IsWordStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsWordPart(char c) { return IsWordStart(c) || (c >= '0' && c <= '9') || c == '.'; }

/// Takes the text apart: each `normal(mean, variance)` is one formula. It is good as long as
/// nothing else was met.
class Distributions {
public:
    Distributions(const Bnode_bn& node, std::string_view text) : text_(text) {
        for (const Bnode_bn* parent : node.parents)
            if (parent->numStates() == 0) variables_.insert(parent->name());
        int open = 0;
        for (skipBlanks(); good_ && at_ < text_.size(); skipBlanks()) {
            const char c = text_[at_];
            if (c == '(' || c == ')') {
                open += c == '(' ? 1 : -1;
                good_ = open >= 0;
                ++at_;
            } else {
                readNormal();
            }
        }
        good_ = good_ && open == 0;
    }

    bool isGood() const { return good_; }
    const std::vector<std::string>& formulas() const { return formulas_; }

private:
    void skipBlanks() {
        while (at_ < text_.size()) {
            if (std::isspace(static_cast<unsigned char>(text_[at_])) == 0) return;
            ++at_;
        }
    }

    bool take(char c) {
        skipBlanks();
        good_ = good_ && at_ < text_.size() && text_[at_] == c;
        if (good_) ++at_;
        return good_;
    }

    std::string_view takeWord() {
        const std::size_t start = at_;
        while (at_ < text_.size() && IsWordPart(text_[at_])) ++at_;
        return text_.substr(start, at_ - start);
    }

    void readNormal() {
        good_ = streqli_kt(std::string(takeWord()).c_str(), "normal");
        if (!take('(')) return;
        const std::string mean = readExpression(',');
        if (!take(',')) return;
        const std::string variance = readExpression(')');
        if (!take(')')) return;
        const std::string deviation = DeviationOf(variance);
        formulas_.push_back(deviation.empty() ? mean : "Normal(" + mean + "," + deviation + ")");
    }

    /// An expression of numbers and parents, without its blanks, before that character.
    std::string readExpression(char end) {
        std::string expression;
        for (int open = 0; good_;) {
            skipBlanks();
            const char c = at_ < text_.size() ? text_[at_] : '\0';
            if (c == end && open == 0) break;
            if (IsWordStart(c)) {
                const std::string_view word = takeWord();
                good_ = variables_.contains(word);
                expression += word;
            } else {
                open += c == '(' ? 1 : c == ')' ? -1 : 0;
                constexpr std::string_view allowed = "0123456789.+-*/()";
                good_ = open >= 0 && allowed.find(c) != allowed.npos;
                expression += c;
                ++at_;
                takeExponent(expression, c);
            }
        }
        good_ = good_ && !expression.empty();
        return expression;
    }

    /// The exponent of a number whose digit was taken.
    void takeExponent(std::string& expression, char digit) {
        if (digit < '0' || digit > '9' || at_ >= text_.size()) return;
        if (text_[at_] != 'e' && text_[at_] != 'E') return;
        expression += text_[at_++];
        if (at_ < text_.size() && (text_[at_] == '-' || text_[at_] == '+'))
            expression += text_[at_++];
    }

    /// The square root of a variance; empty for 0.
    static std::string DeviationOf(const std::string& variance) {
        double number = 0;
        const char* end = nullptr;
        if (strtodouble2_kt(variance.c_str(), &number, &end) < 0 || *end != '\0')
            return "Sqrt(" + variance + ")";
        if (!(number > 0)) return {};
        char digits[MostDigits];
        return {digits, WriteDigits(digits, std::sqrt(number))};
    }

    std::unordered_set<std::string_view> variables_;  // parents that are continuous
    std::string_view text_;
    std::size_t at_ = 0;
    bool good_ = true;
    std::vector<std::string> formulas_;
};

}  // namespace

std::string FormulaOf(const Bnode_bn& node, std::string_view distributions,
                      const StateIdsFunction& stateIds) {
    const Distributions read(node, distributions);
    std::vector<const Bnode_bn*> conditions;
    long long rows = 1;
    for (const Bnode_bn* parent : node.parents) {
        if (parent->numStates() < 2) continue;  // nothing to tell apart
        conditions.push_back(parent);
        rows *= parent->numStates();
        if (rows > std::ssize(read.formulas())) return {};
    }
    if (!read.isGood() || std::ssize(read.formulas()) != rows || rows == 0) return {};
    // From the last parent to the first, the formulas of its states become one.
    std::vector<std::string> formulas = read.formulas();
    for (std::size_t i = conditions.size(); i-- > 0;) {
        const Bnode_bn& parent = *conditions[i];
        const auto states = static_cast<std::size_t>(parent.numStates());
        const Texts ids = stateIds(parent);
        std::vector<std::string> joined;
        for (std::size_t first = 0; first < formulas.size(); first += states) {
            std::string text, closing;
            for (std::size_t k = 0; k + 1 < states; ++k, closing += ')') {
                if (ids[k].find('"') != ids[k].npos) return {};
                text += std::string("If(") + parent.name() + "=\"" + ids[k] + "\"," +
                        formulas[first + k] + ",";
            }
            joined.push_back(text + formulas[first + states - 1] + closing);
        }
        formulas = std::move(joined);
    }
    return std::string(node.name()) + "=" + formulas.front();
}

}  // namespace lumo
