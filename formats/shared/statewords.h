// The states of nodes and the words that a file gives them.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "library/model/netmodel.h"
#include "library/text/parser.h"

namespace lumo {

/// Makes the words the names of the node's states, as is usual: few, legal and distinct. False, and
/// nothing changes, when they are others.
bool NameStates(Bnode_bn& node, const TextList& words);

/// SetStatesToLabels with labels that are only read: quicker where they become names, as is usual.
rept_kt* SetStatesToLabels(Bnode_bn& node, const std::vector<std::string>& labels,
                           bool createNames);

/// Looks up states by their titles, or names where they have no titles. Nodes with many states are
/// indexed once, so their states must not change between two calls.
class StateWords {
public:
    /// The first state of that word, -1 when there is none. `guess` is found quickest, if it is it.
    int find(const Bnode_bn& node, std::string_view word, int guess = -1);

    /// The next state that has the word of that one, -1 when there is none.
    int next(const Bnode_bn& node, int state);

private:
    struct Index {
        std::unordered_map<std::string_view, int> first;
        std::vector<int> next;  // by state
    };
    const Index& indexOf(const Bnode_bn& node);

    std::unordered_map<const Bnode_bn*, std::unique_ptr<Index>> indexes_;
};

}  // namespace lumo
