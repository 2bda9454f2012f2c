// Second readers of the formats that are written, as strict as the strictest programs that read
// them: line by line, every blank in its place, no exponent where digits do, nothing unknown.
#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <numeric>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fromchars.h"

namespace lumo::test {

struct StrictNode {
    std::string name, kind;
    std::vector<std::string> states;
    std::vector<std::size_t> parents;  ///< places in the file
    bool isPlaced = false;
    bool hasTable = false;
    bool isComputed = false;   ///< the table, from the parameters of a noisy-max
    std::vector<float> table;  ///< last parent's state fastest but for the node's own
};
using StrictNet = std::vector<StrictNode>;

/// Takes text by patterns, in which $w stands for a word, $f for a field's name, $q for a quoted
/// text, $t for a text of XML, $a for that of an attribute, $n for a number, and the capital
/// letters for lists of them; all else stands for itself.
class Scan {
public:
    Scan(std::string_view text, std::string_view separator) : left_(text), separator_(separator) {}

    std::vector<std::string> texts;  ///< of the last pattern
    std::vector<float> numbers;

    bool take(std::string_view pattern) {
        const std::string_view before = left_;
        texts.clear();
        numbers.clear();
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            const bool taken =
                pattern[i] == '$' ? takeAny(pattern[++i]) : takeText(pattern.substr(i, 1));
            if (taken) continue;
            left_ = before;
            return false;
        }
        return true;
    }
    void expect(std::string_view pattern) {
        if (!take(pattern)) fail(pattern);
    }
    void expect(bool condition, std::string_view what) const {
        if (!condition) fail(what);
    }
    void skip(std::string_view blanks) {
        left_.remove_prefix(std::min(left_.find_first_not_of(blanks), left_.size()));
    }
    void end() const { expect(left_.empty(), "the end"); }

private:
    [[noreturn]] void fail(std::string_view wanted) const {
        throw std::runtime_error("wanted '" + std::string(wanted) + "' before '" +
                                 std::string(left_.substr(0, 60)) + "'");
    }
    bool takeText(std::string_view text) {
        const bool taken = left_.starts_with(text);
        if (taken) left_.remove_prefix(text.size());
        return taken;
    }
    bool takeAny(char kind) {
        if (kind >= 'a') return takeOne(kind);
        const char item = static_cast<char>(kind - 'A' + 'a');
        if (!takeOne(item)) return true;  // none
        while (takeText(separator_))
            if (!takeOne(item)) return false;
        return true;
    }
    bool takeOne(char kind) {
        if (kind == 'n') return takeNumber();
        std::string& text = texts.emplace_back();
        const bool taken = kind == 'q'   ? takeQuoted(text)
                           : kind == 'l' ? takeUpTo(text, ';')
                           : kind == 't' ? takeXml(text, '<')
                           : kind == 'a' ? takeXml(text, '"')
                                         : takeWord(text, kind == 'f');
        if (!taken) texts.pop_back();
        return taken;
    }
    bool takeWord(std::string& word, bool isField) {
        const auto belongs = [isField](char c) {
            const bool plain = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
                               (c >= 'A' && c <= 'Z') || c == '_';
            return isField ? std::string_view(" \t\n\"(){}=;,").find(c) == std::string_view::npos
                           : plain;
        };
        while (!left_.empty() && belongs(left_[0])) {
            word += left_[0];
            left_.remove_prefix(1);
        }
        return !word.empty();
    }
    bool takeUpTo(std::string& text, char end) {
        text = left_.substr(0, left_.find(end));
        left_.remove_prefix(text.size());
        return !text.empty() && text.find('\n') == std::string::npos;
    }
    bool takeQuoted(std::string& text) {
        static constexpr std::string_view escapes = "\"\\ntr", meanings = "\"\\\n\t\r";
        if (!takeText("\"")) return false;
        while (!left_.empty() && left_[0] != '"') {
            if (static_cast<unsigned char>(left_[0]) < ' ') return false;
            std::size_t length = 1;
            char c = left_[0];
            if (c == '\\' && left_.size() > 4) {
                const std::size_t known = escapes.find(left_[1]);
                int code = 0;
                length = known == std::string_view::npos ? 4 : 2;
                const auto [end, error] =
                    std::from_chars(left_.data() + 1, left_.data() + 4, code, 8);
                if (length == 4 && end != left_.data() + 4) return false;
                c = length == 2 ? meanings[known] : static_cast<char>(code);
            }
            text += c;
            left_.remove_prefix(length);
        }
        return takeText("\"");
    }
    bool takeXml(std::string& text, char end) {
        static constexpr std::pair<std::string_view, char> entities[] = {
            {"&lt;", '<'},  {"&gt;", '>'},   {"&quot;", '"'}, {"&amp;", '&'},
            {"&#9;", '\t'}, {"&#10;", '\n'}, {"&#13;", '\r'}, {"&#32;", ' '}};
        while (!left_.empty() && left_[0] != end) {
            const auto* entity =
                std::find_if(std::begin(entities), std::end(entities),
                             [&](const auto& known) { return left_.starts_with(known.first); });
            const bool isPlain = entity == std::end(entities);
            const char c = isPlain ? left_[0] : entity->second;
            const bool isControl =
                static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t' && c != '\r';
            if (isControl || (isPlain && (c == '&' || c == '>' || c == '<'))) return false;
            text += c;
            left_.remove_prefix(isPlain ? 1 : entity->first.size());
        }
        return true;
    }
    bool takeNumber() {
        float value = 0;
        const char* const first = left_.data();
        const auto [end, error] = FromChars(first, first + left_.size(), value);
        const std::string_view digits(first, static_cast<std::size_t>(end - first));
        const float size = std::fabs(value);
        const bool mayBePositional = size == 0 || (size >= 1e-15F && size < 1e15F);
        const bool isExponential = digits.find('e') != std::string_view::npos;
        if (error != std::errc() ||
            digits.find_first_not_of("-.e0123456789") != std::string_view::npos ||
            isExponential == mayBePositional)
            return false;
        left_.remove_prefix(digits.size());
        numbers.push_back(value);
        return true;
    }

