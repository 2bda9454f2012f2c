// The Ergo reader's reports.
#pragma once

#include "formats/shared/messages.h"

namespace lumo {

struct ErgoMessages {
    using enum MessageKind;
    using enum ReadingEN;
    // clang-format off
    Message<> notErgo{-3469, waitingError, "File does not start in the original simple Ergo "
        "format; perhaps it is in the newer Ergo format (.ent)",
        "the first token is no integer. Newer Ergo programs write `.ent` files, another format: "
        "save the net in the original one", {"net", 1, 1}};
    Message<const char*, int> parentOutOfBounds{-2316, error, "when adding links to >-node %s, "
        "parent is declared as %d, but that is out-of-bounds",
        "parents are counted from 1 to N; in a file whose parents count from 0, add 1 to each, or "
        "read it leniently", {"2 2 2\n0\n1 3", 3, 3}};
    Message<int, int, int> wrongProbabilityCount{-2317, error, "%d probabilities for >-node %d, "
        "but expected %d", "the count must be the product of the states of the node and of its "
        "parents (the node is counted from 0). Correct it, or the numbers of states and parents "
        "before it", {"1 2 0 3 1 0 0", 1, 7}};
    Message<int> outOfMemoryForTable{-2318, memoryError, "for >-CPTable of >-node %d", "the table "
        "does not fit into memory. Give the node fewer parents or states, or use a larger machine"};
    Message<int, const char*, long long> impossibleCount{-5230, error, "%d %s cannot be: the rest "
        "of the file has %lld byte[|s]",
        "a count is negative, or larger than what the rest of the file can hold: a number before "
        "it is missing or too many. Correct the numbers before that place", {"9", 1, 1}};
    Message<> textBehindPositions{-5231, warning, "what stands behind the last position is passed "
        "over", "the format ends there. A number may be one too many before it. Delete it, or "
        "correct the counts", {"1 2 0 2 1 0 A a b 1 2 3", 1, 23}};
    Message<> noPositions{-5233, notice, "the file ends without the positions of the nodes",
        "some programs write none; the net is whole. Nothing needs to be done",
        {"1 2 0 2 1 0 A a b", 1, 18, leniently}};
    Message<> parentsFromZero{-5232, warning, "parents are taken as numbered from 0, since this "
        "one is 0 and none has the number of nodes", "some programs count so. Compare the links "
        "with the program's own display", {"2 2 2\n0\n1 0", 3, 3, leniently}};
    Message<int, int, int> tableTooLarge{-5087, error, "the table of >-node %d wants %d entries, "
        "but the limit is %d", msg::model.tableTooLarge.cure};
    // clang-format on
};

namespace msg {
inline constexpr ErgoMessages ergo;
}

}  // namespace lumo
