// ParseNodeTable: a node's data table, in the nesting of parentheses that its writer chose.
#include <algorithm>
#include <map>
#include <memory_resource>
#include <optional>
#include <span>
#include <vector>

#include "formats/hugin/messages.h"
#include "formats/hugin/nodetable.h"
#include "formats/shared/commas.h"
#include "formats/shared/readers.h"
#include "library/text/tokens.h"

namespace lumo {

namespace {

/// Compares the written nesting with the sizes of parents and node. A list is in order when it
/// holds as many numbers as some levels together from the innermost out, and starts at a multiple
/// of that: flat lists, merged levels and a needless pair around a single list are in order, a list
/// that groups by another parent than the header is not. Lists that start at the same number share
/// a frame, so a million '(' in a row cost nothing.
class ShapeCheck {
public:
    ShapeCheck(const Bnode_bn& node, bool hasStates) : node_(node) {
        const std::size_t most = static_cast<std::size_t>(node.parents.N) + 2;
        levels_.reserve(most);
        stack_.reserve(most);
        long long span = 1;
        const auto addLevel = [&](const Bnode_bn& level) {
            if (level.numStates() < 2 || span > MaxTableEntries) return;
            levels_.push_back({&level, span});
            span *= level.numStates();
        };
        if (hasStates) addLevel(node);
        for (int i = node.parents.N - 1; i >= 0; --i) addLevel(*node.parents[i]);
        levels_.push_back({nullptr, span});
    }

    void open(long long index, ParserPos_kt place) {
        ++depth_;
        if (stack_.empty() || stack_.back().start != index || stack_.back().lists > 0) {
            if (stack_.size() >= MostFrames)
                return fail("the data list is nested too deeply", place);
            stack_.push_back({index});
        }
        ++stack_.back().pairs;
    }

    void numbers(int count, ParserPos_kt place) {
        if (count == 0 || stack_.empty()) return;
        if (stack_.back().lists > 0) return fail("numbers stand beside lists", place);
        stack_.back().hasNumbers = true;
    }

    void close(long long index, ParserPos_kt place) {
        if (depth_ == 0) return fail("a ')' closes nothing", place);
        --depth_;
        if (stack_.empty()) return;
        Frame& frame = stack_.back();
        if (frame.lists != 1 || frame.hasNumbers) check(frame, index, place);
        frame.hasNumbers = false;
        frame.lists = 1;  // itself, in the next pair around it
        if (--frame.pairs > 0) return;
        stack_.pop_back();
        if (stack_.empty()) return;
        if (stack_.back().hasNumbers) return fail("numbers stand beside lists", place);
        ++stack_.back().lists;
    }

    /// The first contradiction found; empty when there is none.
    const std::string& problem() const { return problem_; }
    ParserPos_kt place() const { return place_; }
    int depth() const { return depth_; }

private:
    struct Level {
        const Bnode_bn* node;  ///< whose states its list holds; null: the whole table
        long long span;        ///< numbers of one state
    };
    struct Frame {
        long long start;      ///< index of its first number
        int pairs = 0;        ///< open pairs that start there
        long long lists = 0;  ///< closed within the innermost of them
        bool hasNumbers = false;
    };
    static constexpr std::size_t MostFrames = 1000;

    void fail(std::string problem, ParserPos_kt place) {
        if (!problem_.empty()) return;
        problem_ = std::move(problem);
        place_ = place;
    }

    void check(const Frame& frame, long long end, ParserPos_kt place) {
        const long long span = end - frame.start;
        if (frame.start == lastEnd_ && span == lastSpan_) {  // the next one like a list in order
            lastEnd_ = end;
            return;
        }
        const auto fits = [&](const Level& level) { return level.span == span; };
        const bool inOrder = span > 0 && frame.start % span == 0 &&
                             std::any_of(levels_.begin(), levels_.end(), fits);
        if (inOrder) {
            lastEnd_ = end;
            lastSpan_ = span;
        }
        if (inOrder || !problem_.empty()) return;
        const long long held = frame.lists > 0 ? frame.lists : span;
        const long long part = frame.lists > 0 ? span / frame.lists : 1;
        // The level whose parts these are, or the outermost whose parts are smaller.
        auto level = levels_.begin();
        while (level + 1 != levels_.end() && (level + 1)->span <= part) ++level;
        const int states = level->node != nullptr ? level->node->numStates() : 1;
        const char* const name = level->node != nullptr ? level->node->name() : node_.name();
        const char* const what = frame.lists > 0 ? "list" : "number";
        fail(Format("a list at the level of '%s' holds %lld %s%s, but %d %s expected", name, held,
                    what, held == 1 ? "" : "s", states, states == 1 ? "was" : "were"),
             place);
    }