    std::string_view left_, separator_;
};

/// A net while it is read.
class StrictBuilder {
public:
    StrictBuilder(std::string_view text, std::string_view separator) : in(text, separator) {}
    Scan in;
    StrictNet net;

    StrictNode& add(const std::string& name, const std::string& kind = "nature") {
        in.expect(places_.emplace(name, net.size()).second && !name.empty(), "a new name");
        StrictNode& node = net.emplace_back();
        node.name = name;
        node.kind = kind;
        return node;
    }
    std::size_t place(const std::string& name) const {
        const auto found = places_.find(name);
        in.expect(found != places_.end(), "a known name");
        return found->second;
    }
    StrictNode& find(const std::string& name) { return net[place(name)]; }
    /// The node whose name was taken last, with the parents that follow behind a bar.
    StrictNode& define() {
        StrictNode& node = find(in.texts[0]);
        in.take(" | $W");
        for (const std::string& parent : in.texts) node.parents.push_back(place(parent));
        return node;
    }
    std::size_t rows(const StrictNode& node) const {
        std::size_t rows = 1;
        for (const std::size_t parent : node.parents) rows *= net[parent].states.size();
        return rows;
    }
    /// Appends the row that was taken last, which comes behind the rows of all states before it.
    void addRow(StrictNode& node, const std::vector<std::size_t>& states) {
        std::size_t row = 0;
        for (std::size_t i = 0; i < states.size(); ++i)
            row = row * net[node.parents[i]].states.size() + states[i];
        in.expect(states.size() == node.parents.size() && in.numbers.size() == node.states.size() &&
                      row * node.states.size() == node.table.size(),
                  "the next row");
        node.table.insert(node.table.end(), in.numbers.begin(), in.numbers.end());
        node.hasTable = true;
    }
    void endTable(const StrictNode& node) const {
        const std::size_t wanted = rows(node) * std::max<std::size_t>(node.states.size(), 1);
        in.expect(!node.hasTable || node.table.size() == wanted, "a whole table");
    }

private:
    std::map<std::string, std::size_t> places_;
};

