// The DXPress reader's reports.
#pragma once

#include "formats/shared/messages.h"

namespace lumo {

struct DXPressMessages {
    using enum MessageKind;
    using enum ReadingEN;
    // clang-format off
    // The file.
    Message<> missingDiagnostic{-4086, warning, "expecting word 'diagnostic'",
        "the file does not begin like a knowledge base; it is read all the same. Put `diagnostic "
        "network \"name\"` in front", {"diagnosis network x kb { }", 1, 1}};
    Message<> missingNetwork{-4087, warning, "expecting word 'network'",
        missingDiagnostic.cure, {"diagnostic net x kb { }", 1, 12}};
    Message<const char*> unknownObject{-4088, warning, "unknown object type '%s'",
        "the object is passed over with its braces. Correct the word, if it is misspelt",
        {"diagnostic network x views { }", 1, 22}};
    Message<const char*> strayBetweenObjects{-4089, warning, "unexpected punctuation %s",
        "a stray character is dropped. Delete it", {"diagnostic network x kb { };", 1, 28}};
    // Values of fields.
    Message<> stringSeparator{-4040, warning, "expected ':'", "put `:` or `=` after the field's "
        "name", {"diagnostic network x kb { notes \"a\"; }", 1, 33}};
    Message<> coordinateSeparator{-4041, warning, "expected ':'", stringSeparator.cure,
        {"diagnostic network x nodes { standard A { position (1 2); } }", 1, 52}};
    Message<> numberSeparator{-4042, warning, "expected ':'",
        stringSeparator.cure, {"diagnostic network x nodes { standard A { cost 1; } }", 1, 48}};
    Message<> booleanSeparator{-4043, warning, "expected ':'", stringSeparator.cure,
        {"diagnostic network x nodes { standard A { observable true; } }", 1, 54}};
    Message<const char*> notBoolean{-4044, error, "expected boolean quantitity, but read '%s'",
        "write `true`, `false`, `1` or `0`",
        {"diagnostic network x nodes { standard A { observable: maybe; } }", 1, 55}};
    Message<> missingValue{-5243, warning, "the value of the field is missing", "write it, or "
        "`\"\"` for none", {"diagnostic network x nodes { standard A { name: ; } }", 1, 49}};
    // kb.
    Message<> kbUnopened{-4045, warning, "expected '{'", "a block lacks its opening brace. Write "
        "it", {"diagnostic network x kb notes: a; }", 1, 25}};
    Message<const char*> strayInKb{-4046, warning, "unexpected punctuation %s",
        strayBetweenObjects.cure, {"diagnostic network x kb { , notes: a; }", 1, 27}};
    Message<const char*> unknownKbField{-4047, warning, "unknown field '%s'",
        "the field is passed over; the name may be misspelt (letter case counts). Correct it then",
        {"diagnostic network x kb { Version: a; }", 1, 27}};
    Message<> kbFieldUnended{-4048, warning, "expected ';'",
        "a field lacks its end. Write `;` there", {"diagnostic network x kb { notes: a }", 1, 36}};
    // Nodes.
    Message<const char*> nodesUnopened{-4068, warning, "expected '{', but got %s",
        "the list of nodes, or the numbers after `prob`, lack their opening brace. Write it",
        {"diagnostic network x nodes standard A { } }", 1, 28}};
    Message<const char*> strayInNodes{-4069, warning, "unexpected punctuation %s",
        strayBetweenObjects.cure, {"diagnostic network x nodes { ; }", 1, 30}};
    Message<const char*> unknownNodeKind{-4070, warning, "unknown >-node type '%s'",
        "an entry of `nodes` that is not `standard` is passed over. Write `standard`, if it is "
        "such a node", {"diagnostic network x nodes { odd A { } }", 1, 30}};
    Message<> nodeUnopened{-4055, warning, "expected '{'",
        kbUnopened.cure, {"diagnostic network x nodes { standard A name: b; } }", 1, 41}};
    Message<const char*> strayInNode{-4056, warning, "unexpected punctuation %s",
        strayBetweenObjects.cure,
        {"diagnostic network x nodes { standard A { , name: b; } }", 1, 43}};
    Message<const char*> unknownNodeField{-4066, warning, "unknown >-node field '%s'",
        unknownKbField.cure, {"diagnostic network x nodes { standard A { color: b; } }", 1, 43}};
    Message<> nodeFieldUnended{-4067, warning, "expected ';'",
        kbFieldUnended.cure, {"diagnostic network x nodes { standard A { name: b } }", 1, 51}};
    Message<> classSeparator{-4057, warning, "expected ':'", stringSeparator.cure,
        {"diagnostic network x nodes { standard A { class probability; } }", 1, 49}};
    Message<const char*> unknownClass{-4058, warning, "unknown >-node class '%s'",
        "nothing is lost. Nothing needs to be done",
        {"diagnostic network x nodes { standard A { class: decision; } }", 1, 50}};
    Message<> classtypeSeparator{-4059, warning, "expected ':'", stringSeparator.cure,
        {"diagnostic network x nodes { standard A { classtype max; } }", 1, 53}};
    Message<const char*, const char*> unknownClasstype{-4060, error, "'%s' is a ci >-node is of "
        "unknown classtype %s, but will be treated as 'max' (i.e. noisy-max)",
        "only noisy-max is known; the parameters are read as that. If they are not meant so, write "
        "the table with kind `standard`",
        {"diagnostic network x nodes { standard A { classtype: min; } }", 1, 54}};
    Message<> typeSeparator{-4061, warning, "expected ':'", stringSeparator.cure,
        {"diagnostic network x nodes { standard A { type discrete[2] = { }; } }", 1, 48}};
    Message<const char*, const char*> notDiscrete{-4062, error,
        "can only parse 'discrete' >-node-s, but >-node '%s' is of type '%s'",
        "the node keeps two states. Write `discrete[n]` with its states",
        {"diagnostic network x nodes { standard A { type: continuous; } }", 1, 49}};
    Message<> missingOpenBracket{-4063, warning, "expected '['",
        "write `type : discrete[n] = { ... };`",
        {"diagnostic network x nodes { standard A { type: discrete 2] = { }; } }", 1, 58}};
    Message<> missingCloseBracket{-4064, warning, "expected ']'", missingOpenBracket.cure,
        {"diagnostic network x nodes { standard A { type: discrete[2 = { }; } }", 1, 60}};
    Message<> missingEquals{-4065, warning, "expected '='", missingOpenBracket.cure,
        {"diagnostic network x nodes { standard A { type: discrete[2] { }; } }", 1, 61}};
    // States.
    Message<> statesUnopened{-4049, warning, "expected '{'", kbUnopened.cure,
        {"diagnostic network x nodes { standard A { type: discrete[1] = standard { name: a; } }; } "
        "}", 1, 63}};
    Message<const char*> strayInStates{-4050, warning, "unexpected punctuation %s",
        strayBetweenObjects.cure,
        {"diagnostic network x nodes { standard A { type: discrete[1] = { , standard { name: a; } "
        "}; } }", 1, 65}};
    Message<> stateUnopened{-5242, warning, "expected '{'",
        "the state is read as if it stood there. Write it",
        {"diagnostic network x nodes { standard A { type: discrete[1] = { standard name: a; } }; } "
        "}", 1, 74}};
    Message<const char*> strayInState{-4051, warning, "unexpected punctuation %s",
        strayBetweenObjects.cure,
        {"diagnostic network x nodes { standard A { type: discrete[1] = { standard { ; } }; } "
        "}", 1, 76}};
    Message<const char*> unknownStateField{-4052, warning, "unknown >-node state field '%s'",
        unknownKbField.cure,
        {"diagnostic network x nodes { standard A { type: discrete[1] = { standard { colour: a; } "
        "}; } }", 1, 76}};
    Message<> stateFieldUnended{-4053, warning, "expected ';'", kbFieldUnended.cure,
        {"diagnostic network x nodes { standard A { type: discrete[1] = { standard { name: a } }; "
        "} }", 1, 84}};
    Message<const char*> unknownStateKind{-4054, error, "unknown >-node state type '%s'",
        "write `standard` or `fault`; the entry still counts as a state",
        {"diagnostic network x nodes { standard A { type: discrete[1] = { foo { } }; } }", 1, 65}};
    Message<int> tooManyStates{-4107, error, "too many state definitions (%d)",
        "there are more entries than `discrete[n]` says; the rest of the block is passed over. "
        "Correct the number, or delete the entries",
        {"diagnostic network x nodes { standard A { type: discrete[0] = { fault { } }; } "
        "}", 1, 65}};
    // The network.
    Message<> networkUnopened{-4080, warning, "expected '{'", kbUnopened.cure,
        {"diagnostic network x nodes { standard A { } standard B { } } network standard A () { } "
        "}", 1, 70}};
    Message<const char*> strayInNetwork{-4081, warning, "unexpected punctuation %s",
        strayBetweenObjects.cure,
        {"diagnostic network x nodes { standard A { } standard B { } } network { ; }", 1, 72}};
    Message<const char*> unknownNode{-4082, error, "unknown >-node named '%s'",
        "no `nodes` object before lists it; the entry of `network` is passed over. Correct the "
        "name, or add it to `nodes`",
        {"diagnostic network x nodes { standard A { } standard B { } } network { standard C () { } "
        "}", 1, 81}};
    Message<const char*> strayAmongParents{-4083, warning, "unexpected punctuation %s",
        "in a list of parents: quote the names and separate them by commas",
        {"diagnostic network x nodes { standard A { } standard B { } } network { standard A (B) { "
        "} }", 1, 84}};
    Message<const char*> unknownParent{-4084, error, "unknown parent named '%s'", unknownNode.cure,
        {"diagnostic network x nodes { standard A { } standard B { } } network { standard A "
        "(\"C\") { } }", 1, 84}};
    Message<const char*> unknownRelation{-4085, warning, "unknown >-node type '%s'",
        "in `network`, neither `standard` nor `ci`: the parents are kept, the body is passed over. "
        "Write one of them",
        {"diagnostic network x nodes { standard A { } standard B { } } network { fuzzy A () { } "
        "}", 1, 72}};
    // Relations.
    Message<> standardUnopened{-4071, warning, "expected '{'", kbUnopened.cure,
        {"diagnostic network x nodes { standard A { } standard B { } } network { standard A () "
        "prob: { (;1,0; } } }", 1, 86}};
    Message<const char*> strayInRelation{-4072, warning, "unexpected punctuation %s",
        strayBetweenObjects.cure,
        {"diagnostic network x nodes { standard A { } standard B { } } network { standard A () { ; "
        "} }", 1, 88}};
    Message<const char*> probSeparator{-4073, warning, "expected ':', but got %s",
        "put `:` after `prob`",
        {"diagnostic network x nodes { standard A { } standard B { } } network { standard A () { "
        "prob = { (;1,0; } } }", 1, 93}};
    Message<const char*> probUnopened{-4074, warning, "expected '{', but got %s",
        nodesUnopened.cure,
        {"diagnostic network x nodes { standard A { } standard B { } } network { standard A () { "
        "prob: (;1,0; } } }", 1, 94}};
    Message<const char*> strayBeforeRow{-4075, warning, "unexpected punctuation %s",
        "a row or group does not look as described above; its numbers count all the same. Delete "
        "the character, if it is none of the file's own",
        {"diagnostic network x nodes { standard A { } standard B { } } network { standard A () { "
        "prob: { , (;1,0; } } }", 1, 96}};
    Message<const char*> strayInRow{-4076, warning, "unexpected punctuation %s",
        strayBeforeRow.cure,
        {"diagnostic network x nodes { standard A { } standard B { } } network { standard A () { "
        "prob: { (;1 0; } } }", 1, 100}};
    Message<int, int> wrongProbabilityCount{-4078, error, "expected to read %d conditional "
        "probabilities, but read %d", "the table has too few or too many numbers (with a comma as "
        "decimal sign twice as many: write points); the node keeps its parents and gets no table",
        {"diagnostic network x nodes { standard A { } standard B { } } network { standard A () { "
        "prob: { (;1; } } }", 1, 101}};
    Message<const char*> unknownRelationField{-4079, warning, "unknown >-node relation field '%s'",
        unknownKbField.cure,
        {"diagnostic network x nodes { standard A { } standard B { } } network { standard A () { "
        "weights { } } }", 1, 88}};
    Message<> noisyMaxUnopened{-4102, warning, "expected '{'", kbUnopened.cure,
        {"diagnostic network x nodes { standard A { } standard B { } } network { ci A () (x) "
        "(;1,0; end } }", 1, 80}};
    Message<const char*> strayBeforeGroup{-4103, warning, "unexpected punctuation %s",
        strayBeforeRow.cure,
        {"diagnostic network x nodes { standard A { } standard B { } } network { ci A () { (x) ; "
        "1; 1, 0; end } }", 1, 86}};
    Message<const char*> strayInGroup{-4104, warning, "unexpected punctuation %s",
        strayBeforeRow.cure,
        {"diagnostic network x nodes { standard A { } standard B { } } network { ci A () { (x) (;1 "
        "0; end } }", 1, 90}};
    Message<int, int> wrongParameterCount{-4105, error, "expected to read %d noisy-max "
        "probabilities, but read %d", "the groups have too few or too many numbers; the node keeps "
        "its parents and gets no table. Correct them: each group has a row for every state but the "
        "neutral one", {"diagnostic network x nodes { standard A { } standard B { } } network { ci "
        "A () { (x) (;1; end } }", 1, 91}};
    Message<> condense{-9034, question, "Condense Noisy-Max Tables?", "a question: whether "
        "noisy-max relations keep their parameters alone. `--condense yes|no` answers it"};
    // Lenient reading.
    Message<const char*, const char*> booleanWord{-5240, notice, "'%s' is read as %s",
        "nothing is lost. The format writes booleans `true` and `false`. Nothing needs to be done "
        "here; for other programs write these",
        {"diagnostic network x nodes { standard A { observable: yes; } }", 1, 55, leniently}};
    Message<> networkBeforeNodes{-5241, notice, "the network stands before the nodes that it "
        "names, and is read after them",
        "nothing is lost. Nothing needs to be done here; for other programs put `nodes` first",
        {"diagnostic network x network { standard A () { prob: { (;1,0; } } } nodes { standard A { "
        "} }", 1, 22, leniently}};
    // clang-format on
};

namespace msg {
inline constexpr DXPressMessages dxpress;
}

}  // namespace lumo
