// DXPress import beside the bare number pass: tables that hold most of the file, and many nodes.
#include "bench/support.h"

namespace lumo::bench {
namespace {

/// Appends a row of `states` probabilities that sum to 1.
void AppendRow(std::string& out, int states, std::mt19937& random, int digits) {
    out += "(;";
    for (const std::string& number : RandomNumbers(states, random, digits))
        out += ' ' + number + ',';
    out.back() = ';';
    out += '\n';
}

/// A knowledge base of `nodes` nodes, each with the `parents` nodes before it as parents.
std::string KnowledgeBase(int nodes, int states, int parents, int digits = FewDigits) {
    std::mt19937 random(7);
    std::string out = "diagnostic network \"bench\"\nnodes {\n";
    for (int i = 0; i < nodes; ++i) {
        out += Format(
            "standard \"N%d\" {\n  name: \"Node %d\";\n  position: (%d, %d);\n  type: discrete[%d] "
            "= {",
            i, i, i % 300 * 90, i / 300 * 50, states);
        for (int s = 0; s < states; ++s) out += Format(" standard { name: \"s%d\"; }", s);
        out += " };\n}\n";
    }
    out += "}\nnetwork {\n";
    for (int i = 0; i < nodes; ++i) {
        out += Format("standard \"N%d\" (", i);
        int rows = 1;
        for (int p = 1; p <= std::min(i, parents); ++p, rows *= states) {
            out += Format("%s\"N%d\"", p > 1 ? ", " : "", i - p);
        }
        out += ") { prob: {\n";
        for (int r = 0; r < rows; ++r) AppendRow(out, states, random, digits);
        out += "} }\n";
    }
    return out + "}\n";
}

void NumberHeavy(benchmark::State& state) {
    MeasureImport(state, KnowledgeBase(4, static_cast<int>(state.range(0)), 3), FormatDXPress);
}
BENCHMARK(NumberHeavy)->Arg(10)->Arg(30)->Arg(40)->Unit(benchmark::kMillisecond);

void NumberHeavyExact(benchmark::State& state) {
    const int states = static_cast<int>(state.range(0));
    MeasureImport(state, KnowledgeBase(4, states, 3, ManyDigits), FormatDXPress, ManyDigits);
}
BENCHMARK(NumberHeavyExact)->Arg(10)->Arg(30)->Arg(40)->Unit(benchmark::kMillisecond);

void NodeHeavy(benchmark::State& state) {
    MeasureImport(state, KnowledgeBase(static_cast<int>(state.range(0)), 2, 3), FormatDXPress);
}
BENCHMARK(NodeHeavy)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

void NodeHeavyUnplaced(benchmark::State& state) {
    MeasureImport(state, Unplaced(KnowledgeBase(static_cast<int>(state.range(0)), 2, 3)),
                  FormatDXPress);
}
BENCHMARK(NodeHeavyUnplaced)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lumo::bench

BENCHMARK_MAIN();
