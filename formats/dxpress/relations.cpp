// Reader of DXPress knowledge bases: the relations of the network's entries, tables of
// probabilities and noisy-max parameters.
#include <atomic>

#include <climits>
#include <cstring>

#include "formats/dxpress/blocks.h"

namespace lumo::dxpress {

namespace {

constexpr const char* relationFields = "prob,partitions,naSpec";

constexpr BlockKind standardRelation{"node standard relation", &msg::dxpress.standardUnopened,
                                     msg::dxpress.strayInRelation, nullptr, wordSize};

/// The numbers of a relation: as many as are wanted are kept, all are counted.
template <class NUMBER>
struct Numbers {
    XArray<NUMBER> values;  // null when the file cannot hold as many as are wanted
    XArray<double> exact;   // where floats do not hold them; of a complete relation
    int wanted = 0;
    int count = 0;
    bool damaged = false;  // a token was no number

    Numbers(Parser_CString_kt& in, const Bnode_bn& node, int n) : wanted(n) {
        constexpr int bytesPerNumber = 2;
        const bool possible = n <= (in.bytesLeft() + 1) / bytesPerNumber;
        if (!possible || n > MaxTableEntries) return;
        values = TryNewTable<NUMBER>(in, n, node);
    }
    /// Reads the next number, and those behind it that are separated from it by commas.
    void read(Parser_CString_kt& in) {
        const int run =
            values == nullptr || count >= wanted ? 0 : readRun(in, values.get() + count);
        if (run > 0) {
            count += run;
            return;
        }
        const double value = in.readDouble();
        damaged |= in.numberFailed;
        add(value);
    }
    bool complete() const { return count == wanted && values != nullptr && !damaged; }

private:
    int readRun(Parser_CString_kt& in, float* out) const {
        return in.readFloats(out, wanted - count, CommasEN::must);
    }
    int readRun(Parser_CString_kt& in, double* out) const {
        return in.readDoubles(out, wanted - count, CommasEN::must);
    }
    void add(double value) {
        if (count < wanted && values != nullptr)
            values[static_cast<std::size_t>(count)] = static_cast<NUMBER>(value);
        if (count < INT_MAX) ++count;
    }
};

/// Reads a label up to its ';', then numbers separated by ',' up to the ';' that ends them.
template <class NUMBER>
void ReadRow(Parser_CString_kt& in, Numbers<NUMBER>& numbers,
             const Message<const char*>& strayPunctuation) {
    if (in.peekPunc() == ';')
        in.skipChar();
    else if (in.skipToString(";") == -1)
        in.jumpToEnd();
    while (!in.isAtEnd()) {
        if (in.peekPunc() == '}') return;  // ends what holds the rows, short of a number
        numbers.read(in);
        const char c = ReadPuncEQ(in);
        if (c == ';') return;
        if (c == ',') continue;
        in.report(strayPunctuation, CharName(c));
        if (c == '}') {  // the row's ';' is missing; the '}' ends what holds the rows
            in.unreadChar(c);
            return;
        }
    }
    EndOfInput(in);
}

/// True, after an error, when the node's table is above the limit.
bool IsTooLarge(Parser_CString_kt& in, const Bnode_bn& node, int wanted) {
    if (wanted <= MaxTableEntries) return false;
    in.report(msg::model.tableTooLarge, node.name(), wanted, MaxTableEntries);
    return true;
}

/// The "prob" field of a standard relation, after its name.
void ReadProb(Parser_CString_kt& in, Bnode_bn& node) {
    Expect(in, ":", keepValue, msg::dxpress.probSeparator);
    Expect(in, "{", keepValue, msg::dxpress.probUnopened);
    Numbers<float> table(in, node, NumProduct(node.family));
    in.exact.over(table.values.get(), table.wanted);
    for (;;) {
        if (in.isAtEnd()) {
            EndOfInput(in);
            break;
        }
        const char c = ReadPuncEQ(in);
        if (c == '}') break;
        if (c != '(') {
            in.report(msg::dxpress.strayBeforeRow, CharName(c));
        }
        ReadRow(in, table, msg::dxpress.strayInRow);
        in.checkError();
    }
    if (IsTooLarge(in, node, table.wanted)) return;
    if (table.count != table.wanted) {
        in.report(msg::dxpress.wrongProbabilityCount, table.wanted, table.count);
        return;
    }
    if (!table.complete()) return;
    table.exact = in.exact.take(table.wanted);
    if (node.relation.kind != RelnKindEN::none) in.report(msg::import.tableAgain, node.name());
    rept_kt* report = node.setTable(std::move(table.values), std::move(table.exact));
    if (IsError(report)) {
        in.makeError(*report, "%s reading conditional probabilites");
        return;
    }
    node.checkRowSums();
    node.relation.makeDeterminFromProbs();
}

}  // namespace

void read_standard_reln(Parser_CString_kt& in, Bnode_bn& node) {
    ReadBlock(in, standardRelation, node.name(), [&](const char* word) {
        if (IsKeyword(word, "prob")) {
            ReadProb(in, node);
        } else {
            if (std::strstr(relationFields, word) == nullptr) {
                in.reportUnknown(word, msg::dxpress.unknownRelationField, word);
            }
            SkipNextBraces(in);
        }
        return true;
    });
}

namespace {

/// Reads the groups of a noisy-max body. Returns true when the body's '}' ended them.
bool ReadGroups(Parser_CString_kt& in, Numbers<double>& parameters) {
    for (;;) {
        if (in.isAtEnd()) {
            EndOfInput(in);
            return true;
        }
        const char c = ReadPuncEQ(in);
        if (c == 0) return false;
        // A '}' right after the last group ends the body, unless a further group follows it.
        if (c == '}' && (parameters.count >= parameters.wanted || in.peekPunc() != '('))
            return true;
        if (c != '(') {
            in.report(msg::dxpress.strayBeforeGroup, CharName(c));
        }
        ReadRow(in, parameters, msg::dxpress.strayInGroup);
        in.checkError();
    }
}

/// The answer to the question that is asked once in the life of the process.
bool AnswerOfProcess() {
    static std::atomic<signed char> answer = -1;
    if (answer < 0) {
        const MessageRow& question = msg::dxpress.condense;
        answer = AskYesOrNoC_kt(question.number, 0, -1, nullptr, "%s", question.text) ? 1 : 0;
    }
    return answer == 1;
}

/// Installs the parameters.
void MakeNoisyMax(Parser_CString_kt& in, Bnode_bn& node, const double* parameters) {
    std::optional<bool>& condense = static_cast<State*>(in.state)->condense;
    if (!condense) condense = AnswerOfProcess();
    rept_kt* report = node.makeIntoNoisyMax(parameters, *condense);
    if (IsError(report)) in.makeError(*report, "%s creating noisy-max node");
}

}  // namespace

void read_ci_reln(Parser_CString_kt& in, Bnode_bn& node) {
    ReadFramed(in, "node ci relation", node.name(), [&] {
        Expect(in, "{", keepNothing, msg::dxpress.noisyMaxUnopened);
        Numbers<double> parameters(in, node, NumCIParams(node));
        if (in.skipToString(")") == -1) in.jumpToEnd();
        const bool ended = ReadGroups(in, parameters);
        if (IsTooLarge(in, node, parameters.wanted)) {
            // said already
        } else if (parameters.count != parameters.wanted) {
            in.report(msg::dxpress.wrongParameterCount, parameters.wanted, parameters.count);
        } else if (parameters.complete()) {
            MakeNoisyMax(in, node, parameters.values.get());
        }
        if (!ended) in.skipStructure('{', '}', true);
        in.checkError();
    });
}

}  // namespace lumo::dxpress
