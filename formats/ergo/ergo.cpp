// Reader of the original, simple Ergo format (.erg): numbers and words separated by white space,
// and comments in C's form anywhere between them. In this order, each for all nodes in file order:
//
//     node count N
//     states          N numbers of states
//     parents         k, then k parent numbers, 1 being the first node of the file
//     probabilities   c, then c probabilities: one row per combination of parent states, the node's
//                     own state fastest, the last parent next
//     node names      N words
//     state names     as many words as the node has states
//     positions       x and y, taken as they stand
//
// The newer Ergo format (.ent) is another one; its files are refused. A file that breaks off leaves
// the nodes read so far with what they have.
#include <algorithm>
#include <climits>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "formats/ergo/ergo.h"
#include "formats/ergo/messages.h"
#include "formats/shared/judging.h"
#include "formats/shared/readers.h"
#include "library/utilities/names.h"
#include "library/utilities/numbers.h"

namespace lumo {

namespace {

constexpr int wordSize = 256;      // longest node or state word
constexpr int stateNameSize = 31;  // storage of a state name, its zero byte included
constexpr int bytesPerToken = 2;   // the least that a number or word takes in the file

class ErgoReader {
public:
    ErgoReader(Parser_CString_kt& in, Bnet_bn& net) : in_(in), net_(net) {}

    /// Reads the whole file; the first problem that leaves no way on ends it.
    rept_kt* read() {
        using Section = bool (ErgoReader::*)();
        constexpr Section sections[] = {
            &ErgoReader::readNodeCount, &ErgoReader::readStates,    &ErgoReader::readParents,
            &ErgoReader::readTables,    &ErgoReader::readNodeNames, &ErgoReader::readStateNames,
            &ErgoReader::readPositions,
        };
        for (const Section section : sections) {
            if (!(this->*section)()) return result_ != nullptr ? result_ : in_.curReport;
        }
        return in_.curReport;
    }

private:
    Parser_CString_kt& in_;
    Bnet_bn& net_;
    std::vector<Bnode_bn*> nodes_;   // borrowed, in file order
    std::vector<bool> lostParents_;  // nodes with a refused link: their table does not fit
    int nodeCount_ = 0;
    int firstNumber_ = 1;  // of the nodes, as parents
    bool clampTold_ = false;
    rept_kt* result_ = nullptr;  // what ends the reading, when it is not in_.curReport

    /// Ends the reading with the report.
    bool fail(rept_kt* report) {
        in_.setError(report);
        result_ = report;
        return false;
    }

    bool readInt(int& value) {
        if (in_.isAtEnd()) return fail(in_.report(msg::text.unexpectedEnd));
        value = in_.readInt();
        return !in_.numberFailed;
    }

    /// Reads a count of things that each take at least one token in the rest of the file.
    bool readCount(int& count, const char* what) {
        return readInt(count) && checkCount(count, what);
    }

    bool checkCount(int count, const char* what) {
        if (count >= 0 && count <= (in_.bytesLeft() + 1) / bytesPerToken) return true;
        return fail(in_.report(msg::ergo.impossibleCount, count, what, in_.bytesLeft()));
    }

    /// The next word; double quotes, the format's only punctuation, belong to no name.
    bool readWord(char* word) {
        while (in_.peekWord().empty()) {
            if (in_.isAtEnd()) return fail(in_.report(msg::text.unexpectedEnd));
            in_.skipChar();
        }
        in_.readWord(word, wordSize);
        return true;
    }

    bool readNodeCount() {
        in_.skipSpaces();
        in_.setTokenStart(in_.getPos());
        if (IsError(in_.channel.readInt(&nodeCount_))) {
            return fail(in_.report(msg::ergo.notErgo));
        }
        return checkCount(nodeCount_, "nodes");
    }

    bool readStates() {
        nodes_.reserve(static_cast<std::size_t>(nodeCount_));
        for (int i = 0; i < nodeCount_; ++i) {
            int states = 0;
            if (!readInt(states)) return false;
            rept_kt* error = nullptr;
            Bnode_bn* node = NewNode_ibn(nullptr, states, net_, {0, 0}, &error);
            if (node == nullptr) {
                in_.setError(error);
                result_ = Fail_rept_kt;
                return false;
            }
            nodes_.push_back(node);
        }
        lostParents_.resize(nodes_.size());
        return true;
    }

    bool readParents() {
        if (in_.lenient) findFirstParentNumber();
        for (std::size_t i = 0; i < nodes_.size(); ++i) {
            in_.structName = nodes_[i]->name();
            int count = 0;
            if (!readCount(count, "parents")) return false;
            for (int k = 0; k < count; ++k) {
                if (!readParent(i)) return false;
            }
            in_.checkError();
        }
        return true;
    }

