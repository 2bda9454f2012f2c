// Reader of UAI files, the text format of the inference competitions, as far as they hold Bayes
// nets: numbers separated by white space, with comments from '#' to the end of the line.
//
//     BAYES
//     variable count n, then n numbers of states
//     function count, n
//     scopes          k, then k variables, counted from 0: the parents, and last the child
//     tables          c, then c probabilities, the child's state fastest, the last parent's next
//
// Names are made up: V0, V1, ... and s0, s1, ... for the states. docs/uai.md describes the format.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "formats/shared/readers.h"
#include "formats/uai/messages.h"
#include "formats/uai/uai.h"
#include "library/text/tokens.h"
#include "library/utilities/numbers.h"

namespace lumo {

namespace {

constexpr int bytesPerToken = 2;  // the least that a number takes in the file

/// First words of files that are no Bayes nets.
struct OtherKind {
    const char* word;
    const char* what;
};
constexpr OtherKind otherKinds[] = {
    {"MARKOV", "a Markov random field, whose factors have neither parents nor children"},
    {"LG", "factors in logarithms"},
    {"ID", "an influence diagram"},
    {"LIMID", "an influence diagram with limited memory"},
    {"MAR", "marginals, the result of an inference"},
    {"PR", "the probability of evidence, the result of an inference"},
    {"MPE", "an assignment, the result of an inference"},
    {"MAP", "an assignment, the result of an inference"},
    {"MMAP", "an assignment, the result of an inference"},
};

/// A function of the file.
struct Function {
    Bnode_bn* child = nullptr;  ///< null: its table is passed over
    long long entries = 1;      ///< that its table should have
};

class UaiReader {
public:
    UaiReader(Parser_CString_kt& in, Bnet_bn& net) : in_(in), net_(net) {}

    /// Reads the whole file; a problem that leaves no way on is thrown.
    void read() {
        readPreamble();
        readVariables();
        readScopes();
        const ParserPos_kt place = in_.getPos();
        for (const Function& function : functions_) {
            in_.structName = function.child != nullptr ? function.child->name() : nullptr;
            readTable(function);
            in_.checkError();
        }
        in_.structName = nullptr;
        if (!in_.isAtEnd()) {
            in_.setTokenStart(in_.getPos());
            in_.report(msg::uai.trailing);
        }
        in_.setTokenStart(place);
        judge();
    }

private:
    // ---- Numbers

    int readInt() {
        if (in_.isAtEnd()) throw in_.report(msg::text.unexpectedEnd);
        const int value = in_.readInt();
        if (in_.numberFailed) throw in_.curReport;
        return value;
    }

    /// A count of things that each take a token in the rest of the file.
    int readCount(const char* what) {
        const int count = readInt();
        if (count < 0 || count > (in_.bytesLeft() + 1) / bytesPerToken)
            throw in_.report(msg::uai.impossibleCount, count, what);
        return count;
    }

    // ---- The first word

    void readPreamble() {
        const std::string word(in_.peekWord());
        in_.setTokenStart(in_.getPos());
        if (streqli_kt(word.c_str(), "BAYES")) return in_.setPos(in_.getPos() + word.size());
        if (word.empty()) throw in_.report(msg::text.unexpectedEnd);
        for (const OtherKind& kind : otherKinds)
            if (streqli_kt(word.c_str(), kind.word))
                throw in_.report(msg::uai.notBayes, kind.word, kind.what);
        const ParserPos_kt start = in_.getPos();
        int number = 0;
        const char* end = nullptr;
        if (ParseInteger(word.data(), word.data() + word.size(), number, end) != NumberEN::ok)
            throw in_.report(msg::uai.notUai, Shown(word).c_str());
        const bool evidence = isEvidence();
        in_.setPos(start);
        in_.setTokenStart(start);
        if (evidence) throw in_.report(msg::uai.notBayes, "evidence", "observed states of a net");
        in_.report(msg::uai.noPreamble);
    }

    /// Whether the text is nothing but observations: a count and so many pairs of variable and
    /// state, once or, with the number of samples before, for each of them.
    bool isEvidence() {
        std::vector<int> numbers;
        while (!in_.isAtEnd()) {
            const std::string_view word = in_.peekWord();
            const char* const last = word.data() + word.size();
            const char* end = nullptr;
            int number = 0;
            if (ParseInteger(word.data(), last, number, end) != NumberEN::ok || end != last)
                return false;
            numbers.push_back(number);
            in_.setPos(last);
        }
        return areSamples(numbers, 0, 1) || areSamples(numbers, 1, numbers.front());
    }

    static bool areSamples(const std::vector<int>& numbers, std::size_t at, int samples) {
        for (; samples > 0 && at < numbers.size(); --samples) {
            if (numbers[at] < 0) return false;
            at += 1 + 2 * static_cast<std::size_t>(numbers[at]);
        }
        return samples == 0 && at == numbers.size();
    }

    // ---- Variables

    void readVariables() {
        const int count = readCount("variables");
        nodes_.reserve(static_cast<std::size_t>(count));
        long long nameable = in_.bytesLeft() / bytesPerToken;  // states that the tables can have
        for (int i = 0; i < count; ++i) {
            const int states = readInt();
            rept_kt* refused = Fail_rept_kt;
            const std::string name = "V" + std::to_string(i);
            Bnode_bn* const node = NewNode_ibn(name.c_str(), states, net_, {0, 0}, &refused);
            if (node == nullptr) throw refused;
            if (states == 0) in_.report(msg::uai.noStates, node->name());
            nodes_.push_back(node);
            nameable -= states;
            if (nameable >= 0) nameStates(*node);
            in_.checkError();
        }
    }

