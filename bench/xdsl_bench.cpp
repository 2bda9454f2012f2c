// How fast XDSL files are read, beside a bare pass over their numbers: of_bare is to be at least
// 0.7 on number-heavy files and 0.2 on node-heavy ones.
#include "bench/networks.h"

namespace {

using lumo::bench::BenchNode;

std::string Xdsl(const std::vector<BenchNode>& nodes) {
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<smile version=\"1.0\" "
        "id=\"bench\">\n\t<nodes>\n";
    for (const BenchNode& node : nodes) {
        out += lumo::Format("\t\t<cpt id=\"n%d\">\n", node.number);
        for (int s = 0; s < node.states; ++s)
            out += lumo::Format("\t\t\t<state id=\"s%d\" />\n", s);
        if (!node.parents.empty()) {
            out += "\t\t\t<parents>";
            for (const int parent : node.parents) out += lumo::Format("n%d ", parent);
            out += "</parents>\n";
        }
        out += "\t\t\t<probabilities>";
        for (const std::string& row : node.rows) out += row + ' ';
        out += "</probabilities>\n\t\t</cpt>\n";
    }
    out += "\t</nodes>\n\t<extensions>\n\t\t<genie version=\"1.0\" name=\"bench\">\n";
    for (const BenchNode& node : nodes) {
        const int x = node.number % 300 * 90, y = node.number / 300 * 50;
        out += lumo::Format(
            "\t\t\t<node id=\"n%d\">\n\t\t\t\t<name>Node %d</name>\n\t\t\t\t<interior "
            "color=\"e5f6f7\" />\n\t\t\t\t<position>%d %d %d %d</position>\n\t\t\t</node>\n",
            node.number, node.number, x, y, x + 76, y + 36);
    }
    return out + "\t\t</genie>\n\t</extensions>\n</smile>\n";
}

}  // namespace

int main(int argc, char** argv) { return lumo::bench::Run(argc, argv, Xdsl, lumo::FormatXDSL); }
