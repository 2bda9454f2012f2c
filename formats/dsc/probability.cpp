// Reader of DSC files: the probability blocks. `probability (CHILD | PARENTS) { rows }` links the
// parents to the child and gives the child's table; each row names its parent states in a tuple.
#include <algorithm>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "formats/dsc/belvec.h"
#include "formats/dsc/blocks.h"
#include "formats/shared/readers.h"
#include "library/utilities/numbers.h"

namespace lumo::dsc {

namespace {

// ---- The header ----------------------------------------------------------------------------

/// The header of a probability block.
struct Family {
    Bnode_bn* child = nullptr;
    // When the header names parents that the child has already: for each index of a tuple that
    // lists them as written the place of its parent among the child's. Else empty.
    std::vector<int> tupleOrder;
};

/// The order of the tuples when the header names parents that the child has already: first those it
/// had before the block and the header leaves out, then the header's as written, repeated ones too.
std::vector<int> TupleOrder(const BndList_bn& parents, int before,
                            const std::vector<Bnode_bn*>& written) {
    std::unordered_map<const Bnode_bn*, int> places;
    for (int i = 0; i < parents.N; ++i) places.emplace(parents[i], i);
    std::vector<bool> named(static_cast<std::size_t>(parents.N));
    for (const Bnode_bn* parent : written)
        named[static_cast<std::size_t>(places.at(parent))] = true;
    std::vector<int> order;
    for (int i = 0; i < before; ++i) {
        if (!named[static_cast<std::size_t>(i)]) order.push_back(i);
    }
    for (const Bnode_bn* parent : written) order.push_back(places.at(parent));
    return order;
}

/// The next parent of a header, linked to the child; null at the ')'. `first`: no parent was read.
Bnode_bn* ReadParent(Parser_CString_kt& in, Bnode_bn& child, bool first, Block& block,
                     Leniency& lenient) {
    char name[wordSize + 1] = {};
    bool due = first;  // a name, so that another comma is one too many
    while (name[0] == 0) {
        if (in.isAtEnd()) {
            in.report(msg::text.unexpectedEnd);
            return nullptr;
        }
        const bool quoted = lenient.on && in.peekPunc() == '"';
        const char c = quoted ? '\0' : in.readPunc();
        const bool expected = c == 0 || (!due && (c == ',' || c == ')'));
        if (!expected) in.report(msg::dsc.strayAmongParents, CharName(c));
        if (c == ')') return nullptr;
        if (c == '{' && block.body == nullptr) block.body = in.getPos();
        due = due || c == ',';
        ReadNodeName(in, lenient, name);
    }
    Bnode_bn* parent = child.net().findNodeLabeled(name);
    if (parent == nullptr) throw in.report(msg::dsc.unknownParent, name);
    block.body = nullptr;
    ThrowIfError(AddLink_ibn(*parent, child));
    return parent;
}

/// Reads the header from '(' to '{' and makes its links. Sets the block's body, also when an
/// unknown parent shows that it begins before a ')'.
Family ReadHeader(Parser_CString_kt& in, const Bnet_bn& net, Block& block, Leniency& lenient) {
    if (!Accept(in, '(')) throw in.report(msg::dsc.missingParenthesis);
    char name[wordSize + 1];
    ReadNodeName(in, lenient, name);
    const ParserPos_kt place = in.tokenStart();
    const char c = in.readPunc();
    Family family;
    family.child = net.findNodeLabeled(name);
    if (family.child == nullptr) {
        in.setTokenStart(place);
        throw in.report(msg::dsc.undeclaredChild, name);
    }
    in.structName = family.child->name();
    if (c == '|') {
        std::vector<Bnode_bn*> written;
        const BndList_bn& parents = family.child->parents;
        const int before = parents.N;
        while (Bnode_bn* parent = ReadParent(in, *family.child, written.empty(), block, lenient))
            written.push_back(parent);
        if (before + static_cast<int>(written.size()) != parents.N) {
            family.tupleOrder = TupleOrder(parents, before, written);
        }
    } else if (c != ')') {
        PutBack(in, c);
        in.skipSpaces();
        in.setTokenStart(in.getPos());
        throw in.report(msg::dsc.strayAfterChild, FoundName(in, c).c_str());
    }
    if (!Accept(in, '{')) throw in.report(msg::dsc.rowsWithoutBody);
    block.stage = Stage::body;
    block.body = in.getPos();
    return family;
}

// ---- Noisy-max -----------------------------------------------------------------------------

/// The rows of a block with `function: max`: one for each single cause, and that of zeros, the
/// leak.
class NoisyMaxRows {
public:
    explicit NoisyMaxRows(Bnode_bn& child)
        : child_(child),
          states_(static_cast<std::size_t>(child.numStates())),
          params_(static_cast<std::size_t>(NumCIParams(child))),
          given_(states_ == 0 ? 0 : params_.size() / states_) {
        std::size_t first = 0;  // of the parent's distributions
        for (const Bnode_bn* parent : child.parents) {
            firsts_.push_back(first);
            first += static_cast<std::size_t>(std::max(parent->numStates() - 1, 0));
        }
        leak_ = first;
    }

