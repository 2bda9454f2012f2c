// The XML BIF reader's reports.
#pragma once

#include "formats/shared/messages.h"

namespace lumo {

struct XMLBIFMessages {
    using enum MessageKind;
    using enum ReadingEN;
    // clang-format off
    // Elements in wrong places, in strict reading.
    Message<const char*> rootWithoutOpen{-3489, waitingError, "close element </%s> seen without "
        "open", "an end tag stands where `DEFINITION`, `VARIABLE`, `NETWORK` or the root should "
        "start: remove it, or add its start tag", {"</BIF>", 1, 1}};
    Message<const char*> networkWithoutOpen{-3485, waitingError, rootWithoutOpen.text,
        rootWithoutOpen.cure, {"<BIF VERSION='0.3'></NETWORK>", 1, 20}};
    Message<const char*> variableWithoutOpen{-3479, waitingError, rootWithoutOpen.text,
        rootWithoutOpen.cure};
    Message<const char*> definitionWithoutOpen{-3470, waitingError, rootWithoutOpen.text,
        rootWithoutOpen.cure};
    Message<const char*, const char*> notVariable{-3480, waitingError, "expecting %s element, but "
        "encountered %s'", "another element stands where a `DEFINITION` or `VARIABLE` should "
        "start. Move or delete that"};
    Message<const char*, const char*> notDefinition{-3471, waitingError, notVariable.text,
        notVariable.cure};
    Message<const char*, const char*> networkOpen{-3487, waitingError, "must close element '%s' "
        "before closing </%s>", "write the end tag of the `DEFINITION`, `VARIABLE` or `NETWORK` "
        "before that of what encloses it", {"<BIF VERSION='0.3'><NETWORK></BIF>", 1, 29}};
    Message<const char*, const char*> variableOpen{-3483, waitingError, networkOpen.text,
        networkOpen.cure, {"<BIF VERSION='0.3'><NETWORK><VARIABLE></NETWORK>", 1, 39}};
    Message<const char*, const char*> definitionOpen{-3472, waitingError, networkOpen.text,
        networkOpen.cure, {"<BIF VERSION='0.3'><NETWORK><DEFINITION></FOR>", 1, 41}};
    Message<const char*, const char*, const char*> notNetwork{-3486, waitingError, "expecting %s "
        "element with no attributes but encountered '%s %s'",
        "the first element in `BIF` is `NETWORK`, without attributes. Delete them, or put "
        "`<NETWORK>` in front", {"<BIF VERSION='0.3'><NETWORK id='x'>", 1, 20}};
    Message<const char*> wrongRootEnd{-3492, waitingError, "expecting close tag for 'BIF', but "
        "instead there is close of '%s'",
        "end the file with `</BIF>`", {"<BIF VERSION='0.3'><NETWORK></NETWORK></X>", 1, 39}};
    // The document.
    Message<const char*, const char*, const char*> wrongRoot{-3490, waitingError, "can only read "
        "BIF VERSION 0.3 XML files, not %s %s %s",
        "the file is of another generation or another vocabulary: save it as XML BIF 0.3; if it is "
        "one, put `VERSION` first, or read it leniently", {"<BIF VERSION='0.2'>", 1, 1}};
    Message<int> noTag{-3493, waitingError, "expecting '<', but instead there is '%c'",
        "there is text before the root element: remove it", {"net", 1, 1}};
    Message<int> badPunctuation{-3494, waitingError, "unexpected punctuation '%c'",
        "the root's tag is damaged. Write `<BIF VERSION=\"0.3\">`", {"<=", 1, 2}};
    Message<> noNetwork{-5267, error, "the text ends before a network begins, so nothing could be "
        "read", "the file is empty, cut off, or filled with zero bytes. Get it again",
        {"<?xml version='1.0'?>", 1, 22}};
    Message<> moreNetworks{-3491, warning, "can only read a single Bayes net from the file, so "
        "ignoring everything after", "put each network into a file of its own",
        {"<BIF VERSION='0.3'><NETWORK></NETWORK><NETWORK/></BIF>", 1, 39}};
    // What is passed over.
    Message<const char*> unknownInNetwork{-3488, warning, "unknown element type %s",
        "in `DEFINITION`, `VARIABLE` or `NETWORK`: the element is passed over; check its spelling "
        "(`OUTCOMES` for `OUTCOME`)", {"<BIF VERSION='0.3'><NETWORK><X/></NETWORK></BIF>", 1, 29}};
    Message<const char*> unknownInVariable{-3484, warning, unknownInNetwork.text,
        unknownInNetwork.cure,
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE><X/></VARIABLE></NETWORK></BIF>", 1, 39}};
    Message<const char*> unknownInDefinition{-3476, warning, unknownInNetwork.text,
        unknownInNetwork.cure, {"<BIF VERSION='0.3'><NETWORK><DEFINITION><X/>", 1, 41}};
    Message<const char*, int, const char*> unknownVariableAttribute{-3482, warning, "unknown %s "
        "attribute %.*s", "nothing is lost but the attribute; give `VARIABLE` its `TYPE` as first "
        "attribute", {"<BIF VERSION='0.3'><NETWORK><VARIABLE X='1'>", 1, 29}};
    Message<const char*, int, const char*> unknownDefinitionAttribute{-3473, warning,
        unknownVariableAttribute.text,
        unknownVariableAttribute.cure, {"<BIF VERSION='0.3'><NETWORK><DEFINITION X='1'>", 1, 29}};
    // Variables.
    Message<const char*, int, const char*> unknownType{-3481, warning, "unknown %s TYPE %.*s",
        "the node stays a nature node; write `nature`, `decision` or `utility`",
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE TYPE='sensor'>", 1, 29}};
    Message<const char*, const char*, double> intervalsApart{-5265, warning, "outcomes '%s' and "
        "'%s' do not meet; %g is taken for the bound between them", "the outcomes of the variable "
        "are read as intervals, which follow each other without gap or overlap, from low to high. "
        "Correct their bounds", {"<BIF VERSION='0.3'><NETWORK><VARIABLE><OUTCOME>[0,5)</OUTCOME>"
        "<OUTCOME>[10,20]</OUTCOME></VARIABLE>", 1, 29}};
    Message<const char*, double, double> intervalFalls{-5265, warning, "the bounds of outcome '%s' "
        "do not increase: %g, %g", intervalsApart.cure,
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE><OUTCOME>(10--20)</OUTCOME></VARIABLE>", 1, 29}};
    Message<const char*, const char*> notAllIntervals{-5279, notice, "outcome '%s' is no interval "
        "as '%s' is, so all are taken for labels",
        "fine for open ends (`(-inf-5]`); otherwise correct the outcome",
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE><OUTCOME>[0,5)</OUTCOME><OUTCOME>5</OUTCOME>"
        "</VARIABLE>", 1, 29}};
    Message<int, const char*> emptyOutcome{-5278, warning, "outcome %d of node '%s' has no text",
        "write the name of the state",
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE><OUTCOME/></VARIABLE>", 1, 29}};
    // Definitions.
    Message<const char*> unknownFor{-3474, waitingError, "unknown variable '%s' in FOR element",
        "write the name as in the variable's `NAME`, and put the `VARIABLE` above the definition",
        {"<BIF VERSION='0.3'><NETWORK><DEFINITION><FOR>a</FOR>", 1, 46}};
    Message<const char*> unknownGiven{-3475, waitingError, "unknown variable '%s' in GIVEN element",
        unknownFor.cure, {"<BIF VERSION='0.3'><NETWORK><DEFINITION><GIVEN>a</GIVEN>", 1, 48}};
    Message<const char*> noFor{-3477, waitingError, "missing 'FOR' element in %s",
        "say which variable the definition is for",
        {"<BIF VERSION='0.3'><NETWORK><DEFINITION></DEFINITION>", 1, 29}};
    Message<int, int, const char*> wrongCount{-3478, warning, "%d numbers read in 'TABLE', but %d "
        "required (since parents are: %s)", "write as many numbers as the product of the states of "
        "the node and its parents, or correct the `GIVEN` list",
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE><NAME>a</NAME></VARIABLE><DEFINITION><FOR>a</FOR>"
        "<TABLE>1</TABLE></DEFINITION>", 1, 88}};
    Message<const char*> definedAgain{-5266, warning, "node '%s' has another definition; this one "
        "replaces it", "two definitions are `FOR` the same variable. Delete the wrong one",
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE><NAME>a</NAME><OUTCOME>x</OUTCOME></VARIABLE>"
        "<DEFINITION><FOR>a</FOR><TABLE>1</TABLE></DEFINITION><DEFINITION><FOR>a</FOR><TABLE>"
        "1</TABLE></DEFINITION>", 1, 161}};
    // What lenient reading takes.
    Message<const char*> otherVersion{-5268, notice, "VERSION is %s; the file is read by the names "
        "of its elements", "XML BIF 0.2 (`VALUE`, `PROBABILITY`, tables with the node's state "
        "slowest) and 0.3 are told apart by their elements. Nothing needs to be done, unless a "
        "table is wrong: then correct the version and the names",
        {"<BIF><NETWORK><VARIABLE/></NETWORK></BIF>", 1, 1, leniently}};
    Message<const char*, const char*> otherElement{-5269, notice, "element %s is read as %s",
        "an older generation's or misspelt name of the element. Nothing needs to be done here; for "
        "other programs write that name",
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE><VALUE>x</VALUE></VARIABLE>", 1, 39, leniently}};
    Message<> networkAlone{-5283, notice, "the root element is NETWORK, without a BIF around it",
        "read leniently, it is read as a network of XML BIF. Nothing needs to be done here; for "
        "other programs, write `<BIF VERSION=\"0.3\">` around it",
        {"<NETWORK><VARIABLE/></NETWORK>", 1, 1, leniently}};
    Message<> oldTables{-5270, notice, "the table of a PROBABILITY element has the state of the "
        "node varying slowest", "XML BIF 0.2 writes tables so, 0.3 with the state of the node "
        "fastest. Nothing needs to be done; `convert` writes the new order",
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE><NAME>a</NAME></VARIABLE><PROBABILITY><FOR>a</FOR>"
        "<TABLE>1 0</TABLE></PROBABILITY>", 1, 89, leniently}};
    Message<const char*> nameAttribute{-5271, notice, "the NAME of the %s is taken from its "
        "attribute", "the format has an element `NAME` for it. Nothing needs to be done here; for "
        "other programs write the element",
        {"<BIF VERSION='0.3'><NETWORK NAME='x'/></BIF>", 1, 20, leniently}};
    Message<const char*> declaredLater{-5272, notice, "the definition of node '%s' names variables "
        "that are declared below it",
        "other programs want the `VARIABLE` first. Move the definition down",
        {"<BIF VERSION='0.3'><NETWORK><DEFINITION><FOR>a</FOR></DEFINITION><VARIABLE><NAME>a</NAME>"
        "</VARIABLE></NETWORK></BIF>", 1, 29, leniently}};
    Message<const char*> selfParent{-5273, warning, "node '%s' is left out of its own parents",
        "the definition names its variable in a `GIVEN` too. Delete that",
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE><NAME>a</NAME></VARIABLE><DEFINITION><FOR>a</FOR>"
        "<GIVEN>a</GIVEN></DEFINITION>", 1, 64, leniently}};
    Message<> namelessProperty{-5280, warning, "a PROPERTY of a VARIABLE has no name",
        "write `position = (x, y)`",
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE><PROPERTY>= (1, "
        "2)</PROPERTY></VARIABLE>", 1, 49, leniently}};
    Message<> propertiesKept{-5282, notice, "the properties of variables are kept as user fields",
        "read leniently, a PROPERTY `name = value` of a VARIABLE other than `position` is a user "
        "field of its node. Nothing needs to be done",
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE><PROPERTY>x = 1</PROPERTY>", 1, 49, leniently}};
    Message<const char*, const char*> otherCase{-5275, notice, "TYPE '%s' is read as '%s'",
        "write the type in small letters",
        {"<BIF VERSION='0.3'><NETWORK><VARIABLE TYPE='Utility'/>", 1, 29, leniently}};
    Message<const char*> networkAttribute{-5276, warning, "attribute %s of NETWORK is passed over",
        "nothing is lost but the attribute; `NETWORK` has none. Delete it",
        {"<BIF VERSION='0.3'><NETWORK ID='x'/></BIF>", 1, 20, leniently}};
    // clang-format on
};

namespace msg {
inline constexpr XMLBIFMessages xmlbif;
}

}  // namespace lumo
