// Reader of BIF files, the Bayesian Networks Interchange Format 0.15, and of its dialects. A file
// is a `network` block and, in any order, a `variable` block for every node and a `probability`
// block for every table; docs/bif.md describes the format. Commas count as white space; names and
// states are words or quoted texts, and where a text stands says whether it is a name or a number.
//
// A statement that cannot be read costs itself, a damaged header its block. A block that lost its
// '}' ends before the next one.
#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "formats/bif/bif.h"
#include "formats/bif/messages.h"
#include "formats/bif/statements.h"
#include "formats/shared/commas.h"
#include "formats/shared/judging.h"
#include "formats/shared/positions.h"
#include "formats/shared/readers.h"
#include "formats/shared/statewords.h"
#include "formats/shared/tableorder.h"
#include "library/text/tokens.h"

namespace lumo {

namespace {

constexpr double positionScale = 1.5;  // of positions given by the file
constexpr int bytesPerNumber = 2;      // the least that a number takes in the file

// ---- Network -------------------------------------------------------------------------------

/// Reads a network block: the name is the net's title, the properties lines of its comment.
class NetworkReader {
public:
    NetworkReader(Parser_CString_kt& in, Bnet_bn& net) : in_(in), net_(net) {}

    void read(bool again) {
        const ParserContext context(in_, "network block");
        if (again) in_.report(msg::bif.networkAgain);
        std::string_view name;
        if (!TakeText(in_, name)) {
            const std::string found = NextToken(in_);
            in_.report(msg::bif.netWithoutName, found.c_str());
        } else if (!again) {
            SetNetLabel(net_, DupStr_kt(name));
        }
        Expect(in_, '{');
        ReadStatements(in_, *this, statements_);
        if (!comment_.empty()) net_.setComment(DupStr_kt(comment_.c_str()));
    }

private:
    void readProperty() {
        if (!comment_.empty()) comment_ += '\n';
        const Property property = ReadProperty(in_);
        comment_ += property.name;
        if (!property.value.empty()) (comment_ += " = ") += property.value;
    }

    static constexpr Statement<NetworkReader> statements_[] = {
        {"property", &NetworkReader::readProperty}};

    Parser_CString_kt& in_;
    Bnet_bn& net_;
    std::string comment_;
};

// ---- Variables -----------------------------------------------------------------------------

/// Reads a variable block after its keyword and makes the node.
class VariableReader {
public:
    VariableReader(Parser_CString_kt& in, Bnet_bn& net, TextList& words)
        : in_(in), net_(net), words_(words) {}

    void read() {
        const ParserContext context(in_, "variable block");
        std::string_view name;
        if (!TakeText(in_, name)) {
            const std::string found = NextToken(in_);
            in_.report(msg::bif.missingName, "variable", found.c_str());
            return PassBlock(in_);
        }
        const ParserPos_kt place = in_.tokenStart();
        rept_kt* refused = Fail_rept_kt;
        node_ = NewNode_ibn(std::string(name).c_str(), 2, net_, {0, 0}, &refused);
        if (node_ == nullptr) {
            in_.setError(refused);
            return PassBlock(in_);
        }
        RememberPlace(in_, *node_);
        in_.structName = node_->name();
        if (!IsLegalName_kt(name)) node_->setTitle(name);
        Expect(in_, '{');
        ReadStatements(in_, *this, statements_);
        if (typed_) return;
        in_.setTokenStart(place);
        in_.report(msg::bif.noStates, node_->name(), node_->numStates());
    }

private:
    void readType() {
        const std::string_view kind = TakeWord(in_);
        if (!IsKeyword(kind, "discrete")) {
            in_.report(msg::bif.unknownType, Shown(kind).c_str());
            if (in_.peekPunc() != '[') return in_.skipStatement();
        }
        Expect(in_, '[');
        const int stated = in_.readInt();
        const bool counted = !in_.numberFailed;
        Expect(in_, ']');
        Expect(in_, '{');
        readStates(counted, stated);
    }

