// The XDSL reader's reports.
#pragma once

#include "formats/shared/messages.h"

namespace lumo {

struct XdslMessages {
    using enum MessageKind;
    // clang-format off
    Message<const char*> notXdsl{-5350, error, "this is no XDSL file: its root element is '%s', "
        "not 'smile'", "choose another format with `--from`", {"<BIF/>", 1, 1}};
    Message<> noNodes{-5351, error, "the file has no 'nodes' element",
        "there is no net in it; the file may be cut off. Get it again", {"<smile/>", 1, 9}};
    Message<const char*, const char*> unknownElement{-5352, warning, "unknown element '%s' in '%s'",
        "the element is passed over with all that it holds. Correct the word, if it is misspelt",
        {"<smile><nodes/><bayes/></smile>", 1, 16}};
    Message<const char*> noId{-5353, error, "element '%s' has no id", "a node without an id gets a "
        "name that is made up, a state without one has no name, and what refers to them is lost. "
        "Write `id=\"NAME\"`", {"<smile><nodes><decision/></nodes></smile>", 1, 15}};
    Message<const char*, const char*> unknownParent{-5354, error, "unknown parent '%s' of >-node "
        "'%s'", "no node has that id; the node keeps its other parents and gets no table. Correct "
        "the name, or get the missing node",
        {"<smile><nodes><decision id=\"a\"><parents>b</parents></decision></nodes>"
        "</smile>", 1, 15}};
    Message<const char*, long long, long long> wrongCount{-5355, error, "the table of >-node '%s' "
        "should have %lld entr[y|ies], but has %lld", "the count must be the product of the states "
        "of the node and its parents; the node keeps its parents and gets no table. Correct the "
        "list, or the states", {"<smile><nodes><cpt id=\"a\"><state id=\"x\"/><probabilities>1 "
        "0</probabilities></cpt></nodes></smile>", 1, 42}};
    Message<const char*, const char*> unknownState{-5356, error, "'%s' is no state of >-node '%s'",
        "`resultingstates` name states by their ids; the node gets no table. Correct them",
        {"<smile><nodes><deterministic id=\"a\"><state id=\"x\"/><resultingstates>"
        "y</resultingstates></deterministic></nodes></smile>", 1, 52}};
    Message<const char*> wrongStrengths{-5357, error, "the strengths of >-node '%s' are no order "
        "of its parents' states", "they list, for each parent, all its states by number, the "
        "strongest first; the node gets no table. Correct them",
        {"<smile><nodes><noisymax id=\"a\"><state id=\"x\"/><strengths>0</strengths><parameters>"
        "1</parameters></noisymax></nodes></smile>", 1, 71}};
    Message<const char*> neutralCause{-5358, warning, "the weakest state of a parent of >-node "
        "'%s' has an effect, which does not count", "the last strength of a parent is 1 for the "
        "node's last state, else 0. Correct it, or the order", {"<smile><nodes><decision "
        "id=\"b\"><state id=\"y\"/></decision><noisymax id=\"a\"><state id=\"x\"/><state id=\"z\"/>"
        "<parents>b</parents><parameters>1 0 0 1</parameters></noisymax></nodes></smile>", 1, 125}};
    Message<int> tooMuchToFill{-5359, error, "the tables of this file want more than %d numbers "
        "beyond its length", "the full tables of noisy-max nodes with many parents would take the "
        "memory; the node gets no table. Give the nodes fewer parents"};
    Message<const char*, int, const char*> notKept{-5360, notice, "not kept: %s (%d%s)",
        "it has no counterpart in the net, and what the net means is the same without it. Nothing "
        "needs to be done", {"<smile><nodes/><cases/></smile>", 1, 1}};
    Message<const char*, int, const char*> noCounterpart{-5361, warning, "no counterpart: %s "
        "(%d%s)", "a net of this library cannot say it. The nodes are there with their parents, "
        "formulas and weights as user fields `definition`, `expression` and `weights`, without "
        "tables. To have a table, discretise the node in the program that wrote the file",
        {"<smile><nodes><mau id=\"a\"/></nodes></smile>", 1, 1}};
    Message<const char*> emptyParents{-5368, notice, "the list of parents of '%s' is empty",
        "harmless, unless the parents were lost. Delete the element, or write them",
        {"<smile><nodes><decision id=\"a\"><parents/></decision></nodes></smile>", 1, 32}};
    Message<const char*, int, int> weightCount{-5367, warning, "the sum '%s' has %d weight[|s] for "
        "%d parent[|s]", "a `mau` has one weight for each of its `parents`. Correct the list",
        {"<smile><nodes><mau id=\"a\"><weights>1</weights></mau></nodes></smile>", 1, 15}};
    Message<int, const char*, const char*> temporal{-5362, warning,
        "%d temporal definition[ is|s are] passed over (slices: %s), the first of '%s'",
        "the net is that of the first slice. Unroll the network in the program that wrote the file",
        {"<smile><nodes/><dynamic numslices=\"3\"><cpt id=\"a\"/></dynamic></smile>", 1, 16}};
    Message<const char*> unknownPlace{-5363, warning, "what is drawn as '%s' is no node",
        "`extensions` names a node that `nodes` does not have; its title and place are lost. "
        "Delete the drawing, or get the missing node",
        {"<smile><nodes/><extensions><genie><node id=\"a\"/></genie></extensions></smile>", 1, 35}};
    Message<const char*> badPosition{-5364, warning, "the position of '%s' is not four numbers",
        "it is left, top, right and bottom of the node's rectangle; the node is placed without it. "
        "Write four numbers",
        {"<smile><nodes><decision id=\"a\"/></nodes><extensions><genie><node id=\"a\"><position>1 "
        "2</position></node></genie></extensions></smile>", 1, 60}};
    Message<const char*> badInterval{-5365, warning, "'%s' is no bound of an interval",
        "bounds are numbers, or `inf`; the node has its intervals without bounds. Correct them",
        {"<smile><nodes><equation id=\"a\"><discretization><interval upper=\"x\"/></discretization>"
        "</equation></nodes></smile>", 1, 48}};
    Message<int, int, const char*> noTable{-5366, warning, "%d of the %d node[|s] [1?has no table, "
        "though it is|have no table, though they are] of a kind that has one; the first is '%s'",
        "the element with the numbers is missing. If the file is damaged there, get it again",
        {"<smile><nodes><cpt id=\"a\"/></nodes></smile>", 1, 1}};
    // clang-format on
};

namespace msg {
inline constexpr XdslMessages xdsl;
}

}  // namespace lumo
