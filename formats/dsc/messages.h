// The DSC reader's reports.
#pragma once

#include "formats/shared/messages.h"

namespace lumo {

struct DscMessages {
    using enum MessageKind;
    using enum ReadingEN;
    // clang-format off
    // The file.
    Message<> noNetwork{-4025, error, "keyword 'network' not found", "not a DSC file, or its "
        "header is lost. Write `belief network \"name\"` in front", {"belief net x", 1, 1}};
    Message<> namelessNetwork{-5226, notice, "the network has no name", "write it behind the word "
        "`network`, or `\"\"` for none", {"belief network node A {}", 1, 16}};
    Message<const char*> strayAfterName{-4026, warning, "unexpected punctuation %s",
        "something stands between the network's name and the first block, often because the name "
        "has blanks and no quotes. Quote it", {"network x : node A {}", 1, 11}};
    Message<const char*> unknownBlock{-4027, warning, "unknown block type '%s'", "a block that is "
        "neither `node` nor `probability` is passed over, and so is text before the next block. If "
        "the word is part of a name or of rows, a brace or quote before it is lost. Put it back; "
        "delete what belongs to no block", {"network x node A {} service { }", 1, 21}};
    Message<const char*> strayBetweenBlocks{-4028, notice, "unexpected punctuation %s",
        "a stray `;` or `}` between blocks is dropped. Delete it", {"network x node A {};", 1, 20}};
    // Node blocks.
    Message<> nodeWithoutBody{-4005, error, "missing '{'", "the block of a node has no body. Write "
        "`{` after the node's identifier, which is one word", {"network x node A B {}", 1, 18}};
    Message<> namelessNode{-5227, warning, "this >-node has no name",
        "a name is made up, and nothing in the file can mean the node. Write one behind the word "
        "`node`", {"network x node {}", 1, 16}};
    Message<const char*> strayInNode{-4006, warning, "unexpected punctuation '%s'", "a stray "
        "character between attributes is dropped. Delete it", {"network x node A { ) }", 1, 20}};
    Message<> missingColon{-4007, warning, "missing colon ':' after attribute name",
        "the attribute is passed over. Write `:` after its name",
        {"network x node A { name a; }", 1, 20}};
    Message<> missingValue{-5228, warning, "the value of the attribute is missing",
        "write it, or `\"\"` for none", {"network x node A { name: ; }", 1, 26}};
    Message<int> missingStateNames{-5229, warning, "%d state name[ is|s are] missing from the list",
        "those states have empty names. Write them, or `\"\"` for none",
        {"network x node A { type: discrete[2] = {a, , }; }", 1, 40}};
    Message<> missingBracket{-4008, warning, "missing [ after type:discrete",
        "the node gets two states without names. Write `discrete[2] = { ... }`",
        {"network x node A { type: discrete; }", 1, 26}};
    Message<> missingEquals{-4009, warning, "missing ]= after type:discrete",
        "the states get no names. Write `=` between `]` and `{`",
        {"network x node A { type: discrete[2] {a b}; }", 1, 38}};
    Message<int, int> stateCountDiffers{-4010, warning, "supposed to be %d states, but there are "
        "%d state names", "the names are dropped. Correct the number or the list; a lost comma or "
        "quote makes two names one", {"network x node A { type: discrete[2] = {a}; }", 1, 40}};
    Message<const char*> unknownType{-4011, warning, "unknown or ignored >-node type '%s'",
        "the node keeps two states. Types are `discrete` and `continuous`. Write one of them",
        {"network x node A { type: fuzzy; }", 1, 26}};
    Message<const char*> unknownAttribute{-4012, warning, "unknown or ignored attribute '%s'",
        "the attribute has no counterpart and is passed over. Correct it, if it is misspelt",
        {"network x node A { cost: fix = 2; }", 1, 20}};
    Message<> missingSemicolon{-4013, warning, "missing semicolon at end",
        "write `;` at the end of the attribute", {"network x node A { name: a }", 1, 28}};
    Message<> nodeWithoutEnd{-4014, warning, "missing '}' at end",
        "the file ends, or another block begins, inside a node block, which is made of what there "
        "is. Write the `}`, or get the whole file", {"network x node A { name: a;", 1, 28}};
    // Probability blocks.
    Message<> missingParenthesis{-4015, error, "missing '('",
        "the header is to be `probability(child | parents)`. Write the parentheses",
        {"network x node A {} probability A { 1; }", 1, 33}};
    Message<const char*> undeclaredChild{-4016, error, "undeclared >-node '%s'",
        "the child has no node block before this block, or one with an error. Move or correct that",
        {"network x node A {} probability(B) { 1, 0; }", 1, 33}};
    Message<const char*> strayAmongParents{-4017, warning, "unexpected punctuation %s",
        "a stray character among the parents is dropped. Delete it",
        {"network x node A {} node B {} probability(A|=B) { default: 1, 0; }", 1, 45}};
    Message<const char*> unknownParent{-4018, error, "unknown >-node '%s'",
        "a parent has no node block before this block, or one with an error. Move or correct that",
        {"network x node A {} probability(A|B) { default: 1, 0; }", 1, 35}};
    Message<const char*> strayAfterChild{-4019, error, "unexpected punctuation %s",
        "after the child stands neither `|` nor `)`. Write `|` before the parents, or `)`",
        {"network x node A {} probability(A, B) { 1, 0; }", 1, 34}};
    Message<> rowsWithoutBody{-4020, error, "missing '{'", "the probability block has no body. "
        "Write `{` after the header", {"network x node A {} probability(A) 1, 0; }", 1, 36}};
    Message<const char*> unexpectedToken{-4022, error, "unexpected token '%s'",
        "where a row begins there is something else: numbers without a tuple although the child "
        "has parents, a function form, or the next block because the `}` is lost (then nothing "
        "else is). Write `(0, 1):` before the row's numbers, or the `}`",
        {"network x node A {} node B {} probability(A|B) { 1, 0; }", 1, 50}};
    Message<const char*> strayBeforeRow{-4023, error, "unexpected punctuation %s",
        "a row begins with neither a tuple nor `default`. Delete the character, or write the tuple",
        {"network x node A {} node B {} probability(A|B) { : 1, 0; }", 1, 50}};
    Message<const char*> missingRowColon{-4024, warning, "expecting colon (:), but read %s",
        "write `:` after the tuple",
        {"network x node A {} node B {} probability(A|B) { default = 1, 0; }", 1, 58}};
    Message<const char*> badVector{-4034, warning, "%s", "what is wrong with a vector: fewer or "
        "more numbers than states, a negative number, a sum of 0 or not 1. Correct the row; the "
        "node is the one of the block. With a comma as decimal sign a row has twice the numbers: "
        "write points", {"network x node A {} probability(A) { 0.5; }", 1, 38}};
    Message<const char*> missingRowEnd{-3611, warning, "expected semicolon (;) after probablity "
        "vector, but read %s",
        "write `;` at the end of the row", {"network x node A {} probability(A) { 1, 0 }", 1, 43}};
    Message<int, int> wrongTuple{-5048, error, "%d number[|s] wanted, but %d read",
        "a tuple has not one number for each parent. Write one for each, in the order of the "
        "header", {"network x node A {} node B {} probability(A|B) { (0, 1): 1, 0; }", 1, 55}};
    Message<int, const char*> negativeState{-5094, error, "state %d is wanted for a row of >-node "
        "'%s', but states are counted from 0", msg::model.badParentState.cure,
        {"network x node A {} node B {} probability(A|B) { (-5): 1, 0; }", 1, 50}};
    Message<int> tooMuchToFill{-5210, error, "the tables of this file want more than %d numbers "
        "beyond its length", "rows much shorter than the child has states, or tables given by "
        "single rows, again and again, would take the memory. Write tables whole, once"};
    Message<const char*> contradictoryRow{-5211, warning, "this row names two states of >-node "
        "'%s', so it is passed over", "the header names a parent twice and the tuple gives it two "
        "states. Correct the header, or the tuple",
        {"network x node A {} node B {} probability(A|B, B) { (0, 1): 1, 0; }", 1, 53}};
    // Lenient reading.
    Message<const char*> blockWithoutEnd{-5234, warning, "the file ends inside the probability "
        "block of >-node '%s'", "the rows read so far count. Get the file again, or close the "
        "block", {"network x node A {} probability(A) { 1, 0;", 1, 43, leniently}};
    Message<> networkProperties{-5212, notice, "the properties in braces after the network's name "
        "are passed over", "they describe the file, not the net. Nothing needs to be done",
        {"network x { version is 1; } node A {}", 1, 11, leniently}};
    Message<const char*> blocksBeforeHeader{-5213, warning, "no header with the word 'network' "
        "stands before this '%s' block, which is read all the same", "write `belief network "
        "\"name\"` in front of the first block", {"node A {}", 1, 1, leniently}};
    Message<> quotedName{-5214, notice, "nodes are named in quotes; their names are the texts in "
        "them", "nothing is lost. In the format a node's name is one word. Nothing needs to be "
        "done", {"network x node \"A b\" {}", 1, 16, leniently}};
    Message<> statesWithoutEquals{-5215, notice, "state names without '=' before them are read all "
        "the same", "nothing is lost. The format wants `discrete[2] = { ... }`. Nothing needs to "
        "be done here; for other programs write the `=`",
        {"network x node A { type = discrete[2] {a b}; }", 1, 39, leniently}};
    Message<const char*> equalsForColon{-5216, notice, "%s instead of ':' after a tuple is read as "
        "that", "nothing is lost. Write `:` after the tuple",
        {"network x node A {} node B {} probability(A|B) { default = 1, 0; }", 1, 58, leniently}};
    Message<> namedStates{-5217, notice, "tuples name states instead of numbering them, and are "
        "read so", "nothing is lost. In the format states are numbered from 0. Nothing needs to be "
        "done here; for other programs write the numbers",
        {"network x node A {} node B {type: discrete[2] = {x y};} probability(A|B) { (x): 1, 0; "
        "(y): 0, 1; }", 1, 77, leniently}};
    Message<const char*, const char*> unknownState{-5218, error, "'%s' is no state of >-node '%s'",
        "the block ends before this row. Correct the tuple",
        {"network x node A {} node B {} probability(A|B) { (x): 1, 0; }", 1, 51, leniently}};
    Message<const char*> rowsByOrder{-5219, notice, "all rows of >-node '%s' have one tuple, so "
        "they are placed by their order", "the program that wrote the file wrote the same tuple "
        "everywhere. With one parent, or equal rows, nothing can be wrong. With more parents, "
        "compare a row with the program's own display", {"network x node A {} node B {} "
        "probability(A|B) { (0): 1, 0; (0): 0, 1; }", 1, 50, leniently}};
    Message<const char*> rowsByOrderOfParents{-5220, warning, "all rows of >-node '%s' have one "
        "tuple, so they are placed by their order: the last parent varies fastest", "all have the "
        "same tuple, so nothing says which parent varies fastest. Compare a row with the program's "
        "display", {"network x node A {} node B {} node C {} probability(A|B, C) { (0, 0): 1, 0; "
        "(0, 0): 0, 1; (0, 0): 0, 1; (0, 0): 0, 1; }", 1, 63, leniently}};
    Message<> rowsAsNoisyMax{-5221, warning, "rows behind 'function: max' are read as a noisy-max: "
        "the row of zeros is the leak, the others are single causes without it", "that is how such "
        "files are meant as far as is known; compare a row with the program's own display",
        {"network x node A {} node B {} probability(A|B) { function: max; (0): 1, 0; (1): 0, 1; "
        "}", 1, 50, leniently}};
    Message<> rowOfTwoCauses{-5222, warning, "a row of a noisy-max in which several parents are "
        "not in state 0 is passed over", "such rows follow from the others. Nothing needs to be "
        "done, unless the rows are meant as a table: then delete the `function`",
        {"network x node A {} node B {} node C {} probability(A|B, C) { function: max; (1, 1): 0, "
        "1; }", 1, 78, leniently}};
    Message<int, int, const char*> noisyMaxRowsMissing{-5223, error, "%d of the %d row[|s] that a "
        "noisy-max of >-node '%s' needs [1?is|are] missing", "the node gets no table. Give one row "
        "for each state but the first of each parent, the other parents in state 0; without a row "
        "of zeros there is no leak", {"network x node A {} node B {} probability(A|B) { function: "
        "max; (0): 1, 0; }", 1, 50, leniently}};
    // clang-format on
};

namespace msg {
inline constexpr DscMessages dsc;
}

}  // namespace lumo