    /// The states are those that are named, whatever number was stated.
    void readStates(bool counted, int stated) {
        words_.clear();
        in_.skipSpaces();
        const ParserPos_kt place = in_.getPos();
        for (std::string_view text; TakeText(in_, text); words_.close()) words_.open().append(text);
        Expect(in_, '}');
        const int count = static_cast<int>(words_.size());
        if (counted && count != stated) {
            const ParserPos_kt here = in_.tokenStart();
            in_.setTokenStart(place);
            in_.report(msg::bif.wrongStateCount, stated, count);
            in_.setTokenStart(here);
        }
        if (count == 0) {
            if (counted) ThrowIfError(node_->setStates(stated));
            return;
        }
        typed_ = true;
        if (!NameStates(*node_, words_))
            ThrowIfError(SetStatesToLabels(*node_, words_.copies(), count, false));
    }

    void readProperty() {
        const Property property = ReadProperty(in_);
        if (IsKeyword(property.name, "position")) return readPosition(property.value);
        if (IsKeyword(property.name, "label")) {
            if (!property.value.empty()) node_->setTitle(property.value);
        } else if (!property.name.empty()) {
            node_->setUserField(std::string(property.name).c_str(), property.value.data(),
                                static_cast<int>(property.value.size()));
        }
    }

    void readPosition(std::string_view value) {
        if (value.empty()) return;
        const ParserPos_kt end = in_.getPos();
        coord_kt point;
        in_.setPos(value.data());
        if (TryReadCoord(in_, point)) {
            SetSafePosition(*node_, point);
            ++in_.positionCount;
        }
        in_.setPos(end);
    }

    static constexpr Statement<VariableReader> statements_[] = {
        {"type", &VariableReader::readType}, {"property", &VariableReader::readProperty}};

    Parser_CString_kt& in_;
    Bnet_bn& net_;
    TextList& words_;  // working storage
    Bnode_bn* node_ = nullptr;
    bool typed_ = false;
};

// ---- Probabilities -------------------------------------------------------------------------

/// Whether a probability block was read for the node, of which something is kept.
bool IsDefined(const Bnode_bn& node) {
    return node.parents.N > 0 || node.relation.kind != RelnKindEN::none;
}

/// What the probability blocks of a file share.
struct Definitions {
    StateWords words;
    std::vector<ParserPos_kt> waiting;  // blocks that name variables which were not read yet
    bool waits = true;                  // such blocks may wait
    std::vector<float> numbers;         // working storage
    std::vector<int> states;  // of the row; before it is read, those that follow the last row's
    int child = -1;           // the place of the node defined last
    TableOrder order;
    std::unordered_set<const Bnode_bn*> toBeLearnt;
};

/// Reads a probability block after its keyword: the parents, then the table, as a whole or row by
/// row.
class ProbabilityReader {
public:
    ProbabilityReader(Parser_CString_kt& in, Bnet_bn& net, Definitions& file)
        : in_(in), net_(net), file_(file) {}

    void read() {
        const ParserContext context(in_, "probability block");
        const ParserPos_kt place = in_.tokenStart();
        if (!readHeader()) return PassBlock(in_);
        file_.states.assign(static_cast<std::size_t>(node_->parents.N), 0);
        Expect(in_, '{');
        ReadStatements(in_, *this, statements_);
        in_.setTokenStart(place);
        finish();
    }

private:
    // ---- The header

    /// False when the block is to be passed over: nothing can be made of it, or not yet.
    bool readHeader() {
        const ParserPos_kt start = in_.getPos();
        Expect(in_, '(');
        BndList_bn parents;
        bool known = true;
        std::string_view name;
        for (; in_.peekPunc() == '|' ? node_ != nullptr : TakeText(in_, name); name = {}) {
            if (name.empty()) {
                in_.skipChar();  // the bar
                continue;
            }
            Bnode_bn* const node = find(name);
            if (node == nullptr && file_.waits) {
                file_.waiting.push_back(start);
                return false;
            }
            if (node == nullptr) {
                in_.report(node_ == nullptr ? msg::bif.unknownChild : msg::bif.unknownParent,
                           std::string(name).c_str());
                if (node_ == nullptr) return false;
                known = false;
            } else if (node_ == nullptr) {
                node_ = node;
                file_.child = node->place();
                in_.structName = node->name();
            } else {
                parents.append(node);
            }
        }
        if (node_ == nullptr) {
            const std::string found = NextToken(in_);
            in_.report(msg::bif.missingName, "probability", found.c_str());
            return false;
        }
        Expect(in_, ')');
        return define(parents) && known;
    }