    const Bnode_bn& node_;
    // Most tables have few levels: what they need stands here, without an allocation a table.
    std::byte room_[512];
    std::pmr::monotonic_buffer_resource memory_{room_, sizeof room_};
    std::pmr::vector<Level> levels_{&memory_};  ///< from the innermost out, by growing span
    std::pmr::vector<Frame> stack_{&memory_};
    long long lastEnd_ = -1;  ///< of the last list in order
    long long lastSpan_ = 0;
    int depth_ = 0;
    std::string problem_;
    ParserPos_kt place_ = nullptr;
};

/// Measures a nesting of as many levels as node and parents have, all lists of a level alike.
class Nesting {
public:
    Nesting(const Bnode_bn& node, bool hasStates)
        : levels_(static_cast<std::size_t>(node.parents.N) + (hasStates ? 1 : 0)) {}

    void open() {
        if (!held_.empty()) ++held_.back();
        if (held_.size() == levels_ || (held_.empty() && !sizes_.empty())) uneven_ = true;
        if (uneven_) return;
        held_.push_back(0);
        if (sizes_.size() < held_.size()) sizes_.push_back(0);
    }

    void numbers(int count) {
        if (held_.empty() || held_.size() != levels_) uneven_ = true;
        if (!uneven_) held_.back() += count;
    }

    void close() {
        if (uneven_ || held_.empty()) return;
        long long& size = sizes_[held_.size() - 1];
        if (size == 0) size = held_.back();
        uneven_ = size != held_.back();
        held_.pop_back();
    }

    /// Which parent each level lists, from the outermost in, when the sizes tell it: the reverse of
    /// the header's order, or another in which each parent has its size alone. Else empty.
    std::vector<int> order(const Bnode_bn& node) const {
        const auto parents = static_cast<std::size_t>(node.parents.N);
        if (uneven_ || sizes_.size() != levels_) return {};
        if (levels_ > parents && sizes_.back() != node.numStates()) return {};
        std::vector<int> reverse;
        std::vector<int> bySize;
        std::map<long long, int> parentOf;
        for (int i = 0; i < node.parents.N; ++i) parentOf[node.parents[i]->numStates()] = i;
        for (std::size_t i = 0; i < parents; ++i) {
            const int mirrored = node.parents.N - 1 - static_cast<int>(i);
            const auto found = parentOf.find(sizes_[i]);
            if (node.parents[mirrored]->numStates() == sizes_[i]) reverse.push_back(mirrored);
            if (found == parentOf.end()) continue;
            bySize.push_back(found->second);
            parentOf.erase(found);
        }
        if (reverse.size() == parents) return reverse;
        return bySize.size() == parents ? bySize : std::vector<int>();
    }

private:
    std::size_t levels_;
    std::vector<long long> held_;   ///< by the lists that are open: what they hold so far
    std::vector<long long> sizes_;  ///< by level, from the outermost in
    bool uneven_ = false;
};

class NodeTableReader {
public:
    NodeTableReader(Parser_CString_kt& in, const Bnode_bn& node, bool hasStates, bool asNested)
        : in_(in), node_(node), hasStates_(hasStates), asNested_(asNested) {
        if (hasStates) wanted_ = node.numStates();
        wanted_ *= NumProduct(node.parents);
    }

