// The BIF reader's reports.
#pragma once

#include "formats/shared/messages.h"

namespace lumo {

struct BifMessages {
    using enum MessageKind;
    using enum ReadingEN;
    // clang-format off
    Message<> notBif{-5300, error, "this is no BIF file: it has no network, variable or "
        "probability block",
        "choose another format with `--from`; the word BIF is used for several", {"x", 1, 2}};
    Message<int, const char*> toBeLearnt{-5328, warning, "%d node[ has|s have] -1 for all "
        "probabilities and no table: they are to be learnt (the first: '%s')",
        "some programs write so what was not learnt yet. Learn the probabilities, or give the rows",
        {"network n {} variable a { type discrete [ 2 ] { x, y }; } probability ( a ) { table -1, -1; "
        "}", 0, 0, leniently}};
    Message<const char*> unknownBlock{-5301, warning, "unknown block type '%s'",
        "blocks are `network`, `variable` and `probability`; another one is passed over with its "
        "braces. If the word is misspelt, correct it", {"network n {} note x {}", 1, 14}};
    Message<const char*> strayPunctuation{-5302, warning, "unexpected punctuation %s", "a stray "
        "character is dropped, a `{` with all up to its `}`. Often a brace before it is missing or "
        "too many. Delete it, or give that brace its counterpart", {"network n {} }", 1, 14}};
    Message<const char*, const char*> missingPunctuation{-5303, warning, "missing %s before %s",
        "write the character; reading goes on as if it stood there",
        {"network n {} variable a { type discrete [ 2 ] { x, y } }", 1, 56}};
    Message<const char*, const char*> missingName{-5304, error, "missing name after '%s', before "
        "%s", "the block is passed over. Write the name of its variable", {"variable { }", 1, 10}};
    Message<const char*> netWithoutName{-5305, warning, "missing name of the network, before %s",
        "write `network NAME { }`", {"network { }", 1, 9}};
    Message<> networkAgain{-5306, warning, "a second network block, whose name is not kept",
        "a file holds one net; variables behind the second header belong to it as well. Split the "
        "file if they should not", {"network a {} network b {}", 1, 14}};
    Message<const char*> unknownStatement{-5307, warning, "unknown or ignored statement '%s'",
        "variables have `type` and `property`, probabilities `table`, `default`, `property` and "
        "rows `( ... )`; another statement is passed over up to its `;`. Correct the word, if it "
        "is misspelt", {"network n { author me; }", 1, 13}};
    Message<int, int> wrongStateCount{-5308, warning, "supposed to be %d state[|s], but there "
        "[2?is|are] %d state name[|s]", "the variable has the states that are named. Correct the "
        "number, or the list", {"variable a { type discrete [ 3 ] { x, y }; }", 1, 36}};
    Message<const char*> unknownType{-5309, warning, "type '%s' is not 'discrete', the only one of "
        "BIF", "BIF 0.15 has discrete variables alone. Discretise the variable, or give its states",
        {"variable a { type continuous; }", 1, 19}};
    Message<const char*, int> noStates{-5310, warning, "variable '%s' has no list of states, so "
        "that it gets %d without names",
        "write `type discrete [ 2 ] { a, b };`", {"variable a { }", 1, 10}};
    Message<const char*> propertyWithoutName{-5311, warning, "a property without a name, before %s",
        "a property is written `property name = value;`; without a name it is not kept. Write one, "
        "if the text is to be kept",
        {"variable a { type discrete [ 1 ] { x }; property = 1; }", 1, 50}};
    Message<const char*> propertyWithoutValue{-5327, notice, "property '%s' has no value",
        "it is kept as an empty field. If it has a value, write `property name = value;`",
        {"variable a { type discrete [ 1 ] { x }; property cost = ; }", 1, 50}};
    Message<> unclosedQuote{-5312, warning, "a quote in this property has no counterpart",
        "it is kept as a character of the value. Write the other one",
        {"network n {} variable a { property label = \"x; }", 1, 36}};
    Message<const char*> unknownChild{-5313, error, "probabilities of '%s', which is no variable",
        "the block is passed over. Correct the name, or the variable's block",
        {"probability ( a ) { table 1; }", 1, 15}};
    Message<const char*> unknownParent{-5314, error, "unknown parent '%s'",
        "no variable has the name; the other parents are kept, the table is not. Correct the name",
        {"variable a { type discrete [ 1 ] { x }; } probability ( a | b ) { }", 1, 61}};
    Message<const char*> definedTwice{-5315, warning, "the probabilities of >-node '%s' are given "
        "again, and the later ones count", "delete one of the two blocks",
        {"variable a { type discrete [ 1 ] { x }; } probability ( a ) { table 1; } probability ( a "
        ") { table 1; }", 1, 90}};
    Message<int, const char*, int> wrongRowWords{-5316, error,
        "the row names %d state[|s] of parents, but >-node '%s' has %d parent[|s]",
        "the row is passed over. Name one state of each parent, in the order of the header",
        {"variable a { type discrete [ 1 ] { x }; } probability ( a ) { (x) 1; }", 1, 65}};
    Message<const char*, const char*> unknownState{-5317, error, "the row names the state '%s', "
        "which >-node '%s' does not have",
        "the row is passed over. Write the state as in its variable's list; letter case counts",
        {"variable a { type discrete [ 1 ] { x }; } variable b { type discrete [ 1 ] { y }; } "
        "probability ( a | b ) { (x) 1; }", 1, 110}};
    Message<const char*, long long, long long> wrongCount{-5318, error,
        "the probabilities of >-node '%s' should be %lld number[|s], but %lld [was|were] read",
        "a row has a number for each state, a table one for each state and combination of the "
        "parents' states. What has another count is passed over. Correct the list, or the states",
        {"variable a { type discrete [ 2 ] { x, y }; } probability ( a ) { table 1; }", 1, 73}};
    Message<const char*> equalStates{-5319, warning, "rows of >-node '%s' name states that share "
        "one word, and are taken for these in turn",
        "a parent has two states of one name. Name them apart, there and in the rows",
        {"variable a { type discrete [ 1 ] { x }; } variable b { type discrete [ 2 ] { y, y }; } "
        "probability ( a | b ) { (y) 1; (y) 1; }", 1, 112}};
    Message<const char*> tableAndRows{-5320, warning, "the probabilities of >-node '%s' are given "
        "both as a table and by rows; what comes later counts", "delete one of the two",
        {"variable a { type discrete [ 1 ] { x }; } probability ( a ) { table 1; () 1; }", 1, 72}};
    Message<const char*, const char*> unknownFunction{-5321, warning, "function '%s' of >-node "
        "'%s' is not known, so its rows are taken as a table", "`function max` is the one that is "
        "known, and stands before the rows. Delete it, or write the rows of the whole table",
        {"variable a { type discrete [ 1 ] { x }; } probability ( a ) { property function min; "
        "table 1; }", 1, 72}};
    Message<const char*> severalCauses{-5322, error, "the row of >-node '%s' names more than one "
        "cause, which a noisy-max does not have", "rows of `function max` have at most one parent "
        "away from its first state. Delete the `function`, if these are the rows of a table",
        {"variable a { type discrete [ 1 ] { x }; } variable b { type discrete [ 1 ] { x }; } "
        "probability ( a | b ) { property function max; (*) 1; }", 1, 132}};
    Message<const char*> causesMissing{-5323, error, "the noisy-max of >-node '%s' lacks rows",
        "`function max` wants the row of all first states, the leak, and one row for each other "
        "state of each parent; the node gets no table. Write them",
        {"variable a { type discrete [ 1 ] { x }; } probability ( a ) { property function max; "
        "}", 1, 43}};
    Message<int> tooMuchToFill{-5324, error, "the tables of this file want more than %d numbers "
        "beyond its length", "tables of many parents, of which the file gives a few rows, would "
        "take the memory. Give the nodes fewer parents, or all rows"};
    Message<int, int, const char*> noProbabilities{-5325, warning, "%d of the %d variable[|s] "
        "[1?has|have] neither parents nor probabilities, the first is '%s'",
        "their probability blocks are missing or damaged. If the file was cut off, get it again",
        {"variable a { type discrete [ 1 ] { x }; }", 1, 42}};
    Message<> noVariables{-5326, notice, "the net has no variables",
        "the file may be cut off. Get it again", {"network n {}", 1, 13}};
    // clang-format on
};

namespace msg {
inline constexpr BifMessages bif;
}

}  // namespace lumo