/// DSC, or BIF: the two differ in their words.
inline StrictNet ReadStrictLines(std::string_view text, bool isBif) {
    static constexpr std::string_view reserved =
        " network variable probability property type discrete default table ";
    StrictBuilder file(text, ", ");
    Scan& in = file.in;
    const auto expectWords = [&] {
        for (const std::string& word : in.texts)
            in.expect(!isBif || reserved.find(' ' + word + ' ') == reserved.npos, "another word");
    };
    const auto takeProperties = [&] {
        while (in.take("  property $w = $q;\n")) in.expect(in.texts[0] != "position", "a field");
    };
    in.expect(isBif ? "network $w {\n" : "belief network $q");
    expectWords();
    if (isBif) {
        takeProperties();
        in.expect("}\n");
    }
    if (!isBif && !in.take(" {\n}\n")) in.expect("\n");
    while (in.take(isBif ? "variable $w {\n" : "node $w {\n")) {
        expectWords();
        StrictNode& node = file.add(in.texts[0]);
        if (!isBif) in.take("  name : $q;\n");
        if (isBif || !in.take("  type : continuous;\n")) {
            in.expect(isBif ? "  type discrete [ $n ] { $W };\n"
                            : "  type : discrete [ $n ] = { $Q };\n");
            expectWords();
            node.states = in.texts;
            const std::set<std::string> distinct(in.texts.begin(), in.texts.end());
            in.expect(!isBif || distinct.size() == node.states.size(), "distinct states");
            in.expect(in.numbers[0] == static_cast<float>(node.states.size()), "all states");
        }
        if (isBif) in.take("  property label = $q;\n");
        node.isPlaced =
            in.take(isBif ? "  property position = ($n, $n);\n" : "  position : ($n, $n);\n");
        if (isBif) takeProperties();
        for (const char* group : {"  label : $q;\n", "  category : $q;\n"})
            if (!isBif) in.take(group);
        in.expect("}\n");
    }
    while (in.take("probability ( $w")) {
        StrictNode& node = file.define();
        for (in.expect(" ) {\n"); !in.take("}\n");) {
            std::vector<std::size_t> states;
            in.expect(
                in.take(isBif ? "  ($W) " : "  ($N) : ") || in.take(isBif ? "  table " : "   "),
                "a row");
            states.assign(in.numbers.begin(), in.numbers.end());
            for (const std::string& label : in.texts) {
                in.expect(states.size() < node.parents.size(), "a label for each parent");
                const auto& known = file.net[node.parents[states.size()]].states;
                states.push_back(static_cast<std::size_t>(
                    std::find(known.begin(), known.end(), label) - known.begin()));
            }
            in.expect("$N;\n");
            file.addRow(node, states);
        }
        file.endTable(node);
    }
    in.end();
    return file.net;
}
inline StrictNet ReadStrictDsc(std::string_view text) { return ReadStrictLines(text, false); }
inline StrictNet ReadStrictBif(std::string_view text) { return ReadStrictLines(text, true); }

inline StrictNet ReadStrictXml(std::string_view text) {
    StrictBuilder file(text, " ");
    Scan& in = file.in;
    in.expect(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!-- In the tables the state of the node varies fastest. -->\n<BIF "
        "VERSION=\"0.3\">\n<NETWORK>\n<NAME>$t</NAME>\n");
    in.expect(!in.texts[0].empty(), "a name");
    while (in.take("<VARIABLE TYPE=\"$w\">\n<NAME>$t</NAME>\n")) {
        StrictNode& node = file.add(in.texts[1], in.texts[0]);
        while (in.take("<OUTCOME>$t</OUTCOME>\n")) node.states.push_back(in.texts[0]);
        node.isPlaced = in.take("<PROPERTY>position = ($n, $n)</PROPERTY>\n");
        while (in.take("<PROPERTY>$t</PROPERTY>\n")) continue;
        in.expect("</VARIABLE>\n");
    }
    while (in.take("<DEFINITION>\n<FOR>$t</FOR>\n")) {
        StrictNode& node = file.find(in.texts[0]);
        while (in.take("<GIVEN>$t</GIVEN>\n")) node.parents.push_back(file.place(in.texts[0]));
        node.hasTable = in.take("<TABLE>\n");
        while (node.hasTable && !in.take("</TABLE>\n")) {
            in.expect("$N\n");
            in.expect(in.numbers.size() == node.states.size(), "a row");
            node.table.insert(node.table.end(), in.numbers.begin(), in.numbers.end());
        }
        file.endTable(node);
        in.expect("</DEFINITION>\n");
    }
    in.expect("</NETWORK>\n</BIF>\n");
    in.end();
    return file.net;
}

