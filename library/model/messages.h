// The net model's reports.
#pragma once

#include "library/reports/message.h"

namespace lumo {

struct ModelMessages {
    using enum MessageKind;
    // clang-format off
    Message<const char*> outOfMemoryForTable{-5099, memoryError, "for the table of >-node '%s'",
        "there is not enough memory for one table: the node has none, and all else is read. Give "
        "the node fewer parents or states, or use `--max-memory` to allow more"};
    Message<const char*> outOfMemoryForParameters{-5099, memoryError, "for the parameters of "
        ">-node '%s'", outOfMemoryForTable.cure};
    Message<const char*> nodeExists{-5080, error, "there is a >-node '%.200s' already",
        "two objects declare one node, and the first counts. Rename one",
        {"net {} node a {} node a {}", 1, 23, "hugin"}};
    Message<const char*, const char*> labelExists{-5081, warning, "another >-node is labelled "
        "'%.200s' already; this one is named '%s'", Of{"xmlbif"},
        "two variables have the same name. Rename the second; definitions mean the first",
        {"<BIF VERSION=\"0.3\"><NETWORK><VARIABLE><NAME>a</NAME></VARIABLE><VARIABLE><NAME>a</NAME>"
        "</VARIABLE></NETWORK></BIF>", 0, 0}};
    Message<const char*, const char*, const char*> selfLink{-5082, error, "node '%s' cannot be a "
        "parent of node '%s', itself%s",
        "correct the list of parents", {"2 2 2\n1 1", 2, 3, "ergo"}};
    Message<const char*, const char*, const char*> cycle{-5083, error, "a link from node '%s' to "
        "node '%s' would close a cycle%s",
        "a node cannot be its own ancestor, so the link is refused. Correct the parents of the "
        "nodes in the cycle", {"2 2 2\n1 2\n1 1", 3, 3, "ergo"}};
    Message<const char*, const char*, const char*> unknownCycle{-5083, error, "a link from node "
        "'%s' to node '%s'%s contradicts those before it, and after so many searches it is not "
        "known whether it would close a cycle", cycle.cure};
    Message<const char*, const char*> parentAgain{-5084, warning, "node '%s' is named again as a "
        "parent of node '%s'", "the table is taken for the distinct parents. Delete the repetition",
        {"2 2 2\n0\n2 1 1", 3, 5, "ergo"}};
    Message<const char*, int, int> tooManyStates{-5085, error, "node '%s' is to have %d states, "
        "but the limit is %d", "a number of states is negative, beyond 1,000,000, or brings the "
        "net beyond 10,000,000. Correct it"};
    Message<int, int> badStateCount{-5085, error, "a node of %d states is wanted, but the limit is "
        "%d", tooManyStates.cure, {"1 -2", 1, 3, "ergo"}};
    Message<int, long long, int> tooManyNetStates{-5085, error, "a node of %d states would give "
        "the net %lld states, but the limit is %d", tooManyStates.cure};
    Message<const char*, int, const char*, int> badStateIndex{-5086, warning, "%s for state %d of "
        "node '%s', which has %d state[|s]", Of{"hugin"},
        "a field `HR_State_<n>` for a state that is none; its text is dropped. States are counted "
        "from 0. Correct the number", {"net {} node a { HR_State_7 = \"x\"; }", 0, 0}};
    Message<const char*, double, int> tableTooLarge{-5087, error, "the table of node '%s' wants "
        "%.15g entries, but the limit is %d", "the product of the states of the node and its "
        "parents passes 2^27 (what defaults and parameters fill in, 2^29 a net), so there is no "
        "table. Give the node fewer parents or states"};
    Message<const char*, long long, long long> defaultsTooLarge{-5087, error, "with node '%s' the "
        "rows that the net leaves to defaults have %lld entries, but the limit is %lld",
        tableTooLarge.cure};
    Message<const char*, double, const char*, const char*> badTableEntry{-5088, error, "the table "
        "of node '%s' holds %g for state %s%s", "a probability is negative, infinite or no number; "
        "the node gets no table. Correct it", {"1 2 0 2 1 -3", 0, 0, "ergo"}};
    Message<const char*> roundingNoise{-5089, warning, "the table of node '%s' holds negative "
        "numbers close to 0, which become 0", "rounding noise of the program that wrote it. "
        "Nothing needs to be done", {"1 2 0 2 1 -1e-7", 0, 0, "ergo"}};
    Message<const char*, const char*, const char*> zeroRow{-5090, warning, "a row of node '%s' "
        "sums to 0%s%s",
        "the row stays as it is and is no distribution. Correct it", {"1 2 0 2 0 0", 0, 0, "ergo"}};
    Message<const char*, const char*, const char*, double, const char*> rowSum{-5091, warning,
        "row %s%sof node '%s' sums to %g%s", "the row is no distribution. Correct it, or the "
        "numbers' order: the node's state changes fastest", {"<BIF VERSION='0.3'><NETWORK>"
        "<VARIABLE><NAME>a</NAME><OUTCOME>x</OUTCOME><OUTCOME>y</OUTCOME></VARIABLE><DEFINITION>"
        "<FOR>a</FOR><TABLE>0.5 0.4</TABLE></DEFINITION></NETWORK></BIF>", 0, 0, "xmlbif"}};
    Message<int, int, const char*> rowsMissing{-5092, warning, "%d of the %d row[|s] of node '%s' "
        "[1?is|are] missing, and [1?is all|are] zeros", Of{"tuples"}, "give them, or a `default`"};
    Message<const char*, const char*, const char*> rowAgain{-5093, warning, "a row of node '%s' is "
        "given again, and the later one counts%s%s", "delete one of them, or correct its tuple"};
    Message<int, const char*, const char*, int> badParentState{-5094, error, "state %d of node "
        "'%s' is wanted for a row of node '%s', but it has %d state[|s]", Of{"tuples"},
        "a tuple names a state that is none. Correct it"};
    Message<int, const char*, double> badParameter{-5095, error,
        "noisy-max parameter %d of node '%s' is %g, not from 0 to 1", Of{"dxpress"},
        "the numbers are no probabilities; the node gets no table. Correct them"};
    Message<int, int, const char*, double> badParameters{-5095, error, "noisy-max parameters %d to "
        "%d of node '%s' sum to %g, not to 1", Of{"dxpress"}, badParameter.cure};
    Message<const char*, int, int> tooManyGroups{-5096, error,
        "node set '%.200s' would be number %d, but the limit is %d",
        "a net has at most 10,000 groups; the others are left out. Use fewer"};
    Message<const char*, int, const char*> badStateName{-5097, error, "'%.200s' is no legal name "
        "for state %d of node '%s'", "an internal contradiction; please report the file"};
    Message<const char*, const char*> equalStateNames{-5097, error, "two states of node '%s' are "
        "named '%s'", badStateName.cure};
    // clang-format on
};

namespace msg {
inline constexpr ModelMessages model;
}

}  // namespace lumo