    Bnode_bn* find(std::string_view name) const {
        const std::string_view text = name.substr(0, name.find('\0'));  // which may be in quotes
        return node_ == nullptr ? net_.findNodeLabeled(text, file_.child + 1)
                                : net_.findNodeLabeled(text);
    }

    bool define(const BndList_bn& parents) {
        if (IsDefined(*node_)) {
            in_.report(msg::bif.definedTwice, node_->name());
            node_->relation.clear();
        }
        rept_kt* const report = node_->changePreds(parents);
        in_.setError(report);
        return !IsError(report);
    }

    // ---- Numbers

    /// Reads as many numbers, and no more.
    template <class T>
    void readNumbers(T* out, int wanted) {
        const ParserPos_kt list = in_.getPos();
        const int read = readSome(out, wanted);
        const char next = in_.peekPunc();
        if (read == wanted && next == ';') return;
        const long long count = read + countNumbers();
        if (count == wanted) return;
        if (!in_.peekWord().empty() && !AtBlock(in_)) throw MakeNumberError(in_, false);
        TellDecimalCommas(in_, list, node_->name(), wanted, count);
        throw in_.report(msg::bif.wrongCount, node_->name(), 1LL * wanted, count);
    }

    int readSome(float* out, int most) { return in_.readFloats(out, most, CommasEN::none); }
    int readSome(double* out, int most) { return in_.readDoubles(out, most, CommasEN::none); }

    long long countNumbers() {
        float passed[64];
        long long count = 0;
        for (int read = 1; read > 0; count += read) read = readSome(passed, 64);
        return count;
    }

    void charge(long long entries) {
        refused_ = refused_ || entries > in_.reserved;
        Charge(in_, entries, msg::bif.tooMuchToFill);
    }

    int tableSize() {
        const int entries = NumProduct(node_->family);
        if (entries <= MaxTableEntries) return entries;
        refused_ = true;
        throw in_.report(msg::import.tableTooLarge, node_->name(), 1LL * entries, MaxTableEntries);
    }

    // ---- The whole table

    /// The child's state is the slowest index, the last parent's the fastest.
    void readTable() {
        const int entries = tableSize();
        std::vector<float>& numbers = file_.numbers;
        if (entries > in_.bytesLeft() / bytesPerNumber + 1)
            throw in_.report(msg::bif.wrongCount, node_->name(), 1LL * entries, countNumbers());
        numbers.resize(static_cast<std::size_t>(entries));
        in_.exact.over(numbers.data(), entries);
        readNumbers(numbers.data(), entries);
        const double* const read = in_.exact.complete(entries);
        if (rowsGiven_) in_.report(msg::bif.tableAndRows, node_->name());
        if (tableGiven_) in_.report(msg::import.tableAgain, node_->name());
        tableGiven_ = true;
        if (isToBeLearnt(numbers.data(), entries)) return;
        const bool slowest =
            !in_.lenient || !file_.order.isTurned(in_, *node_, numbers.data(), entries, true);
        XArray<float> table = inRows(numbers.data(), entries, slowest);
        XArray<double> exact = read != nullptr ? inRows(read, entries, slowest) : nullptr;
        ThrowIfError(node_->setTable(std::move(table), std::move(exact)));
    }

    /// The numbers in rows.
    template <class T>
    XArray<T> inRows(const T* numbers, int entries, bool stateSlowest) {
        XArray<T> table = NewTable<T>(entries, *node_);
        if (stateSlowest)
            TurnTable(numbers, node_->numStates(), entries, table.get());
        else
            std::copy_n(numbers, entries, table.get());
        return table;
    }

