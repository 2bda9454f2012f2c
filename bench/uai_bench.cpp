// How fast UAI files are read, beside a bare pass over their numbers: of_bare is to be at least 0.7
// on number-heavy files and 0.2 on node-heavy ones.
#include "bench/networks.h"

namespace {

using lumo::bench::BenchNode;

std::string Uai(const std::vector<BenchNode>& nodes) {
    const std::string count = std::to_string(nodes.size());
    std::string out = "BAYES\n" + count + '\n';
    for (const BenchNode& node : nodes) out += std::to_string(node.states) + ' ';
    out += '\n' + count + '\n';
    for (const BenchNode& node : nodes) {
        out += std::to_string(node.parents.size() + 1);
        for (const int parent : node.parents) out += ' ' + std::to_string(parent);
        out += ' ' + std::to_string(node.number) + '\n';
    }
    for (const BenchNode& node : nodes) {
        out +=
            '\n' + std::to_string(node.rows.size() * static_cast<std::size_t>(node.states)) + '\n';
        for (const std::string& row : node.rows) out += ' ' + row + '\n';
    }
    return out;
}

}  // namespace

int main(int argc, char** argv) { return lumo::bench::Run(argc, argv, Uai, lumo::FormatUAI); }
