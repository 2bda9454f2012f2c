// The JSON reader's reports.
#pragma once

#include "formats/shared/messages.h"

namespace lumo {

struct JsonMessages {
    using enum MessageKind;
    // clang-format off
    Message<const char*, const char*> syntax{-5500, error, "expecting %s, but encountered %s",
        "the text is no JSON from there on: it may be cut off or changed by hand. What stands "
        "before is kept. Correct the place, or write the file again",
        {"{\"schema\":\"lumo-import/1\",,", 1, 27}};
    Message<> openText{-5501, error, "the text is not closed on its line",
        "a quote is missing, or one within the text has no backslash. What stands before is kept. "
        "Correct the place", {"{\"schema\":\"lumo-import/1\n", 1, 11}};
    Message<const char*, const char*> otherSchema{-5502, error, "this is JSON of the schema "
        "'%s'%s, not of lumo-import/1", "it is a summary, a list or a difference of nets, or is "
        "from a later version of this program, which reads it. Use the file that it was made from",
        {"{\"schema\":\"lumo-import/2\"}", 1, 11}};
    Message<> noSchema{-5503, warning, "the schema is missing",
        "the document is read as one of lumo-import/1. Put \"schema\":\"lumo-import/1\" at its "
        "start", {"{\"net\":{\"nodes\":[{\"name\":\"a\"}]}}", 1, 1}};
    Message<> noNet{-5504, error, "there is no net in the document",
        "nothing could be read of the file that it was made from; its reports, which stand in it, "
        "say why. Read that file again", {"{\"schema\":\"lumo-import/1\",\"net\":null}", 1, 1}};
    Message<const char*, const char*> wrongValue{-5505, error, "the value of '%s' should be %s",
        "the value is passed over. Write it as docs/json.md says",
        {"{\"schema\":\"lumo-import/1\",\"net\":{\"title\":5}}", 1, 42}};
    Message<const char*> unknownKey{-5506, warning, "unknown key '%s'",
        "it is passed over with its value: it is misspelt, or from a later version of this "
        "program. Correct or delete it",
        {"{\"schema\":\"lumo-import/1\",\"net\":{\"tittle\":\"x\"}}", 1, 34}};
    Message<const char*, const char*> unknownParent{-5507, error, ">-node '%s' has the parent "
        "'%s', which is no node", "the link is left out, and with it the table. Correct the name, "
        "or add the node", {"{\"schema\":\"lumo-import/1\",\"net\":{\"nodes\":[{\"name\":\"a\","
        "\"parents\":[\"b\"]}]}}", 1, 65}};
    Message<const char*, const char*, long long, long long> wrongCount{-5508, error,
        "the %s of >-node '%s' should be %lld number[|s], but %lld [is|are] there",
        "the product of the states of the node and of its parents, or of the parents alone, says "
        "how many; the numbers are left out. Correct the list",
        {"{\"schema\":\"lumo-import/1\",\"net\":{\"nodes\":[{\"name\":\"a\",\"states\":[{\"name\":"
        "\"x\"}],\"relation\":{\"kind\":\"table\",\"table\":[1,0]}}]}}", 1, 114}};
    Message<> trailing{-5509, warning, "what follows the document is not read",
        "a file holds one document. Delete the rest, or make it a file of its own",
        {"{\"schema\":\"lumo-import/1\",\"net\":{}} x", 1, 37}};
    Message<> illegalStates{-5510, warning, "the names of states are no legal names, and become "
        "titles", "a name is a letter and then letters, digits and underscores. Write other texts "
        "as titles", {"{\"schema\":\"lumo-import/1\",\"net\":{\"nodes\":[{\"name\":\"a\",\"states\":"
        "[{\"name\":\"1-2\"}]}]}}", 1, 43}};
    // clang-format on
};

namespace msg {
inline constexpr JsonMessages json;
}

}  // namespace lumo
