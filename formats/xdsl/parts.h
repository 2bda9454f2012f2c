// What the files of the XDSL reader share.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/xdsl/messages.h"
#include "library/model/netmodel.h"
#include "library/text/xml.h"

namespace lumo {

/// What a net cannot hold, told once a kind.
enum class LossEN : unsigned char {
    samplingSettings,
    networkProperties,
    stateMarks,
    displaySettings,
    textBoxes,
    nesting,
    cases,
    observationCosts,
    noisyMax,
    otherIds,
    equations,  // this and what follows change what the net means
    sums,
    gates,
    count
};

/// Counts what is not kept, with the names of the first.
class NotKept {
public:
    void add(LossEN loss, std::string_view name = {});
    /// One report a kind, at the tokenizer's place.
    void report(Parser_CString_kt& in) const;

private:
    struct Kind {
        int count = 0;
        std::string names;  ///< ": a, b"
    };
    Kind kinds_[static_cast<int>(LossEN::count)];
};

/// Passes over the element entered last, with a warning; once a name.
void SkipUnknown(Parser_CString_kt& in, XMLReader& xml, std::string_view around);

using Words = std::vector<std::string>;

/// Whether a state can be told by the text in a list of states.
bool IsStateId(std::string_view text);

/// The words of a text, separated by white space.
void AppendWords(std::string_view text, Words& words);

/// What a node's element says.
struct NodeValues {
    std::string id;
    std::string element;
    ParserPos_kt place = nullptr;
    Words states;  ///< ids; of a continuous node the labels of its intervals
    Words parents;
    std::vector<std::pair<std::string, std::string>> fields;
    std::string lower, upper;    ///< bounds of a formula, as written
    std::vector<double> uppers;  ///< of the intervals
    FloatList numbers;
    XArray<double> exact;                 ///< where floats do not hold the numbers
    ParserPos_kt numbersPlace = nullptr;  ///< null: there are none
    bool damaged = false;                 ///< of the numbers
    Words results;
    Words strengths;
    Bnode_bn* node = nullptr;  ///< borrowed

    void clear();
};

/// A bound of an interval, `none` where the text is empty or, with a warning, no number.
double ReadBound(Parser_CString_kt& in, std::string_view text, double none);

/// A noisy-max as the model has it.
struct NoisyMax {
    std::vector<double> parameters;
    std::vector<int> order;  ///< of the states
};

/// That of the node with its parents. None, with a report, when the strengths cannot be those of
/// the node.
std::optional<NoisyMax> ReadNoisyMax(Parser_CString_kt& in, const NodeValues& values);

/// Collects how the network is drawn, and applies it when all nodes are there.
class DrawnNet {
public:
    DrawnNet(Parser_CString_kt& in, XMLReader& xml, Bnet_bn& net, NotKept& notKept)
        : in_(in), xml_(xml), net_(net), notKept_(notKept) {}

    /// Reads the element `genie`.
    void read();
    /// Gives nodes their titles, comments, node sets and places.
    void apply(Vnet_kt& drawing);

private:
    struct Place {
        std::string id, title, comment;
        int left = 0, top = 0, right = 0, bottom = 0;
        bool hasRect = false;
        int submodel = 0;  ///< 0: none
        ParserPos_kt place = nullptr;
        Bnode_bn* node = nullptr;
    };
    struct Submodel {
        std::string id, title;
        RGB color = DefaultNodesetColor;
    };

    void readAttributes();
    void readNode(int submodel);
    void readRect(Place& at);
    void readColor(Submodel& submodel);
    std::string readText();
    void makeSets(Vnet_kt& drawing);
    void placeNodes(Vnet_kt& drawing);
    void separateSubmodels();
    void placeRest();

    Parser_CString_kt& in_;
    XMLReader& xml_;
    Bnet_bn& net_;
    NotKept& notKept_;
    std::deque<Place> places_;
    std::vector<Submodel> submodels_{1};  ///< the first is the net itself
    bool oneDrawing_ = false;             ///< places in submodels are those of the whole drawing
    bool clampTold_ = false;
    std::string title_, comment_;
    strin_kt room_;      // of a text that had to be decoded
    FloatList corners_;  // of the rectangle read last
};

}  // namespace lumo
