// Hugin import beside the bare number pass over the same bytes: tables that hold most of the file,
// and nets of many nodes with three parents each.
#include "bench/support.h"

namespace lumo::bench {
namespace {

/// Appends one row of `states` probabilities that sum to 1.
void AppendRow(std::string& out, int states, std::mt19937& random, int digits) {
    out += "( ";
    for (const std::string& number : RandomNumbers(states, random, digits)) out += number + ' ';
    out += ")";
}

/// Appends the table of a node whose parents all have `states` states, nested by parent.
void AppendTable(std::string& out, int parents, int states, std::mt19937& random, int digits) {
    if (parents == 0) return AppendRow(out, states, random, digits);
    out += '(';
    for (int s = 0; s < states; ++s) {
        if (s > 0) out += "\n\t";
        AppendTable(out, parents - 1, states, random, digits);
    }
    out += ')';
}

/// A net of `nodes` nodes; each has the nodes before it, `parents` at most, as its parents.
std::string Net(int nodes, int states, int parents, int digits = FewDigits) {
    std::mt19937 random(7);
    std::string out = "net\n{\n    node_size = (80 40);\n}\n";
    std::string labels;
    for (int s = 0; s < states; ++s) labels += Format("%s\"state%d\"", s > 0 ? " " : "", s);
    for (int i = 0; i < nodes; ++i) {
        out += Format(
            "\nnode N%d\n{\n    label = \"Node %d\";\n    position = (%d %d);\n    states = "
            "(%s);\n}\n",
            i, i, i % 300 * 90, i / 300 * 50, labels.c_str());
    }
    for (int i = 0; i < nodes; ++i) {
        const int known = std::min(i, parents);
        out += Format("\npotential (N%d |", i);
        for (int p = 1; p <= known; ++p) out += Format(" N%d", i - p);
        out += ")\n{\n    data = ";
        AppendTable(out, known, states, random, digits);
        out += ";\n}\n";
    }
    return out;
}

void NumberHeavy(benchmark::State& state) {
    MeasureImport(state, Net(4, static_cast<int>(state.range(0)), 3), FormatHugin);
}
BENCHMARK(NumberHeavy)->Arg(10)->Arg(30)->Arg(40)->Unit(benchmark::kMillisecond);

void NumberHeavyExact(benchmark::State& state) {
    const int states = static_cast<int>(state.range(0));
    MeasureImport(state, Net(4, states, 3, ManyDigits), FormatHugin, ManyDigits);
}
BENCHMARK(NumberHeavyExact)->Arg(10)->Arg(30)->Arg(40)->Unit(benchmark::kMillisecond);

void NodeHeavy(benchmark::State& state) {
    MeasureImport(state, Net(static_cast<int>(state.range(0)), 2, 3), FormatHugin);
}
BENCHMARK(NodeHeavy)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

void NodeHeavyUnplaced(benchmark::State& state) {
    MeasureImport(state, Unplaced(Net(static_cast<int>(state.range(0)), 2, 3)), FormatHugin);
}
BENCHMARK(NodeHeavyUnplaced)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lumo::bench

BENCHMARK_MAIN();