    /// Keeps a row of legal parent states. False for one with several causes.
    bool add(const std::vector<int>& parentStates, const std::vector<double>& probs) {
        std::size_t place = leak_;
        for (std::size_t i = 0; i < parentStates.size(); ++i) {
            if (parentStates[i] == 0) continue;
            if (place != leak_) return false;
            place = firsts_[i] + static_cast<std::size_t>(parentStates[i]) - 1;
        }
        std::ranges::copy(probs, params_.begin() + static_cast<std::ptrdiff_t>(place * states_));
        given_[place] = true;
        return true;
    }

    /// How many distributions are missing; the leak may be, and is nothing then.
    int missing() const {
        return static_cast<int>(std::count(given_.begin(), given_.end() - 1, false));
    }
    int wanted() const { return static_cast<int>(given_.size()); }

    rept_kt* install() {
        if (!given_[leak_]) params_[leak_ * states_] = 1;
        const bool condense = NumProduct(child_.family) > MaxTableEntries;
        return child_.makeIntoNoisyMax(params_.data(), condense);
    }

private:
    Bnode_bn& child_;
    std::size_t states_;
    std::vector<double> params_;  // in the model's order
    std::vector<bool> given_;     // of the distributions in params_
    std::vector<std::size_t> firsts_;
    std::size_t leak_ = 0;
};

// ---- Rows ----------------------------------------------------------------------------------

/// How many rows follow with one and the same tuple up to the block's '}'; 0 when they differ.
int CountEqualTuples(Parser_CString_kt& in) {
    const ParserPos_kt start = in.getPos();
    strin_kt first;
    strin_kt tuple;
    int rows = 0;
    while (in.peekPunc() == '(') {
        tuple.clear();
        in.readToChar(")", tuple);
        if (rows++ == 0) {
            first.swap(tuple);
        } else if (tuple.view() != first.view()) {
            rows = 0;
            break;
        }
        in.skipStatement();
        Accept(in, ';');
    }
    if (in.peekPunc() != '}') rows = 0;
    in.setPos(start);
    return rows;
}

/// Reads the rows of one probability block.
class RowReader {
public:
    RowReader(Parser_CString_kt& in, const Family& family, Leniency& lenient)
        : in_(in),
          lenient_(lenient),
          child_(*family.child),
          parents_(static_cast<std::size_t>(child_.parents.N)),
          tupleOrder_(family.tupleOrder) {
        // A table above the limit is refused when its first row is set.
        const int tableSize = NumProduct(child_.family);
        charge(tableSize <= MaxTableEntries ? tableSize : child_.numStates());
        states_.resize(parents_);
        probs_.resize(static_cast<std::size_t>(child_.numStates()));
    }

    /// Reads up to the block's '}'.
    void read() {
        if (lenient_.on && parents_ > 0) lookAhead();
        while (!in_.isAtEnd()) {
            if (closed_ && !atRow()) return finish();
            const char c = in_.readPunc();
            if (c == '}') return finish();
            readRow(c);
        }
        finish();
        if (!closed_ && !anyRow_) reportNoRows();
        if (!closed_ && lenient_.on) in_.report(msg::dsc.blockWithoutEnd, child_.name());
    }

private:
    Parser_CString_kt& in_;
    Leniency& lenient_;
    Bnode_bn& child_;
    std::size_t parents_;
    const std::vector<int>& tupleOrder_;
    std::vector<int> states_;   // one per parent, or AnyParentState
    std::vector<int> tuple_;    // as written
    std::vector<float> probs_;  // the row
    bool closed_ = false;       // the block's own '}' stood where a ';' was due
    bool anyRow_ = false;
    bool contradictionTold_ = false;