    /// Looks through the parents: when one is numbered 0 and none N, they are numbered from 0.
    void findFirstParentNumber() {
        const ParserPos_kt start = in_.getPos();
        ParserPos_kt zero = nullptr;
        bool last = false;
        float number = 0;
        for (int i = 0; i < nodeCount_; ++i) {
            if (in_.readFloats(&number, 1, CommasEN::none) == 0) break;
            constexpr float most = 1e9F;  // more than any file holds
            for (auto left = static_cast<int>(std::clamp(number, 0.0F, most)); left > 0; --left) {
                if (in_.readFloats(&number, 1, CommasEN::none) == 0) break;
                if (number == 0 && zero == nullptr) zero = in_.tokenStart();
                last = last || number == static_cast<float>(nodeCount_);
            }
        }
        in_.setPos(start);
        if (zero == nullptr || last) return;
        firstNumber_ = 0;
        in_.setTokenStart(zero);
        in_.report(msg::ergo.parentsFromZero);
    }

    bool readParent(std::size_t child) {
        int parent = 0;
        if (!readInt(parent)) return false;
        Bnode_bn& node = *nodes_[child];
        const long long index = 1LL * parent - firstNumber_;
        if (index < 0 || index >= nodeCount_) {
            return fail(in_.report(msg::ergo.parentOutOfBounds, node.name(), parent));
        }
        rept_kt* report = AddLink_ibn(*nodes_[static_cast<std::size_t>(index)], node);
        in_.setError(report);
        if (IsError(report)) lostParents_[child] = true;
        return true;
    }

    bool readTables() {
        for (std::size_t i = 0; i < nodes_.size(); ++i) {
            in_.structName = nodes_[i]->name();
            if (!readTable(i)) return false;
            in_.checkError();
        }
        return true;
    }

    bool readTable(std::size_t index) {
        Bnode_bn& node = *nodes_[index];
        int count = 0;
        if (!readCount(count, "probabilities")) return false;
        const int expected = NumProduct(node.family);
        const int number = static_cast<int>(index);
        if (lostParents_[index]) return skipNumbers(count);
        if (count != expected) {
            return fail(in_.report(msg::ergo.wrongProbabilityCount, count, number, expected));
        }
        if (count > MaxTableEntries) {
            return fail(in_.report(msg::ergo.tableTooLarge, number, count, MaxTableEntries));
        }
        XArray<float> table = NewXArray<float>(count);
        if (table == nullptr) return loseTable(number, count);
        in_.exact.over(table.get(), count);
        if (in_.readFloats(table.get(), count, CommasEN::none) != count) return reportBadNumber();
        XArray<double> exact = in_.exact.take(count);
        // A table with negative numbers is refused as it stands in the file.
        const bool possible =
            std::ranges::none_of(std::span(table.get(), static_cast<std::size_t>(count)),
                                 [](float p) { return p < 0 && !IsRoundingNoise(p); });
        if (possible && node.numStates() > 0) {
            NormalizeBelvecTable(table.get(), node.numStates(), NumProduct(node.parents), &exact);
        }
        in_.setError(node.setTable(std::move(table), std::move(exact), possible));
        return true;
    }

    /// There is no memory for the table. Lenient reading goes on behind it.
    bool loseTable(int node, int count) {
        rept_kt* report = NewMemoryReport(msg::ergo.outOfMemoryForTable, 4.0 * count, node);
        if (!in_.lenient) return fail(report);
        in_.setError(report);
        return skipNumbers(count);
    }

    /// Passes over the numbers of a table that fits no node.
    bool skipNumbers(int count) {
        for (float ignored = 0; count > 0; --count) {
            if (in_.readFloats(&ignored, 1, CommasEN::none) != 1) return reportBadNumber();
        }
        return true;
    }

    /// Stands before what is no number of a table: the error names it.
    bool reportBadNumber() {
        if (in_.isAtEnd()) return fail(in_.report(msg::text.unexpectedEnd));
        const std::string token(in_.peekWord());
        in_.readDouble();
        if (in_.numberFailed) return false;
        return fail(in_.report(msg::text.numberTooLarge, token.c_str()));
    }

    bool readNodeNames() {
        char word[wordSize + 1];
        for (Bnode_bn* node : nodes_) {
            in_.structName = node->name();
            if (!readWord(word)) return false;
            in_.structName = word;  // the node's own name changes
            in_.setError(SetNodeLabel(*node, DupStr_kt(word)));
            if (node->title != nullptr) {
                Printf_kt("Node renamed:  %.200s  ->  %s   (but it is titled with the old name)\n",
                          node->title, node->name());
            }
            in_.checkError();
        }
        return true;
    }