/// The table of a noisy-max, by its definition: P(at most as strong as a state) is the product of
/// the leak's and the causes', which have their states in the order of strength.
inline void TakeNoisyMax(StrictBuilder& file, StrictNode& node) {
    Scan& in = file.in;
    std::vector<float> strengths;
    if (!node.parents.empty()) {
        in.expect("\t\t\t<strengths>$N</strengths>\n");
        strengths = in.numbers;
    }
    in.expect("\t\t\t<parameters>$N</parameters>\n");
    const std::size_t states = node.states.size();
    in.expect(in.numbers.size() == states * (strengths.size() + 1), "all parameters");
    const auto upTo = [&](std::size_t column, std::size_t state) {
        double sum = 0;
        for (; state < states; ++state)
            sum += static_cast<double>(in.numbers[column * states + state]);
        return sum;
    };
    for (std::size_t row = 0; row < file.rows(node); ++row) {
        std::vector<std::size_t> columns{strengths.size()};
        std::size_t rest = row, end = strengths.size();
        for (std::size_t i = node.parents.size(); i-- > 0;) {
            const std::size_t count = file.net[node.parents[i]].states.size();
            const auto state = static_cast<float>(rest % count);
            rest /= count, end -= count;
            const auto block = strengths.begin() + static_cast<std::ptrdiff_t>(end);
            columns.push_back(
                end + static_cast<std::size_t>(std::find(block, strengths.end(), state) - block));
        }
        const auto all = [&](std::size_t state) {
            double product = state < states ? 1 : 0;
            for (const std::size_t column : columns) product *= upTo(column, state);
            return product;
        };
        for (std::size_t state = 0; state < states; ++state)
            node.table.push_back(static_cast<float>(all(state) - all(state + 1)));
    }
    node.hasTable = node.isComputed = true;
}

/// An element of `nodes`, of which the first tag was taken.
inline void TakeXdslNode(StrictBuilder& file, StrictNode& node, const std::string& element) {
    Scan& in = file.in;
    while (in.take("\t\t\t<state id=\"$a\" />\n")) node.states.push_back(in.texts[0]);
    const std::set<std::string> distinct(node.states.begin(), node.states.end());
    in.expect(distinct.size() == node.states.size(), "distinct states");
    if (in.take("\t\t\t<parents>$W</parents>\n"))
        for (const std::string& parent : in.texts) node.parents.push_back(file.place(parent));
    while (in.take("\t\t\t<property id=\"$w\">$t</property>\n")) continue;
    const bool isSum = element == "mau";
    if ((element == "cpt" && in.take("\t\t\t<probabilities>$N</probabilities>\n")) ||
        (element == "utility" && in.take("\t\t\t<utilities>$N</utilities>\n"))) {
        node.table = in.numbers;
        node.hasTable = true;
    } else if (element == "noisymax") {
        TakeNoisyMax(file, node);
    } else if (element == "deterministic") {
        in.expect("\t\t\t<resultingstates>$W</resultingstates>\n");
        node.hasTable = true;
        for (const std::string& id : in.texts)
            for (const std::string& state : node.states) node.table.push_back(state == id ? 1 : 0);
    } else if (element == "equation") {
        in.expect("\t\t\t<definition ");
        in.expect(in.take("lower=\"$n\" ") || in.take("lower=\"-inf\" "), "a lower bound");
        in.expect(in.take("upper=\"$n\">") || in.take("upper=\"inf\">"), "an upper bound");
        in.expect("$t</definition>\n");
        const bool isCut = in.take("\t\t\t<discretization>\n");
        while (isCut && !in.take("\t\t\t</discretization>\n")) {
            in.expect("\t\t\t\t<interval ");
            in.take("label=\"$w\" ");
            in.expect(in.take("upper=\"$n\" />\n") || in.take("upper=\"inf\" />\n"), "a bound");
            node.states.emplace_back();
        }
    }
    in.expect(!isSum || in.take("\t\t\t<weights>$t</weights>\n") ||
                  in.take("\t\t\t<expression>$t</expression>\n"),
              "a formula");
    in.expect("\t\t</" + element + ">\n");
    file.endTable(node);
}

