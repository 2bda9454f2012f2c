// How fast BIF files are read, beside a bare pass over their numbers: of_bare is to be at least 0.7
// on number-heavy files and 0.2 on node-heavy ones.
#include "bench/networks.h"

namespace {

using lumo::bench::BenchNode;

std::string Bif(const std::vector<BenchNode>& nodes) {
    std::string out = "network bench {\n}\n";
    for (const BenchNode& node : nodes) {
        out += lumo::Format("variable n%d {\n  type discrete [ %d ] {", node.number, node.states);
        for (int s = 0; s < node.states; ++s) out += lumo::Format("%s s%d", s > 0 ? "," : "", s);
        out += lumo::Format(" };\n  property position = (%d, %d);\n}\n", node.number % 300 * 90,
                            node.number / 300 * 50);
    }
    for (const BenchNode& node : nodes) {
        out += lumo::Format("probability ( n%d", node.number);
        const char* separator = " | ";
        for (const int parent : node.parents) {
            out += lumo::Format("%sn%d", separator, parent);
            separator = ", ";
        }
        out += " ) {\n";
        std::vector<int> states(node.parents.size());
        for (const std::string& row : node.rows) {
            out += node.parents.empty() ? "  table " : "  (";
            for (std::size_t i = 0; i < states.size(); ++i)
                out += lumo::Format("%ss%d", i > 0 ? ", " : "", states[i]);
            if (!states.empty()) out += ") ";
            for (const char c : row) out += c == ' ' ? std::string(", ") : std::string(1, c);
            out += ";\n";
            for (std::size_t i = states.size(); i-- > 0;) {
                if (++states[i] < nodes[static_cast<std::size_t>(node.parents[i])].states) break;
                states[i] = 0;
            }
        }
        out += "}\n";
    }
    return out;
}

}  // namespace

int main(int argc, char** argv) { return lumo::bench::Run(argc, argv, Bif, lumo::FormatBIF); }
