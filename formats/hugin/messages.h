// The Hugin reader's reports.
#pragma once

#include "formats/shared/messages.h"

namespace lumo {

struct HuginMessages {
    using enum MessageKind;
    using enum ReadingEN;
    // clang-format off
    Message<> notHugin{-4004, error, "this is not a Hugin file, or is in an unknown format (can "
        "read version 4.* (1995) to 6.* (2006) of Hugin .net files)",
        "the first word is neither `net` nor `class`. Choose another format with `--from`; if it "
        "is a Hugin file, its start was lost: put `net { }` in front", {"Enet { }", 1, 1}};
    Message<const char*> unknownObject{-3040, warning, "unknown object type '%s'",
        "objects other than nets, classes, nodes and potentials (instances, functions) have no "
        "counterpart; the object is passed over. If the word belongs to a field, the object above "
        "it has a brace too many. Delete that", {"net { } blob X { }", 1, 9}};
    Message<const char*> strayBetweenObjects{-3041, warning, "unexpected punctuation %s",
        "a stray character between objects is dropped, a `{` with all up to its `}`. Delete it",
        {"net { } node A { };", 1, 19}};
    Message<const char*> missingBrace{-3034, error, "missing '{' after '%s'",
        "the object's header is not followed by its body; the object is passed over. Write the `{`",
        {"net { } node A x { }", 1, 16}};
    Message<const char*> strayInObject{-3035, warning, "unexpected punctuation %s", "a stray "
        "character between the fields of an object is dropped. Delete it", {"net { : }", 1, 7}};
    Message<> missingEquals{-3036, error, "missing '=' after field name",
        "the field is passed over. Write `name = value;`. When the word starts the next object, "
        "the object before it has lost its `}`", {"net { } node A { label \"x\"; }", 1, 18}};
    Message<> unknownField{-3037, warning, "unknown or ignored field",
        "the field has no counterpart in the net and is passed over; shown once for each word, "
        "with counts at the end. Harmless, unless the word is misspelt. Correct it then",
        {"net { } node A { subtype = number; }", 1, 18}};
    Message<> missingSemicolon{-3038, warning, "missing semicolon at end",
        "write `;` at the end of the field. What stands between the value and the next `;` is "
        "passed over", {"net { } node A { label = x }", 1, 28}};
    Message<> objectNotClosed{-3039, notice, "missing '}' at end",
        "the file ends inside an object or class, or the next object starts there; what was read "
        "of it counts. Close it, or get the whole file", {"net { } node A { label = x;", 1, 28}};
    Message<> missingNodeList{-3029, error, "missing >-node list",
        "a potential is written `potential (child | parents) { data = ...; }`. Write the "
        "parentheses", {"net { } potential A { }", 1, 19}};
    Message<const char*> unknownChild{-3030, error, "unknown >-node '%s'",
        "the child or a parent of a potential is no node of this file, or its node could not be "
        "read; the potential is passed over. Correct the name, or the node's object; nodes stand "
        "before potentials", {"net { } potential (A) { }", 1, 20}};
    Message<const char*> unknownParent{-3032, error, "unknown >-node '%s'",
        unknownChild.cure, {"net { } node A { } potential (A | X) { }", 1, 35}};
    Message<const char*> strayAmongParents{-3031, error, "unexpected punctuation %s",
        "among the names in a potential's header; the potential is passed over. Names are "
        "separated by blanks. Delete the character",
        {"net { } node A { } node B { } potential (A | B, B) { }", 1, 47}};
    Message<const char*> strayBehindChild{-3033, error, "unexpected punctuation %s",
        strayAmongParents.cure, {"net { } node A { } node B { } potential (A B) { }", 1, 44}};
    Message<const char*> badNumber{-3028, error, "illegal number '%s'",
        "the field keeps its value. Correct the number", {"net { HR_Grid_X = \"1o\"; }", 1, 19}};
    Message<const char*> badBoolean{-3027, error, "unknown boolean value '%s'",
        "write `\"1\"` or `\"0\"`", {"net { HR_Grid_GridShow = \"yes\"; }", 1, 26}};
    Message<const char*> badInteger{-4128, error, "illegal integer '%s'",
        "the field (the node's group, for -4131) keeps its value. Correct the number",
        {"net { HR_Groups_UserGroupsNo = \"2x\"; }", 1, 32}};
    Message<const char*> badGroup{-4131, error, "illegal integer '%s'",
        badInteger.cure, {"net { } node A { HR_Grp = \"2x\"; }", 1, 27}};
    Message<const char*> badGroupColors{-4129, warning, "illegal integer '%s'",
        "`HR_Groups_GroupColors` holds two digits for each group; what is no digit counts as 0. "
        "Correct the digits", {"net { HR_Groups_GroupColors = \"1x05\"; }", 1, 31}};
    Message<const char*> badGroupColor{-2867, warning, "illegal integer '%s'",
        "the group's colour is no number; it stays white. Write a number from 0 to 63",
        {"net { HR_Group_1_Color = \"red\"; }", 1, 26}};
    Message<int> colorsBeyondPalette{-4130, warning, "color index must be between 0 and 63 "
        "inclusive, but its %d", "the palette has 64 colours; the group is white. Correct the "
        "index", {"net { HR_Groups_GroupColors = \"0564\"; }", 1, 31}};
    Message<int> colorBeyondPalette{-2868, warning, "color index must be between 0 and 63 "
        "inclusive, but its %d",
        colorsBeyondPalette.cure, {"net { HR_Group_1_Color = \"64\"; }", 1, 26}};
    Message<int, const char*> negativeGroup{-4141, error, "negative group index %d for >-node '%s'",
        "the node joins no group. Groups are counted from 0. Correct the index",
        {"net { } node A { HR_Group = \"-1\"; }", 1, 29}};
    Message<int, const char*, int> unknownGroup{-4142, error,
        "group index %d for >-node '%s' is too high (there are %d groups)",
        "the node joins no group. Correct its index, or describe the group in the net's fields",
        {"net { HR_Groups_GroupNames = \"g\"; } node A { HR_Grp = \"1\"; }", 1, 55}};
    Message<const char*> missingGroupIndex{-2866, warning, "missing HR_Group index integer in '%s'",
        "the field is to be `HR_Group_<index>_<attribute>`. Write the index",
        {"net { HR_Group__Name = \"g\"; }", 1, 24}};
    Message<const char*> unknownGroupAttribute{-2869, notice, "unknown HR_Group attribute '%s'",
        "attributes are `Name`, `Color` and `Description`. Write one of them",
        {"net { HR_Group_1_Shape = \"g\"; }", 1, 26}};
    Message<const char*> missingName{-5120, error, "missing name of %s",
        "the object is passed over. Write the node's name", {"net { } node { }", 1, 14}};
    Message<int, const char*> tablesWithoutNode{-5121, warning, "%d potential[|s] [is|are] passed "
        "over, for [its node is of a kind that is|their nodes are of kinds that are] not read: %s",
        "the tables of objects that were passed over go with them. Nothing needs to be done, "
        "unless a kind is misspelt", {"net { } function E { } potential (E) { }", 1, 35}};
    Message<int, const char*> tablesWithoutParent{-5122, warning, "%d node[ gets|s get] no table, "
        "for a parent is of a kind that is not read: %s",
        "the nodes keep the parents before that one. Write such a parent as `node` with states, if "
        "it is one", {"net { } function E { } node A { } potential (A | E) { }", 1, 50}};
    Message<> firstClassOnly{-5123, warning, "only the first class is read, so what follows it is "
        "ignored", "put each class into a file of its own, or name the one to read",
        {"class A { node N { } }\nclass B { }", 2, 1}};
    Message<int, const char*, const char*> objectsPassedOver{-5124, warning, "passed over (%d of "
        "type '%s'): %s", "they have no counterpart in a net; the potentials that name them go "
        "with them. Nothing needs to be done, unless the net needs them: then write them as nodes",
        {"net { } function E { }", 1, 9}};
    Message<> noNodeRead{-5125, error, "no node of this file could be read", "all its objects are "
        "of kinds that are not read, as in a class that is made of instances alone. Save a class "
        "that has nodes of its own, or the unrolled net", {"net { } function E { }", 1, 23}};
    Message<> missingValue{-5126, warning, "the field has no value", "write the value between `=` "
        "and `;`, if it is only an empty one, `\"\"`", {"net { } node A { label = ; }", 1, 26}};
    Message<> missingClassName{-5127, notice, "the class has no name",
        "write `class NAME { ... }`", {"class { node A { } }", 1, 7}};
    Message<> noStates{-5128, warning, "the list of states is empty",
        "the node has no states then, and its table is a list of real numbers. Write its states",
        {"net { } node A { states = (); }", 1, 28}};
    Message<> lateQuote{-5129, warning, "the value does not begin with its quote",
        "what stands before the quote is part of the value, and the quote with it. Delete it, or "
        "put a `\"` in front", {"net { HR_Desc = = \"x\"; }", 1, 17}};
    Message<int, int> groupCountTooHigh{-5096, error, "%d groups are declared, but at most %d are "
        "possible",
        msg::model.tooManyGroups.cure, {"net { HR_Groups_UserGroupsNo = \"10001\"; }", 1, 32}};
    Message<int, const char*, int> groupIndexTooHigh{-5096, error, "group index %.*s is too high: "
        "at most %d groups are possible",
        msg::model.tooManyGroups.cure, {"net { HR_Group_2147483647_Name = \"x\"; }", 1, 34}};
    Message<int> tooManyGroups{-5096, error, "more than %d groups", msg::model.tooManyGroups.cure};
    Message<int, int> groupNameCut{-5045, warning, "group name of %d characters is cut to %d",
        msg::text.textCut.cure};
    Message<> openQuote{-5043, error, "missing closing quote", msg::text.unterminatedString.cure,
        {"net { } node A { label = \"x;\n label = \"y\"; }", 1, 26}};
    Message<double> badZoom{-5098, warning, "a zoom of %g per cent counts as 100 per cent",
        msg::import.badScale.cure, {"net { HR_Zoom_ZoomFactor = \"0\"; }", 1, 28}};
    // ---- Reading leniently
    Message<int, const char*> continuousNodes{-5130, notice, "%d continuous node[ is|s are] read, "
        "[its distribution kept as a user field|their distributions kept as user fields]: %s",
        "read leniently, a `continuous node` is a node without states; the text of its `data`, "
        "such as `normal(0, 1)`, is its user field `data`. Nothing needs to be done"};
    Message<int, const char*> twoWordNodes{-5131, notice, "%d node[ is|s are] read although two "
        "words name [its|their] kind: %s", "read leniently, `discrete node` is `node`, and "
        "`discrete decision` is `decision`. Nothing needs to be done"};
    Message<int, const char*> temporalNodes{-5132, warning, "%d time-slice node[ is|s are] read "
        "with the states of the node[ that it repeats|s that they repeat]: %s",
        "read leniently, `temporal T : N` is a node of its own; that it is N one step before is "
        "not kept. To keep that, unroll the net in the program that wrote it"};
    Message<const char*, const char*> temporalWithoutNode{-5133, warning,
        "time-slice >-node '%s' repeats '%s', which is no node of the file",
        "the node keeps two states. Correct the name behind the `:`"};
    Message<int, const char*> experienceRead{-5134, notice, "the experience of %d node[|s] is "
        "read: %s", "read leniently, the field `experience` of a potential fills the node's "
        "experience table. Nothing needs to be done"};
    Message<const char*> experienceFromCounts{-5135, warning, "the experience of >-node '%s' is "
        "that of its counts, not that of its field", "the rows of `data` do not sum to 1, so they "
        "are counts, and their sums the experience. Scale the rows, or delete the field"};
    Message<const char*, const char*, const char*, double> doubtfulCounts{-5150, warning, "row %s%sof "
        ">-node '%s' sums to %g, and is read as counts",
        "a row is scaled to 1, and its former sum is its experience. This one looks like "
        "probabilities with a slip. Correct the numbers, unless they are counts",
        {"net { } node A { states = (\"x\" \"y\"); } potential (A) { data = (0.5 0.4); }", 1, 63,
        leniently}};
    Message<const char*, double> badExperience{-5136, error, "the experience of >-node '%s' cannot "
        "be %g", "experience is a number of cases, zero or more. Correct it"};
    Message<const char*> titleFromField{-5137, notice, "the net's field '%s' is read as its title",
        "read leniently, the first of the net's fields `name` and `label` that holds a text is its "
        "title, if it has no other. Nothing needs to be done"};
    Message<int, const char*> expressionsOnly{-5138, warning, "%d table[ is given by an expression "
        "only, kept as a user field|s are given by expressions only, kept as user fields]: %s",
        "the nodes get no table; the expression, `model_data`, is a user field. Have the program "
        "that wrote the file write the table"};
    Message<int, const char*> expressionsKept{-5139, notice, "%d table[ has an expression behind "
        "it, which is|s have expressions behind them, which are] kept: %s",
        "read leniently, `model_data` and `model_nodes` of a potential are user fields of its "
        "node. Nothing needs to be done"};
    Message<const char*, const char*> classChosen{-5140, warning, "class '%s' is read; the other "
        "classes of the file are %s", "of several classes the one is read that no other holds an "
        "instance of, or the one that `--class` names. Name another one, if that is wanted"};
    Message<const char*, const char*> unknownClass{-5141, error, "there is no class '%s' in this "
        "file, which has %s", "name one of them"};
    Message<int, const char*> settingsPassedOver{-5149, notice, "%d kind[|s] of display and "
        "compile settings [is|are] not kept: %s",
        "read leniently, fields `HR_...` without a counterpart are told once. Nothing needs to be "
        "done", {"net { HR_Monitor_X = \"1\"; HR_HTML_Desc = \"\"; } node A { }", 1, 7, leniently}};
    Message<int, const char*> valuesRead{-5152, notice, "the states of %d node[|s] have values or "
        "are intervals: %s", "read leniently, `state_values` of a node whose `subtype` is `number` "
        "or `interval` are the values of its states or the bounds of its intervals, and no user "
        "field. Nothing needs to be done", {"net { }\nnode A { subtype = number; states = (\"0\" "
        "\"5\"); state_values = (0 5); }", 2, 48, leniently}};
    Message<const char*, int, const char*> stateValueCount{-5151, warning, "the state values of "
        ">-node '%s' are not read: %d %s are wanted", "a node of the subtype `number` has "
        "a value for each state, one of the subtype `interval` a bound more, of which the outermost "
        "may be `infinity`; the text is a user field. Correct the list", {"net { }\nnode A { subtype "
        "= interval; state_values = (0 5); }", 2, 30, leniently}};
    Message<int, const char*> instancesRead{-5142, notice, "%d instance[ is|s are] read as nodes "
        "of the net: %s", "read leniently, an instance `S1` of a class puts the nodes of the class "
        "into the net, with titles such as `S1.X`; the nodes that its header names stand for its "
        "inputs. Nothing needs to be done",
        {"class A { node N { } }\nclass B { instance I : A () { } }", 2, 11, leniently}};
    Message<int, const char*> instancesBeside{-5143, notice, "%d instance[|s] [is|are] read from "
        "files beside this one: %s", "a class that is not in the file is looked for beside it, as "
        "`NAME.oobn` and `NAME.net`. Nothing needs to be done"};
    Message<int, const char*> instancesWithoutClass{-5144, warning, "%d instance[ is|s are] passed "
        "over, for [its class is|their classes are] neither in this file nor beside it: %s",
        "the nodes that are linked to nodes of the instance get no tables. Put the class into a "
        "file `NAME.oobn` or `NAME.net` in the same folder",
        {"class B { instance I : A () { } }", 1, 11, leniently}};
    Message<int, const char*> instancesWithoutNode{-5145, warning, "%d node[|s] that headers of "
        "instances name [is|are] missing: %s", "an input whose node is missing keeps the node and "
        "the table of its class. Correct the header",
        {"class A { node N { } }\nclass B { instance I : A (N = M) { } }", 2, 11, leniently}};
    Message<const char*, const char*> classInItself{-5146, error, "class '%s' holds itself, as "
        "instance '%s', which is passed over", "a net would have no end then. Name another class",
        {"class A { instance I : A () { } }", 1, 11, leniently}};
    Message<int> tooManyInstances{-5147, error,
        "there are more instances than can be read: %d, 30 within each other, 64 MiB of classes",
        "the others are passed over. To read the classes by themselves, name them"};
    Message<const char*> instanceBinding{-5148, error,
        "'%s' in the header of an instance is followed by no '='",
        "write `INPUT = NODE` for each input of the class, then a `;` and `NAME = OUTPUT`",
        {"class A { node N { } }\nclass B { instance I : A (N) { } }", 2, 27, leniently}};
    Message<const char*> tableTurned{-5050, warning, "the data list is nested by %s, and read in "
        "that order", msg::import.tableShape.cure};
    // clang-format on
};

namespace msg {
inline constexpr HuginMessages hugin;
}

}  // namespace lumo