    bool readStateNames() {
        for (Bnode_bn* node : nodes_) {
            in_.structName = node->name();
            if (!takeFewNames(*node) && !readNamesOf(*node)) return false;
            in_.checkError();
        }
        return true;
    }

    /// Names the few states of a node by the next words, when these fit, are legal and distinct, as
    /// nearly all are: copies and a set of names take a fifth of the import. False, and nothing is
    /// read, when not.
    bool takeFewNames(Bnode_bn& node) {
        const ParserPos_kt start = in_.getPos();
        std::string_view names[Bnode_bn::FewStates];
        const auto count = static_cast<std::size_t>(node.numStates());
        if (count > std::size(names)) return false;
        bool fit = true;
        for (std::size_t s = 0; s < count; ++s) {
            names[s] = in_.takeWord();
            fit = fit && names[s].size() < stateNameSize;
        }
        if (fit && node.setFewStates({names, count})) return true;
        in_.setPos(start);
        return false;
    }

    bool readNamesOf(Bnode_bn& node) {
        const int count = node.numStates();
        char word[wordSize + 1];
        UniqueNames_kt taken;
        OwnedStrs names(new char*[static_cast<std::size_t>(count)](), count);
        for (int s = 0; s < count; ++s) {
            if (!readWord(word)) return false;
            char* name = names.get()[s] = new char[stateNameSize]();
            for (int i = 0; i < stateNameSize - 1 && word[i] != '\0'; ++i) name[i] = word[i];
            ToLegalUniqueName_kt(name, taken, 's', stateNameSize);
            if (streql_kt(name, word)) continue;
            in_.setError(node.setStateTitle(s, DupStr_kt(word)));
            Printf_kt(
                "State of node %s renamed:  %.200s  ->  %s   (but it is titled with the old "
                "name)\n",
                node.name(), word, name);
        }
        in_.setError(node.setStateNames(names.release()));
        return true;
    }

    /// An integer; one beyond int is clamped, with one warning a file.
    bool readCoordinate(int& value) {
        const std::string_view word = in_.peekWord();
        const char* end = nullptr;
        const bool tooLarge = ParseInteger(word.data(), word.data() + word.size(), value, end) ==
                                  NumberEN::tooLarge &&
                              end == word.data() + word.size();
        if (!tooLarge) return readInt(value);
        value = word[0] == '-' ? INT_MIN : INT_MAX;
        in_.setTokenStart(in_.getPos());
        if (!std::exchange(clampTold_, true))
            in_.report(msg::text.coordinateClamped, std::string(word.substr(0, 80)).c_str(), value);
        in_.skipToken();
        return true;
    }

    bool readPositions() {
        if (in_.lenient && !nodes_.empty() && in_.isAtEnd()) {
            in_.structName = nullptr;
            in_.report(msg::ergo.noPositions);
            return true;
        }
        for (Bnode_bn* node : nodes_) {
            in_.structName = node->name();
            coord_kt wanted;
            if (!readCoordinate(wanted.x) || !readCoordinate(wanted.y)) return false;
            if (!node->vns.hasSome() || node->vns[0] == nullptr) continue;
            const coord_kt now = node->vns[0]->position();
            node->vns[0]->moveBy({wanted.x - now.x, wanted.y - now.y}, 0);
        }
        in_.structName = nullptr;
        if (!in_.isAtEnd()) {
            in_.setTokenStart(in_.getPos());
            in_.report(msg::ergo.textBehindPositions);
        }
        return true;
    }
};

/// Property table of the format: the double quote is punctuation, '/' may start a comment.
std::unique_ptr<short[]> ErgoCharProps() {
    std::unique_ptr<short[]> props(MakeStdCharProps_kt());
    SetCharProp_kt("\"", CharPropPunct, props.get());
    SetCharProp_kt("/", CharPropComment, props.get());
    return props;
}

}  // namespace

rept_kt* ParseErgoFile(InChannel_kt& channel, Bnet_bn& net, const ReadOptions& options) {
    const std::unique_ptr<short[]> props = ErgoCharProps();
    ParserOptions_kt parserOptions;
    parserOptions.charProps = props.get();
    parserOptions.commentMode = 2;
    const OwnedParser parser(channel.makeParser(&parserOptions));
    Parser_CString_kt& in = TextParser(*parser);
    in.lenient = options.lenient;
    const ParserContext context(in, "Ergo file");
    const auto isTold = [](const Bnode_bn&) { return true; };  // by the errors of its section
    rept_kt* result = nullptr;
    ReadToTheEnd(in, [&] {
        rept_kt* const ending = ErgoReader(in, net).read();
        JudgeNodes(in, net, isTold);
        result = ending;
    });
    return result != nullptr ? result : in.curReport;
}

}  // namespace lumo