    // Lenient reading.
    std::unique_ptr<NoisyMaxRows> noisyMax_;  // the block has `function: max`
    bool byOrder_ = false;                    // rows are placed by their order
    double* exact_ = nullptr;                 // the row, where floats do not hold it
    XArray<double> scaled_;                   // likewise, once it is scaled
    ParserPos_kt firstPlace_ = nullptr;       // of such a block: its function or first row
    std::vector<float> firstRow_;
    bool rowsDiffer_ = false;
    int row_ = 0;

    /// Tables, and the missing ends of short rows.
    void charge(long long entries) { Charge(in_, entries, msg::dsc.tooMuchToFill); }

    // ---- Blocks with a form of their own

    void lookAhead() {
        if (streqli_kt(std::string(in_.peekWord().substr(0, 9)).c_str(), "function")) {
            readFunction();
            return;
        }
        const int rows = CountEqualTuples(in_);
        byOrder_ = rows > 1 && rows == NumProduct(child_.parents);
    }

    /// "function: max;". Another function is left to be refused.
    void readFunction() {
        const ParserPos_kt start = in_.getPos();
        char word[wordSize + 1];
        const char separator = in_.readWordPunc(word, wordSize);
        const ParserPos_kt place = in_.tokenStart();
        in_.readWord(word, wordSize);
        if ((separator != ':' && separator != '=') || !streqli_kt(word, "max") ||
            !Accept(in_, ';') || NumCIParams(child_) > MaxTableEntries) {
            in_.setPos(start);
            return;
        }
        charge(NumCIParams(child_));
        noisyMax_ = std::make_unique<NoisyMaxRows>(child_);
        firstPlace_ = place;
        in_.setTokenStart(place);
        lenient_.tellOnce(in_, msg::dsc.rowsAsNoisyMax);
    }

    void finish() {
        if (firstPlace_ == nullptr || child_.numStates() == 0) return;
        in_.setTokenStart(firstPlace_);
        if (byOrder_)
            in_.report(
                parents_ > 1 && rowsDiffer_ ? msg::dsc.rowsByOrderOfParents : msg::dsc.rowsByOrder,
                child_.name());
        else
            finishNoisyMax();
    }

    void finishNoisyMax() {
        if (noisyMax_->missing() > 0) {
            throw in_.report(msg::dsc.noisyMaxRowsMissing, noisyMax_->missing(),
                             noisyMax_->wanted(), child_.name());
        }
        ThrowIfError(noisyMax_->install());
    }

    /// The file ends in the block before any row: what the rows' own warning would say.
    void reportNoRows() {
        const int rows = NumProduct(child_.parents);
        if (child_.numStates() > 0) in_.report(msg::model.rowsMissing, rows, rows, child_.name());
    }

    // ---- A row

    /// Whether a row can start here.
    bool atRow() {
        if (in_.peekPunc() == '(') return parents_ > 0;
        const std::string word(in_.peekWord().substr(0, wordSize));
        double value = 0;
        const char* end = nullptr;
        return streqli_kt(word.c_str(), "default") ||
               (parents_ == 0 &&
                ParseNumber(word.data(), word.data() + word.size(), value, end) != NumberEN::none);
    }

    /// Reads a row of which the punctuation character c was read, 0 when a word follows.
    void readRow(char c) {
        const ParserPos_kt place = in_.tokenStart();
        bool possible = true;
        if (parents_ > 0) {
            possible = readParentStates(c);
            readColon();
        } else if (c == 0 && AtBlock(in_)) {
            char word[wordSize + 1];
            in_.readWord(word, wordSize);
            throw in_.report(msg::dsc.unexpectedToken, word);
        }
        possible = readVector() && possible;
        anyRow_ = true;
        in_.setTokenStart(place);
        if (possible) setRow(place);
        readSemicolon();
    }