    XArray<float> read() {
        in_.peekPunc();
        const ParserPos_kt start = in_.getPos();
        allocate();
        if (readPlain(start)) return std::move(table_);
        shape_.emplace(node_, hasStates_);
        while (item()) {
        }
        checkCount(start);
        if (!turn(start)) warnOfShape(start);
        return std::move(table_);
    }

private:
    /// No memory is taken for numbers that the rest of the file cannot hold; they are only counted.
    void allocate() {
        if (wanted_ > MaxTableEntries)
            throw in_.report(msg::import.tableTooLarge, node_.name(), wanted_, MaxTableEntries);
        constexpr int bytesPerNumber = 2;
        if (wanted_ > in_.bytesLeft() / bytesPerNumber + 1) return;
        table_ = newTable<float>();
        in_.exact.over(table_.get(), wanted_);
    }

    template <class T>
    XArray<T> newTable() {
        XArray<T> table = TryNewTable<T>(in_, wanted_, node_);
        if (table == nullptr) throw in_.curReport;
        return table;
    }

    /// Reads a table with a pair of brackets for each list of each level and nothing else, as
    /// nearly all are, without an account of them: half the time. False, and nothing is read, when
    /// it is another.
    bool readPlain(ParserPos_kt start) {
        int sizes[MostPlainLevels];
        int levels = 0;
        if (table_ == nullptr || node_.family.N > MostPlainLevels) return false;
        for (const Bnode_bn* parent : node_.parents) sizes[levels++] = parent->numStates();
        if (hasStates_) sizes[levels++] = node_.numStates();
        float* next = table_.get();
        if (levels > 0 && readLevel({sizes, static_cast<std::size_t>(levels)}, next)) {
            const char end = in_.peekPunc();
            if (end == ';' || end == '}' || end == '\0') return true;
        }
        in_.setPos(start);
        in_.exact.over(table_.get(), wanted_);
        return false;
    }

    /// A list of the outermost of the levels.
    bool readLevel(std::span<const int> sizes, float*& next) {
        if (!pass('(')) return false;
        if (sizes.size() == 1) {
            if (in_.readFloats(next, sizes[0], CommasEN::may) < sizes[0]) return false;
            next += sizes[0];
        } else {
            for (int i = 0; i < sizes[0]; ++i)
                if (!readLevel(sizes.subspan(1), next)) return false;
        }
        return pass(')');
    }

    bool pass(char bracket) {
        if (in_.peekPunc() != bracket) return false;
        in_.setPos(in_.getPos() + 1);
        return true;
    }

    /// Reads brackets, a comma or a run of numbers; false at the end of the value.
    bool item() {
        passBrackets();
        switch (in_.peekPunc()) {
            case '(':
            case ')':
                return true;
            case ',':
                in_.skipChar();
                return true;
            case ';':
            case '}':
            case 0:
                return false;
            default:
                if (readRun() == 0) throw MakeNumberError(in_, false);
                return true;
        }
    }

    /// Passes over brackets between which are only blanks: every second token of most tables.
    void passBrackets() {
        ParserPos_kt p = in_.getPos();
        for (;; ++p) {
            if (*p == '(') {
                shape_->open(count_, p);
                if (nesting_) nesting_->open();
            } else if (*p == ')') {
                shape_->close(count_, p);
                if (nesting_) nesting_->close();
            } else if (*p != ' ' && *p != '\t' && *p != '\r' && *p != '\n') {
                break;
            }
        }
        in_.setPos(p);
    }

    int readRun() {
        float passed[64];
        const bool store = table_ != nullptr && count_ < wanted_;
        float* const out = store ? table_.get() + count_ : passed;
        const long long room = store ? wanted_ - count_ : count_ == wanted_ ? 1 : 64;
        const int run = in_.readFloats(out, static_cast<int>(room), CommasEN::may);
        shape_->numbers(run, in_.tokenStart());
        if (nesting_) nesting_->numbers(run);
        if (run == 1 && count_ == wanted_) firstExtra_ = in_.tokenStart();
        count_ += run;
        return run;
    }