    /// Some programs write -1 for all probabilities that are to be learnt. True, and the node has
    /// no table, when these are such.
    bool isToBeLearnt(const float* numbers, int count) {
        if (!in_.lenient || std::any_of(numbers, numbers + count, [](float p) { return p != -1; }))
            return false;
        file_.toBeLearnt.insert(node_);
        return true;
    }

    // ---- Rows

    float* readVector() {
        file_.numbers.resize(static_cast<std::size_t>(node_->numStates()));
        in_.exact.over(file_.numbers.data(), node_->numStates());
        readNumbers(file_.numbers.data(), node_->numStates());
        return file_.numbers.data();
    }
    /// Of the vector read last what floats do not hold; null: nothing.
    const double* exactVector() { return in_.exact.complete(node_->numStates()); }

    /// What the rows that are not listed get, wherever it stands.
    void readDefault() {
        const float* const vector = readVector();
        if (isToBeLearnt(vector, node_->numStates())) return;
        default_.assign(vector, vector + node_->numStates());
        const double* const exact = exactVector();
        exactDefault_.assign(exact, exact + (exact != nullptr ? node_->numStates() : 0));
    }

    /// A row after its '('.
    void readRow() {
        if (refused_) return in_.skipStatement();
        const ParserPos_kt place = in_.tokenStart();
        if (!rowsGiven_ && causes_.empty()) charge(tableSize());
        readRowStates();
        if (!causes_.empty()) return readCause(place);
        const float* const vector = readVector();
        if (isToBeLearnt(vector, node_->numStates())) return toNextRow();
        in_.setTokenStart(place);
        if (!rowsGiven_ && tableGiven_) in_.report(msg::bif.tableAndRows, node_->name());
        rowsGiven_ = true;
        if (equalWords_) chooseAmongEqual();
        ThrowIfError(node_->setRow(file_.states.data(), vector, exactVector()));
        toNextRow();
    }

    /// The words for the parents' states up to the ')'.
    void readRowStates() {
        const int wanted = node_->parents.N;
        int read = 0;
        equalWords_ = false;
        for (std::string_view word; TakeText(in_, word); ++read) {
            if (read >= wanted) continue;
            int& state = file_.states[static_cast<std::size_t>(read)];
            state = stateOf(*node_->parents[read], word, state);
        }
        Expect(in_, ')');
        if (read != wanted) throw in_.report(msg::bif.wrongRowWords, read, node_->name(), wanted);
    }

    int stateOf(const Bnode_bn& parent, std::string_view word, int guess) {
        const int state = file_.words.find(parent, word, guess);
        if (state < 0 && word == "*") return AnyParentState;
        if (state < 0) throw in_.report(msg::bif.unknownState, Shown(word).c_str(), parent.name());
        equalWords_ = equalWords_ || file_.words.next(parent, state) >= 0;
        return state;
    }

    /// Makes the states those of the next row, the last parent's fastest.
    void toNextRow() {
        std::vector<int>& states = file_.states;
        for (std::size_t i = states.size(); i-- > 0;) {
            if (++states[i] < node_->parents[static_cast<int>(i)]->numStates()) break;
            states[i] = 0;
        }
    }

    /// Rows of the same words belong to the states that share them in turn, the last parent's
    /// first.
    void chooseAmongEqual() {
        std::vector<int>& states = file_.states;
        long long row = 0;
        for (int i = 0; i < node_->parents.N; ++i)
            row = row * node_->parents[i]->numStates() + states[static_cast<std::size_t>(i)];
        const auto [last, isFirst] = equalRows_.try_emplace(row, states);
        if (!equalTold_) in_.report(msg::bif.equalStates, node_->name());
        equalTold_ = true;
        if (isFirst) return;
        for (std::size_t i = states.size(); i-- > 0;) {
            int& state = last->second[i];
            const int next =
                state < 0 ? -1 : file_.words.next(*node_->parents[static_cast<int>(i)], state);
            state = next >= 0 ? next : states[i];
            if (next >= 0) break;
        }
        states = last->second;
    }