    static void nameStates(Bnode_bn& node) {
        const int count = node.numStates();
        OwnedStrs names(new char*[static_cast<std::size_t>(count)](), count);
        for (int s = 0; s < count; ++s)
            names.get()[s] = DupStr_kt(("s" + std::to_string(s)).c_str());
        node.setStateNames(names.release());
    }

    // ---- Scopes

    void readScopes() {
        const int count = readCount("functions");
        if (count != static_cast<int>(nodes_.size()))
            in_.report(msg::uai.functionCount, count, static_cast<int>(nodes_.size()));
        functions_.resize(static_cast<std::size_t>(count));
        isChild_.resize(nodes_.size());
        std::vector<bool> isFirst(nodes_.size());
        bool firstsDistinct = true, lastsDistinct = true;
        for (int i = 0; i < count; ++i) {
            if (!readScope(i)) continue;
            const auto first = static_cast<std::size_t>(scope_.front());
            firstsDistinct = firstsDistinct && !isFirst[first];
            isFirst[first] = true;
            const bool own = functions_[static_cast<std::size_t>(i)].child != nullptr;
            lastsDistinct = lastsDistinct && own;
            if (own) link(functions_[static_cast<std::size_t>(i)]);
            in_.checkError();
        }
        if (firstsDistinct && !lastsDistinct) in_.report(msg::uai.childFirst);
    }

    /// Reads a scope and finds its child. False when there is nothing to be made of it.
    bool readScope(int index) {
        Function& function = functions_[static_cast<std::size_t>(index)];
        const int size = readCount("variables of a scope");
        if (size == 0) in_.report(msg::uai.emptyScope, index);
        scope_.clear();
        bool known = size > 0;
        for (int k = 0; k < size; ++k) {
            const int variable = readInt();
            if (variable < 0 || variable >= static_cast<int>(nodes_.size())) {
                if (known) in_.report(msg::uai.unknownVariable, index, variable);
                known = false;
            } else {
                scope_.push_back(variable);
                function.entries *= nodes_[static_cast<std::size_t>(variable)]->numStates();
                function.entries = std::min<long long>(function.entries, INT_MAX);
            }
        }
        if (!known) return false;
        Bnode_bn* const child = nodes_[static_cast<std::size_t>(scope_.back())];
        std::vector<bool>::reference taken = isChild_[static_cast<std::size_t>(scope_.back())];
        if (taken) {
            in_.report(msg::uai.secondFunction, index, child->name());
        } else {
            function.child = child;
        }
        taken = true;
        return true;
    }

    /// Gives the child its parents. A table for parents that the node cannot have is passed over.
    void link(Function& function) {
        parents_.N = 0;
        for (std::size_t k = 0; k + 1 < scope_.size(); ++k)
            parents_.append(nodes_[static_cast<std::size_t>(scope_[k])]);
        if (parents_.N == 0) return;
        in_.setError(function.child->changePreds(parents_));
        if (function.child->parents.N != parents_.N) function.child = nullptr;
    }

    // ---- Tables

    void readTable(const Function& function) {
        const int count = readCount("entries");
        if (function.child == nullptr) return passNumbers(count);
        Bnode_bn& node = *function.child;
        if (count != function.entries) {
            in_.report(msg::uai.wrongCount, node.name(), function.entries, count);
            return passNumbers(count);
        }
        if (count > MaxTableEntries) {
            in_.report(msg::import.tableTooLarge, node.name(), 1LL * count, MaxTableEntries);
            return passNumbers(count);
        }
        const ParserPos_kt place = in_.tokenStart();
        XArray<float> table = TryNewTable<float>(in_, count, node);
        if (table == nullptr) return passNumbers(count);
        in_.exact.over(table.get(), count);
        if (in_.readFloats(table.get(), count, CommasEN::none) != count)
            throw MakeNumberError(in_, false);
        XArray<double> exact = in_.exact.take(count);
        const ParserPos_kt end = in_.getPos();
        in_.setTokenStart(place);
        in_.setError(node.setTable(std::move(table), std::move(exact)));
        node.checkRowSums();
        in_.setPos(end);
    }

    void passNumbers(int count) {
        float passed[64];
        while (count > 0) {
            const int read = in_.readFloats(passed, std::min(count, 64), CommasEN::none);
            if (read == 0) throw MakeNumberError(in_, false);
            count -= read;
        }
    }

    void judge() {
        const auto missing = std::ranges::count(isChild_, false);
        if (missing == 0) return;
        const auto first = std::ranges::find(isChild_, false) - isChild_.begin();
        in_.report(msg::uai.noFunction, static_cast<int>(missing), net_.nodes.N,
                   nodes_[static_cast<std::size_t>(first)]->name());
    }

    Parser_CString_kt& in_;
    Bnet_bn& net_;
    std::vector<Bnode_bn*> nodes_;  // borrowed, in file order
    std::vector<bool> isChild_;     // of a function
    std::vector<Function> functions_;
    std::vector<int> scope_;  // the one being read
    BndList_bn parents_;
};

}  // namespace

rept_kt* ParseUaiFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing, const ReadOptions&) {
    const std::unique_ptr<short[]> charProps(MakeStdCharProps_kt());
    SetCharProp_kt("#", CharPropComment, charProps.get());
    const ParserOptions_kt options{.charProps = charProps.get(), .commentChar1 = '#'};
    const OwnedParser parser(channel.makeParser(&options));
    Parser_CString_kt& in = TextParser(*parser);
    const ParserContext context(in, "UAI file");
    ReadToTheEnd(in, [&] { UaiReader(in, net).read(); });
    in.checkError();
    PlaceNodes(drawing, false, 1.0);
    return in.curReport;
}

}  // namespace lumo