    void readColon() {
        const char c = in_.readPunc();
        if (c == ':') return;
        const std::string found = FoundName(in_, c);
        if (lenient_.on && c == '=')
            lenient_.tellOnce(in_, msg::dsc.equalsForColon, found.c_str());
        else
            in_.report(msg::dsc.missingRowColon, found.c_str());
    }

    /// The parent states of a row. False when they contradict each other.
    bool readParentStates(char c) {
        if (c == '(') return readTuple();
        if (c != 0) throw in_.report(msg::dsc.strayBeforeRow, CharName(c));
        char word[wordSize + 1];
        in_.readWord(word, wordSize);
        if (!streqli_kt(word, "default")) throw in_.report(msg::dsc.unexpectedToken, word);
        std::ranges::fill(states_, AnyParentState);
        return true;
    }

    void setRow(ParserPos_kt place) {
        if (noisyMax_ != nullptr) return addCause();
        if (byOrder_) {
            if (firstPlace_ == nullptr) {
                firstPlace_ = place;
                firstRow_ = probs_;
            }
            rowsDiffer_ = rowsDiffer_ || probs_ != firstRow_;
        }
        ThrowIfError(child_.setRow(states_.data(), probs_.data(), exact_));
    }

    void addCause() {
        for (std::size_t i = 0; i < parents_; ++i) {
            const Bnode_bn& parent = *child_.parents[static_cast<int>(i)];
            if (states_[i] < 0 || states_[i] >= parent.numStates())
                throw in_.report(msg::model.badParentState, states_[i], parent.name(),
                                 child_.name(), parent.numStates());
        }
        std::vector<double> row(probs_.size());
        if (exact_ != nullptr)
            std::copy_n(exact_, row.size(), row.data());
        else
            ShortestDoubles(probs_.data(), child_.numStates(), row.data());
        if (!noisyMax_->add(states_, row)) in_.report(msg::dsc.rowOfTwoCauses);
    }

    // ---- Tuples

    /// The tuple after its '('. It has one state for each parent of the child, or for each one
    /// named.
    bool readTuple() {
        const ParserPos_kt place = in_.tokenStart();
        if (byOrder_) return placeByOrder();
        const std::size_t written = std::max(parents_, tupleOrder_.size());
        const std::size_t count = readTupleStates(written);
        const bool asWritten = !tupleOrder_.empty() && count == tupleOrder_.size();
        if (!asWritten && count != parents_)
            throw in_.report(msg::dsc.wrongTuple, static_cast<int>(written),
                             static_cast<int>(count));
        if (std::ranges::find(tuple_, AnyParentState) != tuple_.end()) {
            in_.setTokenStart(place);
            throw in_.report(msg::dsc.negativeState, AnyParentState, child_.name());
        }
        if (asWritten) return placeAsWritten(place);
        states_ = tuple_;
        return true;
    }

    /// Reads the states into tuple_, `most` at most, and returns how many there are.
    std::size_t readTupleStates(std::size_t most) {
        if (readNumbers(most)) return most;
        tuple_.clear();
        std::size_t count = 0;
        for (; in_.peekPunc() != ')'; ++count) {
            const int state = readState(count);
            if (count < most) tuple_.push_back(state);
            Accept(in_, ',');
        }
        in_.skipChar();
        return count;
    }

    /// Reads a tuple that is as many plain numbers, as most are. False, and no move, when it is
    /// not.
    bool readNumbers(std::size_t wanted) {
        const ParserPos_kt start = in_.getPos();
        const ParserPos_kt token = in_.tokenStart();
        tuple_.resize(wanted);
        const bool read =
            in_.readInts(tuple_.data(), static_cast<int>(wanted)) == static_cast<int>(wanted) &&
            in_.peekPunc() == ')';
        if (read) {
            in_.skipChar();
        } else {
            in_.setPos(start);
            in_.setTokenStart(token);
        }
        return read;
    }

    int readState(std::size_t index) {
        if (lenient_.on && (in_.peekPunc() == '"' || isName(in_.peekWord())))
            return readStateName(index);
        const int state = in_.readInt();
        if (in_.numberFailed) throw in_.curReport;
        return state;
    }

