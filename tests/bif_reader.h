// A strict reader of BIF 0.15, for what the writer writes: it says what the file holds, and fails
// on anything that the grammar does not have.
#pragma once

#include <algorithm>
#include <charconv>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace lumo::test {

struct BifVariable {
    std::string name;
    std::vector<std::string> states;
    std::vector<std::string> parents;
    bool hasTable = false;
    std::vector<float> table;  ///< last parent's state fastest but for the variable's own
};

class BifReader {
public:
    explicit BifReader(std::string_view text) : left_(text) {}

    std::vector<BifVariable> read() {
        expect("network");
        word();
        expect("{");
        expect("}");
        while (accept("variable")) readVariable();
        while (accept("probability")) readProbability();
        skipBlanks();
        if (!left_.empty()) fail("the end");
        return std::move(variables_);
    }

private:
    [[noreturn]] void fail(const std::string& wanted) const {
        throw std::runtime_error("wanted " + wanted + " before '" +
                                 std::string(left_.substr(0, 40)) + "'");
    }
    void skipBlanks() {
        left_.remove_prefix(std::min(left_.find_first_not_of(" \t\n"), left_.size()));
    }
    bool accept(std::string_view token) {
        skipBlanks();
        if (!left_.starts_with(token)) return false;
        left_.remove_prefix(token.size());
        return true;
    }
    void expect(std::string_view token) {
        if (!accept(token)) fail(std::string(token));
    }
    static bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
    std::string word() {
        skipBlanks();
        std::size_t length = 0;
        while (length < left_.size() &&
               (isLetter(left_[length]) ||
                (length > 0 &&
                 ((left_[length] >= '0' && left_[length] <= '9') || left_[length] == '_'))))
            ++length;
        if (length == 0) fail("a word");
        const std::string found(left_.substr(0, length));
        left_.remove_prefix(length);
        return found;
    }
    template <class T>
    T number() {
        skipBlanks();
        T value{};
        const auto [end, error] = std::from_chars(left_.data(), left_.data() + left_.size(), value);
        if (error != std::errc()) fail("a number");
        left_.remove_prefix(static_cast<std::size_t>(end - left_.data()));
        return value;
    }
    std::vector<std::string> words() {
        std::vector<std::string> list{word()};
        while (accept(",")) list.push_back(word());
        return list;
    }
    BifVariable& find(const std::string& name) {
        const auto found = places_.find(name);
        if (found == places_.end()) fail("a variable instead of " + name);
        return variables_[found->second];
    }

    void readVariable() {
        BifVariable variable;
        variable.name = word();
        expect("{");
        expect("type");
        expect("discrete");
        expect("[");
        const auto count = number<std::size_t>();
        expect("]");
        expect("{");
        variable.states = words();
        expect("}");
        expect(";");
        expect("}");
        if (variable.states.size() != count) fail("as many states as are announced");
        if (!places_.emplace(variable.name, variables_.size()).second) fail("another name");
        variables_.push_back(std::move(variable));
    }

    void readRow(BifVariable& variable, std::size_t row) {
        for (std::size_t i = 0; i < variable.states.size(); ++i) {
            if (i > 0) expect(",");
            variable.table[row * variable.states.size() + i] = number<float>();
        }
        expect(";");
    }

    /// The row of a list of parent states.
    std::size_t rowOf(const BifVariable& variable, const std::vector<std::string>& states) {
        std::size_t row = 0;
        if (states.size() != variable.parents.size()) fail("a state of each parent");
        for (std::size_t i = 0; i < states.size(); ++i) {
            const std::vector<std::string>& known = find(variable.parents[i]).states;
            const auto at = std::find(known.begin(), known.end(), states[i]);
            if (at == known.end()) fail("a state of " + variable.parents[i]);
            row = row * known.size() + static_cast<std::size_t>(at - known.begin());
        }
        return row;
    }

    void readProbability() {
        expect("(");
        BifVariable& variable = find(word());
        if (accept("|")) variable.parents = words();
        expect(")");
        expect("{");
        std::size_t rows = 1;
        for (const std::string& parent : variable.parents) rows *= find(parent).states.size();
        std::vector<bool> given(rows);
        variable.table.resize(rows * variable.states.size());
        while (!accept("}")) {
            std::size_t row = 0;
            if (accept("(")) {
                row = rowOf(variable, words());
                expect(")");
            } else {
                expect("table");
            }
            if (given[row]) fail("another row");
            given[row] = variable.hasTable = true;
            readRow(variable, row);
        }
        if (variable.hasTable && std::find(given.begin(), given.end(), false) != given.end())
            fail("all rows");
        if (!variable.hasTable) variable.table.clear();
    }

    std::string_view left_;
    std::vector<BifVariable> variables_;
    std::map<std::string, std::size_t> places_;
};

}  // namespace lumo::test
