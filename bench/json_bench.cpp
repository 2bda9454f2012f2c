// How fast JSON is read, beside a bare pass over its numbers: of_bare is to be at least 0.3 on
// number-heavy files.
#include <algorithm>

#include "bench/networks.h"

namespace {

using lumo::bench::BenchNode;

std::string Json(const std::vector<BenchNode>& nodes) {
    std::string out = "{\"schema\":\"lumo-import/1\",\"net\":{\"nodes\":[";
    for (const BenchNode& node : nodes) {
        out += (node.number == 0 ? "\n" : ",\n") + ("{\"name\":\"V" + std::to_string(node.number)) +
               "\",\"states\":[";
        for (int state = 0; state < node.states; ++state)
            out +=
                (state == 0 ? "{\"name\":\"s" : ",{\"name\":\"s") + std::to_string(state) + "\"}";
        out += "],\"parents\":[";
        for (const int parent : node.parents)
            out += (out.back() == '[' ? "\"V" : ",\"V") + std::to_string(parent) + '"';
        out += "],\"relation\":{\"kind\":\"table\",\"table\":[";
        for (std::string row : node.rows) {
            std::replace(row.begin(), row.end(), ' ', ',');
            out += (out.back() == '[' ? "" : ",") + row;
        }
        out += "]}}";
    }
    return out + "]}}\n";
}

}  // namespace

int main(int argc, char** argv) { return lumo::bench::Run(argc, argv, Json, lumo::FormatJSON); }