    static bool isName(std::string_view word) {
        constexpr std::string_view numberStarts = "+-.0123456789";
        return !word.empty() && numberStarts.find(word[0]) == std::string_view::npos;
    }

    /// A state named in a tuple, of the parent that the index stands for.
    int readStateName(std::size_t index) {
        const char* const name = in_.readStringText();
        lenient_.tellOnce(in_, msg::dsc.namedStates);
        std::size_t place = index;
        if (index < tupleOrder_.size()) place = static_cast<std::size_t>(tupleOrder_[index]);
        if (place >= parents_) return 0;  // there are too many, which is said
        const Bnode_bn& parent = *child_.parents[static_cast<int>(place)];
        const auto& numbers = lenient_.statesOf(parent);
        const auto found = numbers.find(name);
        if (found != numbers.end()) return found->second;
        throw in_.report(msg::dsc.unknownState, name, parent.name());
    }

    /// Puts a tuple that lists the parents as written into states_.
    bool placeAsWritten(ParserPos_kt place) {
        for (std::size_t i = 0; i < tuple_.size(); ++i) at(i) = tuple_[i];
        for (std::size_t i = 0; i < tuple_.size(); ++i) {
            if (at(i) == tuple_[i]) continue;
            if (!contradictionTold_) {
                in_.setTokenStart(place);
                in_.report(msg::dsc.contradictoryRow, child_.parents[tupleOrder_[i]]->name());
            }
            contradictionTold_ = true;
            return false;
        }
        return true;
    }

    int& at(std::size_t i) { return states_[static_cast<std::size_t>(tupleOrder_[i])]; }

    /// Passes over the tuple and takes the next combination of states, the last parent fastest.
    bool placeByOrder() {
        strin_kt passed;
        in_.readToChar(")", passed);
        in_.readPunc();
        int rest = row_++;
        for (std::size_t i = parents_; i-- > 0;) {
            const int states = child_.parents[static_cast<int>(i)]->numStates();
            states_[i] = rest % states;
            rest /= states;
        }
        return true;
    }

    // ---- Vectors

    /// False when something in it is no number.
    bool readVector() {
        charge(child_.numStates());
        in_.skipSpaces();
        const ParserPos_kt place = in_.getPos();
        in_.exact.over(probs_.data(), child_.numStates());
        const unsigned problems =
            static_cast<unsigned>(ParseBelVec(in_, probs_.data(), child_.variable, 0));
        if ((problems & BelVecNotANumber) != 0) return false;
        if ((problems & BelVecWarnMask) != 0) {
            char text[256];
            in_.setTokenStart(place);
            in_.report(msg::dsc.badVector,
                       CheckBelvecMesg_kt(static_cast<int>(problems & BelVecWarnMask), true, text));
        }
        exact_ = in_.exact.complete(child_.numStates());
        for (std::size_t i = 0; exact_ != nullptr && i < probs_.size(); ++i)
            exact_[i] = exact_[i] > 0 ? exact_[i] : 0;
        if ((problems & BelVecDontNormalize) == 0) normalize();
        return true;
    }

    void normalize() {
        if (exact_ != nullptr) return NormalizeRow(probs_.data(), exact_, child_.numStates());
        scaled_.reset();
        NormalizeBelvecTable(probs_.data(), child_.numStates(), 1, &scaled_);
        exact_ = scaled_.get();
    }

    void readSemicolon() {
        const char c = in_.readPunc();
        if (c == ';') return;
        in_.report(msg::dsc.missingRowEnd, FoundName(in_, c).c_str());
        closed_ = closed_ || c == '}';
    }
};

}  // namespace

/// Reads a probability block after its keyword.
void read_probab_block(Parser_CString_kt& in, Vnet_kt& drawing, Leniency& lenient) {
    const ParserContext context(in, "probability block");
    const ParserPos_kt place = in.tokenStart();
    Block block;
    Family family;
    try {
        family = ReadHeader(in, *drawing.getBNet(), block, lenient);
        RowReader(in, family, lenient).read();
    } catch (rept_kt* report) {
        in.setError(report);
        PassOver(in, block);
    }
    if (family.child == nullptr) return;
    in.setTokenStart(place);
    family.child->finishRows();
}

}  // namespace lumo::dsc
