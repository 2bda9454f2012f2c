// The UAI reader's reports.
#pragma once

#include "formats/shared/messages.h"

namespace lumo {

struct UaiMessages {
    using enum MessageKind;
    // clang-format off
    Message<const char*, const char*> notBayes{-5400, error, "this is no Bayes net, but a %s file: "
        "%s", "files that begin with BAYES can be read. A Markov random field has factors without "
        "parents and children, which no net can hold. Convert it to a Bayes net with the program "
        "that it is from", {"MARKOV 1 2 1 1 0 2 0.5 0.5", 1, 1}};
    Message<const char*> notUai{-5401, error, "this is no UAI file: it begins with '%s', not with "
        "BAYES", "choose another format with `--from`", {"net {}", 1, 1}};
    Message<> noPreamble{-5402, warning, "the word BAYES is missing at the start",
        "the file is read as if it stood there. Put it in front", {"1 2 1 1 0 2 0.5 0.5", 1, 1}};
    Message<int, const char*> impossibleCount{-5403, error, "%d %s cannot be, in what is left of "
        "the file",
        "a count is negative, or larger than what the rest of the file can hold: a number before "
        "it is missing or too many. Correct the numbers before that place", {"BAYES 9", 1, 7}};
    Message<int, int> functionCount{-5404, warning, "%d function[|s] for %d variable[|s]",
        "a Bayes net has one function for each variable; those that are there are read. Correct "
        "the count", {"BAYES 1 2 0", 1, 11}};
    Message<int, int> unknownVariable{-5405, error, "function %d names variable %d, which does not "
        "exist", "variables are counted from 0; the function is passed over. A number before it "
        "may be missing or too many. Correct it", {"BAYES 1 2 1 1 1 2 0.5 0.5", 1, 15}};
    Message<int> emptyScope{-5406, error, "function %d has no variables",
        "a scope is a count, the parents, and the child; the function is passed over. Write the "
        "scope, or delete it and correct the number of functions", {"BAYES 1 2 1 0 1 1", 1, 13}};
    Message<const char*> noStates{-5412, warning, "variable '%s' has no states",
        "a variable has at least one, most have two or more; no table can be of it. Correct the "
        "number", {"BAYES 1 0 1 1 0 0", 1, 9}};
    Message<int, const char*> secondFunction{-5407, error, "function %d is one more for >-node "
        "'%s', which is the last of its scope", "the last variable of a scope is the child, and a "
        "variable is the child of one function; the first counts. Put each child at the end of its "
        "scope", {"BAYES 1 2 2 1 0 1 0 2 0.5 0.5 2 0.5 0.5", 1, 19}};
    Message<> childFirst{-5408, error, "the first variables of the scopes are all distinct, the "
        "last are not: this file seems to put the child first",
        "in a UAI file the child comes last, and its state is the fastest index of the table. "
        "Correct the scopes", {"BAYES 2 2 2 2 2 0 1 1 1 4 1 0 1 0 2 1 0", 1, 23}};
    Message<const char*, long long, int> wrongCount{-5409, error, "the table of >-node '%s' should "
        "have %lld entr[y|ies], but has %d", "the count must be the product of the states of all "
        "variables of the scope; the node keeps its parents and gets no table. Correct it, or the "
        "numbers of states", {"BAYES 1 2 1 1 0 3 0 0 1", 1, 17}};
    Message<> trailing{-5410, notice, "what follows the last table is not read",
        "older files put evidence there, which a net does not have. Nothing needs to be done",
        {"BAYES 1 2 1 1 0 2 0.5 0.5 1 0 1", 1, 27}};
    Message<int, int, const char*> noFunction{-5411, warning, "%d of the %d variable[|s] "
        "[1?is|are] the last of no scope and [1?has|have] no table, the first is '%s'",
        "their nodes have neither parents nor a table. Give each a function of its own, which ends "
        "with it", {"BAYES 1 2 0", 1, 12}};
    // clang-format on
};

namespace msg {
inline constexpr UaiMessages uai;
}

}  // namespace lumo