    void checkCount(ParserPos_kt start) {
        if (count_ == wanted_) return;
        in_.setTokenStart(firstExtra_ != nullptr ? firstExtra_ : in_.getPos());
        if (asNested_) TellDecimalCommas(in_, start, node_.name(), wanted_, count_);
        throw in_.report(msg::import.badTable, node_.name(), wanted_, count_);
    }

    /// Reads the value that starts there once more for its nesting: few tables need that.
    std::vector<int> nestedOrder(ParserPos_kt start) {
        nesting_.emplace(node_, hasStates_);
        count_ = 0;
        in_.setPos(start);
        while (item()) {
        }
        return nesting_->order(node_);
    }

    /// Puts the numbers into the header's order when they are nested in another.
    bool turn(ParserPos_kt start) {
        if (!asNested_ || shape_->problem().empty() || shape_->depth() > 0) return false;
        const std::vector<int> order = nestedOrder(start);
        if (order.empty()) return false;
        if (const double* const exact = in_.exact.complete(wanted_)) {
            XArray<double> turned = newTable<double>();
            reorder(exact, order, turned.get());
            in_.exact.give(std::move(turned), wanted_);
        }
        XArray<float> turned = newTable<float>();
        reorder(table_.get(), order, turned.get());
        table_ = std::move(turned);
        BndList_bn nested;
        for (const int parent : order) nested.append(node_.parents[parent]);
        tellTurned(nested);
        return true;
    }

    /// Copies the rows from where the nesting puts them to their places.
    template <class T>
    void reorder(const T* table, const std::vector<int>& order, T* turned) {
        const std::size_t levels = order.size();
        std::vector<long long> strides(levels);
        const long long row = wanted_ / NumProduct(node_.parents);
        long long span = row;
        for (int i = node_.parents.N - 1; i >= 0; --i) {
            strides[static_cast<std::size_t>(i)] = span;
            span *= node_.parents[i]->numStates();
        }
        std::vector<int> states(levels, 0);
        long long to = 0;
        for (long long from = 0; from < wanted_; from += row) {
            std::copy_n(table + from, row, turned + to);
            for (std::size_t level = levels; level-- > 0;) {
                const int parent = order[level];
                const long long stride = strides[static_cast<std::size_t>(parent)];
                to += stride;
                if (++states[level] < node_.parents[parent]->numStates()) break;
                to -= stride * states[level];
                states[level] = 0;
            }
        }
    }

    void tellTurned(const BndList_bn& nested) {
        constexpr int mostCharacters = 60;
        strin_kt names;
        NodeNamesToStr(nested, ", ", mostCharacters, names);
        const ParserPos_kt after = in_.tokenStart();
        in_.setTokenStart(shape_->place());
        in_.report(msg::hugin.tableTurned, names.getCStr());
        in_.setTokenStart(after);
    }

    void warnOfShape(ParserPos_kt start) {
        const bool unclosed = shape_->depth() > 0;
        if (shape_->problem().empty() && !unclosed) return;
        const ParserPos_kt after = in_.tokenStart();
        in_.setTokenStart(shape_->problem().empty() ? start : shape_->place());
        if (shape_->problem().empty())
            in_.report(msg::import.openBrackets, shape_->depth());
        else
            in_.report(msg::import.tableShape, shape_->problem().c_str());
        in_.setTokenStart(after);
    }

    static constexpr int MostPlainLevels = 16;

    Parser_CString_kt& in_;
    const Bnode_bn& node_;
    bool hasStates_;
    std::optional<ShapeCheck> shape_;
    std::optional<Nesting> nesting_;
    bool asNested_;  ///< read leniently
    long long wanted_ = 1;
    long long count_ = 0;
    XArray<float> table_;
    ParserPos_kt firstExtra_ = nullptr;
};

}  // namespace

void ParseNodeTable(Parser_kt& in, unsigned char** table, int, bool hasStates, Bnode_bn& node,
                    const char* const*, int, bool, int, bool asNested) {
    *table = nullptr;
    XArray<float> numbers = NodeTableReader(TextParser(in), node, hasStates, asNested).read();
    *table = reinterpret_cast<unsigned char*>(numbers.release());
}

}  // namespace lumo
