#include "formats/shared/statewords.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace lumo {

bool NameStates(Bnode_bn& node, const TextList& words) {
    std::string_view names[Bnode_bn::FewStates];
    if (words.size() > std::size(names)) return false;
    for (std::size_t i = 0; i < words.size(); ++i) names[i] = words[i];
    return node.setFewStates({names, words.size()});
}

rept_kt* SetStatesToLabels(Bnode_bn& node, const std::vector<std::string>& labels,
                           bool createNames) {
    std::string_view names[Bnode_bn::FewStates];
    if (labels.size() <= std::size(names)) {
        std::ranges::copy(labels, names);
        if (node.setFewStates({names, labels.size()})) return Okay_rept_kt;
    }
    OwnedStrs copies(new char*[labels.size()](), static_cast<int>(labels.size()));
    std::ranges::transform(labels, copies.get(),
                           [](const std::string& label) { return DupStr_kt(label); });
    return SetStatesToLabels(node, copies.release(), copies.count(), createNames);
}

namespace {

constexpr int few = 8;  // states that are compared one by one

std::string_view WordOf(const Varbl_bn& variable, int state) {
    const char* const* const words =
        variable.stateTitles != nullptr ? variable.stateTitles : variable.stateNames;
    return words == nullptr || words[state] == nullptr ? std::string_view() : words[state];
}

/// Whether the text, which may be null, is the word.
bool IsWord(const char* text, std::string_view word) {
    if (text == nullptr) return false;
    for (const char c : word) {
        if (*text++ != c) return false;
    }
    return *text == 0;
}

/// Whether the state is known by its name, which no other has.
bool IsNamed(const Varbl_bn& variable, int state) {
    return variable.stateTitles == nullptr && variable.stateNames != nullptr && state >= 0 &&
           state < variable.numStates && variable.stateNames[state] != nullptr;
}

int FindFrom(const Bnode_bn& node, std::string_view word, int state) {
    const Varbl_bn& variable = node.variable;
    const char* const* const words =
        variable.stateTitles != nullptr ? variable.stateTitles : variable.stateNames;
    for (; words != nullptr && state < variable.numStates; ++state)
        if (IsWord(words[state], word)) return state;
    return -1;
}

}  // namespace

int StateWords::find(const Bnode_bn& node, std::string_view word, int guess) {
    const Varbl_bn& variable = node.variable;
    if (IsNamed(variable, guess) && IsWord(variable.stateNames[guess], word)) return guess;
    if (node.numStates() <= few) return FindFrom(node, word, 0);
    const Index& index = indexOf(node);
    const auto found = index.first.find(word);
    return found == index.first.end() ? -1 : found->second;
}

int StateWords::next(const Bnode_bn& node, int state) {
    if (IsNamed(node.variable, state)) return -1;
    if (node.numStates() <= few) return FindFrom(node, WordOf(node.variable, state), state + 1);
    return indexOf(node).next[static_cast<std::size_t>(state)];
}

const StateWords::Index& StateWords::indexOf(const Bnode_bn& node) {
    std::unique_ptr<Index>& index = indexes_[&node];
    if (index != nullptr) return *index;
    index = std::make_unique<Index>();
    index->next.resize(static_cast<std::size_t>(node.numStates()));
    for (int state = node.numStates() - 1; state >= 0; --state) {
        int& first = index->first.try_emplace(WordOf(node.variable, state), -1).first->second;
        index->next[static_cast<std::size_t>(state)] = std::exchange(first, state);
    }
    return *index;
}

}  // namespace lumo