    /// Gives the default to the rows that were not given.
    void fillRows() {
        std::vector<int>& states = file_.states;
        if (!rowsGiven_) {
            std::ranges::fill(states, AnyParentState);
            charge(tableSize());
            return setDefault();
        }
        std::ranges::fill(states, 0);
        const int rows = NumProduct(node_->parents);
        for (int row = 0; row < rows; ++row) {
            if (node_->relation.rowMarks != nullptr && node_->relation.rowMarks[row] == 0)
                setDefault();
            toNextRow();
        }
    }

    void setDefault() {
        ThrowIfError(node_->setRow(file_.states.data(), default_.data(),
                                   exactDefault_.empty() ? nullptr : exactDefault_.data()));
    }

    // ---- Noisy-max

    /// A property of the table. `function max`: its rows are the leak, for all parents in their
    /// state 0, and what each other state of each parent causes alone, without the leak.
    void readProperty() {
        const Property property = ReadProperty(in_);
        const bool isFunction = IsKeyword(property.name, "function");
        if (isFunction && IsKeyword(property.value, "max") && !rowsGiven_ && !tableGiven_) {
            const int count = NumCIParams(*node_);
            if (count > in_.bytesLeft() / bytesPerNumber + 1) {
                refused_ = true;
                throw in_.report(msg::bif.causesMissing, node_->name());
            }
            causes_.assign(static_cast<std::size_t>(count), -1);
        } else if (isFunction) {
            const std::string value(property.value);
            in_.report(msg::bif.unknownFunction, Shown(value).c_str(), node_->name());
        } else if (!property.name.empty()) {
            node_->setUserField(std::string(property.name).c_str(), property.value.data(),
                                static_cast<int>(property.value.size()));
        }
    }

    void readCause(ParserPos_kt place) {
        int at = 0;      // distributions before this one
        int causes = 0;  // parents away from their state 0
        int before = 0;
        for (int i = 0; i < node_->parents.N; ++i) {
            const int state = file_.states[static_cast<std::size_t>(i)];
            if (state != 0) {
                at = before + state - 1;
                ++causes;
            }
            before += node_->parents[i]->numStates() - 1;
        }
        if (causes == 0) at = before;
        if (causes > 1 || std::ranges::find(file_.states, AnyParentState) != file_.states.end()) {
            in_.setTokenStart(place);
            throw in_.report(msg::bif.severalCauses, node_->name());
        }
        readNumbers(causes_.data() + 1LL * at * node_->numStates(), node_->numStates());
    }

    void makeNoisyMax() {
        if (std::ranges::find(causes_, -1.0) != causes_.end())
            throw in_.report(msg::bif.causesMissing, node_->name());
        const int entries = NumProduct(node_->family);
        const bool condense = entries > std::min<long long>(in_.reserved, MaxTableEntries);
        if (!condense) charge(entries);
        ThrowIfError(node_->makeIntoNoisyMax(causes_.data(), condense));
    }

    void finish() {
        try {
            if (!causes_.empty()) makeNoisyMax();
            if (!default_.empty() && causes_.empty() && !tableGiven_) fillRows();
        } catch (rept_kt* report) {
            in_.setError(report);
        }
        node_->finishRows();
        node_->checkRowSums();
    }

    static constexpr Statement<ProbabilityReader> statements_[] = {
        {"(", &ProbabilityReader::readRow},
        {"table", &ProbabilityReader::readTable},
        {"default", &ProbabilityReader::readDefault},
        {"property", &ProbabilityReader::readProperty}};

    Parser_CString_kt& in_;
    Bnet_bn& net_;
    Definitions& file_;
    Bnode_bn* node_ = nullptr;
    std::vector<float> default_;        // empty: none is given
    std::vector<double> exactDefault_;  // empty: floats hold it
    std::vector<double> causes_;  // noisy-max parameters, -1 for those not given; empty: a table
    bool tableGiven_ = false;
    bool rowsGiven_ = false;
    bool refused_ = false;     // the rows cannot be stored; that was reported
    bool equalWords_ = false;  // a word of the row stands for several states
    bool equalTold_ = false;
    std::unordered_map<long long, std::vector<int>> equalRows_;  // the states used last
};

// ---- The file ------------------------------------------------------------------------------

class BifReader {
public:
    BifReader(Parser_CString_kt& in, Bnet_bn& net) : in_(in), net_(net) {}