/// As the engine reads it: what must be there is there, ids are identifiers, no two are the same,
/// and parents come first.
inline StrictNet ReadStrictXdsl(std::string_view text) {
    StrictBuilder file(text, " ");
    Scan& in = file.in;
    in.expect(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<smile version=\"1.0\" id=\"$w\" "
        "numsamples=\"10000\" discsamples=\"10000\">\n\t<nodes>\n");
    while (in.take("\t\t<$w id=\"$w\"")) {
        static const std::map<std::string, std::string> kinds = {
            {"cpt", "nature"},        {"deterministic", "nature"}, {"equation", "nature"},
            {"decision", "decision"}, {"utility", "utility"},      {"mau", "utility"},
            {"noisymax", "nature"}};
        const std::string element = in.texts[0], id = in.texts[1];
        in.expect(kinds.contains(element), "a kind");
        while (in.take(" $w=\"$w\"")) continue;  // marks of diagnosis
        in.expect(">\n");
        TakeXdslNode(file, file.add(id, kinds.at(element)), element);
    }
    in.expect(
        "\t</nodes>\n\t<extensions>\n\t\t<genie version=\"1.0\" app=\"Lumo import\" name=\"$a\" "
        "faultnameformat=\"nodestate\">\n");
    in.take("\t\t\t<comment>$t</comment>\n");
    constexpr std::string_view style =
        "\t\t\t\t<name>$t</name>\n\t\t\t\t<interior color=\"$w\" />\n"
        "\t\t\t\t<outline color=\"000080\" />\n"
        "\t\t\t\t<font color=\"000000\" name=\"Arial\" size=\"8\" />\n"
        "\t\t\t\t<position>$n $n $n $n</position>\n";
    for (bool open = false;;) {
        if (in.take("\t\t\t<node id=\"$w\">\n")) {
            StrictNode& node = file.find(in.texts[0]);
            in.expect(style);
            node.isPlaced = in.numbers != std::vector<float>{-38, -18, 38, 18};
            in.take("\t\t\t\t<comment>$t</comment>\n");
            in.expect("\t\t\t</node>\n");
        } else if (!open && in.take("\t\t\t<submodel id=\"$w\">\n")) {
            in.expect(style);
            in.expect("\t\t\t\t<window>$n $n $n $n</window>\n");
            open = true;
        } else if (open) {
            in.expect("\t\t\t</submodel>\n");
            open = false;
        } else {
            break;
        }
    }
    in.expect("\t\t</genie>\n\t</extensions>\n</smile>\n");
    in.end();
    return file.net;
}

inline StrictNet ReadStrictUai(std::string_view text) {
    StrictBuilder file(text, " ");
    Scan& in = file.in;
    in.expect("BAYES\n$n\n$N\n$n\n");
    const auto count = static_cast<std::size_t>(in.numbers[0]);
    in.expect(in.numbers.size() == count + 2 && in.numbers.back() == in.numbers[0], "all counts");
    for (std::size_t i = 0; i < count; ++i) {
        StrictNode& node = file.add("V" + std::to_string(i));
        for (int s = 0; s < static_cast<int>(in.numbers[i + 1]); ++s)
            node.states.push_back("s" + std::to_string(s));
    }
    for (std::size_t i = 0; i < count; ++i) {
        in.expect("$N\n");
        in.expect(in.numbers.size() == static_cast<std::size_t>(in.numbers[0]) + 1 &&
                      in.numbers.back() == static_cast<float>(i),
                  "a scope");
        for (std::size_t k = 1; k + 1 < in.numbers.size(); ++k)
            file.net[i].parents.push_back(static_cast<std::size_t>(in.numbers[k]));
    }
    for (StrictNode& node : file.net) {
        in.expect("\n$n\n");
        const float wanted = in.numbers[0];
        node.hasTable = true;
        while (in.take(" $N\n"))
            node.table.insert(node.table.end(), in.numbers.begin(), in.numbers.end());
        in.expect(static_cast<float>(node.table.size()) == wanted, "all entries");
        file.endTable(node);
    }
    in.end();
    return file.net;
}

