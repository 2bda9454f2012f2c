#include "app/nodes.h"

#include <vector>

#include "app/columns.h"
#include "app/convert.h"
#include "app/terminal.h"
#include "formats/shared/describe.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

std::string StatesOf(const Bnode_bn& node) {
    const bool isContinuous = node.kind != UtilityNode && !node.variable.discrete;
    if (node.numStates() == 0) return isContinuous ? "continuous" : "-";
    std::string text;
    for (int state = 0; state < node.numStates(); ++state)
        text += (state == 0 ? "" : ", ") + Visible(StateLabel(node.variable, state));
    return text;
}

std::string ParentsOf(const Bnode_bn& node) {
    std::string text;
    for (const Bnode_bn* parent : node.parents)
        text += (text.empty() ? "" : ", ") + std::string(parent->name());
    return text.empty() ? "-" : text;
}

}  // namespace

std::string WriteNodes(const Bnet_bn& net) {
    std::vector<std::vector<std::string>> lines = {{"node", "kind", "states", "parents", ""}};
    for (const Bnode_bn* node : net.nodes) {
        lines.push_back({node->name(), KindName(node->kind), StatesOf(*node), ParentsOf(*node),
                         HasOwnTitle(*node) ? Visible(node->title) : ""});
        if (!lines.back()[4].empty()) lines.front()[4] = "title";
    }
    return WriteStandardOutput(Aligned(
        lines, IsTerminal(system::StandardOutput) ? TerminalColumns(system::StandardOutput) : 0));
}

}  // namespace lumo::app