    void read() {
        while (!in_.isAtEnd()) {
            readBlock();
            in_.checkError();
        }
        definitions_.waits = false;
        for (const ParserPos_kt start : definitions_.waiting) {
            in_.setPos(start);
            ProbabilityReader(in_, net_, definitions_).read();
            in_.checkError();
        }
        definitions_.order.finish(in_);
        in_.jumpToEnd();
        in_.isAtEnd();
        judge();
        const auto& learnt = definitions_.toBeLearnt;
        if (learnt.empty())
            return JudgeNodes(in_, net_, [](const Bnode_bn& node) { return !IsDefined(node); });
        const auto first = std::ranges::find_if(
            net_.nodes, [&](const Bnode_bn* node) { return learnt.contains(node); });
        in_.report(msg::bif.toBeLearnt, static_cast<int>(learnt.size()), (*first)->name());
    }

private:
    void readNetwork() { NetworkReader(in_, net_).read(std::exchange(sawNetwork_, true)); }
    void readVariable() { VariableReader(in_, net_, words_).read(); }
    void readProbability() { ProbabilityReader(in_, net_, definitions_).read(); }

    static constexpr Statement<BifReader> blocks_[] = {
        {"network", &BifReader::readNetwork},
        {"variable", &BifReader::readVariable},
        {"probability", &BifReader::readProbability}};

    void readBlock() {
        if (const char c = in_.readPunc(); c != 0) return DropStray(in_, c);
        std::string_view word;
        TakeText(in_, word);
        if (const auto* known = FindKeyword(blocks_, word)) {
            sawBlock_ = true;
            return (this->*known->read)();
        }
        in_.reportUnknown(word, msg::bif.unknownBlock, Shown(word).c_str());
        PassBlock(in_);
    }

    /// Says what the file as a whole lacks.
    void judge() {
        if (!sawBlock_) throw in_.report(msg::bif.notBif);
        if (net_.nodes.N == 0) in_.report(msg::bif.noVariables);
        const auto isMissing = [&](const Bnode_bn* node) {
            return !IsDefined(*node) && !definitions_.toBeLearnt.contains(node);
        };
        const auto missing = std::ranges::count_if(net_.nodes, isMissing);
        if (missing == 0) return;
        in_.report(msg::bif.noProbabilities, static_cast<int>(missing), net_.nodes.N,
                   (*std::ranges::find_if(net_.nodes, isMissing))->name());
    }

    Parser_CString_kt& in_;
    Bnet_bn& net_;
    TextList words_;
    Definitions definitions_;
    bool sawNetwork_ = false;
    bool sawBlock_ = false;
};

}  // namespace

rept_kt* ParseBifFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                      const ReadOptions& readOptions) {
    const std::unique_ptr<short[]> charProps(MakeStdCharProps_kt());
    SetCharProp_kt("\"(){}[];|", CharPropPunct, charProps.get());
    SetCharProp_kt(",", CharPropSpace, charProps.get());
    SetCharProp_kt("/", CharPropComment, charProps.get());
    const ParserOptions_kt options{
        .charProps = charProps.get(), .commentChar1 = '/', .commentChar2 = '/', .commentMode = 2};
    const OwnedParser parser(channel.makeParser(&options));
    Parser_CString_kt& in = TextParser(*parser);
    in.reserved = in.bytesLeft() + MaxTableEntries;
    in.lenient = readOptions.lenient;
    ReadToTheEnd(in, [&] { BifReader(in, net).read(); });
    in.checkError();
    PlaceNodes(drawing, in.positionCount > 0, positionScale);
    return in.curReport;
}

}  // namespace lumo