/// Lists in lists, as many and as long as the sizes from `level` on say.
inline void TakeNested(Scan& in, const std::vector<std::size_t>& sizes, std::size_t level,
                       std::vector<float>& out) {
    if (level == sizes.size()) {
        in.expect("$n");
        out.push_back(in.numbers[0]);
        return;
    }
    in.expect("(");
    for (std::size_t i = 0; i < sizes[level]; ++i) {
        if (i > 0) in.skip(" \n");
        TakeNested(in, sizes, level + 1, out);
    }
    in.expect(")");
}

/// Whether a row sums to something else than 1.
inline bool HasCounts(const StrictNode& node) {
    for (auto row = node.table.begin(); row != node.table.end();) {
        const auto end = row + static_cast<std::ptrdiff_t>(node.states.size());
        if (std::fabs(std::accumulate(row, end, 0.0F) - 1) > 1e-4F) return true;
        row = end;
    }
    return false;
}

inline StrictNet ReadStrictHugin(std::string_view text) {
    StrictBuilder file(text, " ");
    Scan& in = file.in;
    for (in.expect("net\n{\n"); in.take("  $f = $q;\n");) continue;
    for (in.expect("}\n");;) {
        const bool continuous = in.take("\ncontinuous node $w\n{\n");
        if (continuous) in.texts.insert(in.texts.begin(), "node");
        if (!continuous && !in.take("\n$w $w\n{\n")) break;
        const std::string kind = in.texts[0];
        in.expect(kind == "node" || kind == "decision" || kind == "utility", "a kind");
        StrictNode& node = file.add(in.texts[1], kind == "node" ? "nature" : kind);
        in.take("  label = $q;\n");
        node.isPlaced = in.take("  position = ($n $n);\n");
        if (in.take("  states = ($Q);\n")) node.states = in.texts;
        in.expect(std::count(node.states.begin(), node.states.end(), "") == 0, "texts of states");
        while (in.take("  $f = $q;\n") || in.take("  $f = $l;\n")) continue;
        in.expect("}\n");
    }
    while (in.take("\npotential ($w")) {
        StrictNode& node = file.define();
        in.expect(")\n{\n");
        std::vector<std::size_t> sizes;
        for (const std::size_t parent : node.parents)
            sizes.push_back(file.net[parent].states.size());
        if (!node.states.empty() || sizes.empty())
            sizes.push_back(std::max<std::size_t>(node.states.size(), 1));
        while (in.take("  model_nodes = $l;\n") || in.take("  model_data = $l;\n")) continue;
        const bool isText = node.states.empty() && node.kind == "nature";
        node.hasTable = !isText && in.take("  data = ");
        if (isText) in.take("  data = $l;\n");
        if (node.hasTable) {
            TakeNested(in, sizes, 0, node.table);
            in.expect(node.kind != "decision" || HasCounts(node), "no table of a decision");
            in.expect(";\n");
        }
        if (in.take("  experience = ")) {
            std::vector<float> experience;
            if (!node.states.empty() && node.parents.size() > 0) sizes.pop_back();
            if (node.parents.empty()) sizes = {1};
            TakeNested(in, sizes, 0, experience);
            in.expect(";\n");
        }
        in.expect("}\n");
    }
    in.end();
    return file.net;
}

using StrictReader = StrictNet (*)(std::string_view text);

/// That of the format; null when there is none.
inline StrictReader FindStrictReader(std::string_view format) {
    static constexpr std::pair<std::string_view, StrictReader> readers[] = {
        {"xmlbif", ReadStrictXml}, {"hugin", ReadStrictHugin}, {"dsc", ReadStrictDsc},
        {"bif", ReadStrictBif},    {"xdsl", ReadStrictXdsl},   {"uai", ReadStrictUai}};
    for (const auto& [name, reader] : readers)
        if (name == format) return reader;
    return nullptr;
}

}  // namespace lumo::test
