#include "formats/shared/judging.h"

#include <string>
#include <string_view>
#include <unordered_set>

#include "formats/shared/messages.h"
#include "library/model/netmodel.h"

namespace lumo {
namespace {

/// Names of nodes, of which the first are told, at the place of the first.
class NodeList {
public:
    void add(const Bnode_bn& node) {
        constexpr int mostNames = 5;
        if (count_++ == 0) first_ = &node;
        if (count_ <= mostNames) names_ += (names_.empty() ? "" : ", ") + std::string(node.name());
        if (count_ == mostNames + 1) names_ += " ...";
    }

    void report(Parser_CString_kt& in, const Message<int, const char*>& message) const {
        if (count_ == 0) return;
        const auto at = static_cast<std::size_t>(first_->place());
        const ParserPos_kt place = at < in.nodePlaces.size() ? in.nodePlaces[at] : nullptr;
        in.setTokenStart(place != nullptr ? place : in.getPos());
        in.report(message, count_, names_.c_str());
    }

private:
    int count_ = 0;
    const Bnode_bn* first_ = nullptr;
    std::string names_;
};

/// Whether two states have the same title. Names are distinct.
bool HasRepeatedState(const Varbl_bn& variable) {
    if (variable.stateTitles == nullptr) return false;
    std::unordered_set<std::string_view> seen;
    for (int i = 0; i < variable.numStates; ++i) {
        const char* const title = variable.stateTitles[i];
        if (title != nullptr && *title != '\0' && !seen.insert(title).second) return true;
    }
    return false;
}

bool MayHaveTable(const Bnode_bn& node) { return node.kind == NatureNode && node.numStates() > 0; }

}  // namespace

void RememberPlace(Parser_CString_kt& in, const Bnode_bn& node) {
    in.nodePlaces.resize(static_cast<std::size_t>(node.place()));
    in.nodePlaces.push_back(in.tokenStart());
}

void JudgeNodes(Parser_CString_kt& in, const Bnet_bn& net, bool (*isTold)(const Bnode_bn&)) {
    NodeList repeated, bare;
    bool anyTable = false;
    for (const Bnode_bn* node : net.nodes) {
        if (HasRepeatedState(node->variable)) repeated.add(*node);
        if (!MayHaveTable(*node)) continue;
        if (node->relation.kind != RelnKindEN::none)
            anyTable = true;
        else if (isTold == nullptr || !isTold(*node))
            bare.add(*node);
    }
    repeated.report(in, msg::import.repeatedStates);
    if (anyTable) bare.report(in, msg::import.nodesWithoutTable);
}

}  // namespace lumo
