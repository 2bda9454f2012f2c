// XML BIF import beside the bare number pass over the same bytes: number-heavy files, and nets of
// many nodes with three parents each, placed by the file or laid out.
#include <chrono>
#include <thread>

#include "bench/support.h"

namespace lumo::bench {
namespace {

/// Appends one row of `states` probabilities that sum to 1.
void AppendRow(std::string& out, int states, std::mt19937& random, int digits = FewDigits) {
    for (const std::string& number : RandomNumbers(states, random, digits)) out += number + ' ';
}

void AppendVariable(std::string& out, int index, int states, bool placed) {
    const std::string name = std::to_string(index);
    out += "<VARIABLE TYPE=\"nature\">\n\t<NAME>node" + name + "</NAME>\n";
    for (int s = 0; s < states; ++s) out += "\t<OUTCOME>state" + std::to_string(s) + "</OUTCOME>\n";
    if (placed) {
        out += "\t<PROPERTY>position = (" + std::to_string(index % 300 * 90) + ", " +
               std::to_string(index / 300 * 50) + ")</PROPERTY>\n";
    }
    out += "</VARIABLE>\n";
}

std::string InNetwork(const std::string& content) {
    return "<?xml version=\"1.0\"?>\n<BIF VERSION=\"0.3\">\n<NETWORK>\n<NAME>bench</NAME>\n" +
           content + "</NETWORK>\n</BIF>\n";
}

/// One node of many parents: 2^parents rows of `states` numbers.
std::string NumberHeavy(int parents, int states, int digits) {
    std::mt19937 random(7);
    std::string out;
    for (int i = 0; i <= parents; ++i) AppendVariable(out, i, i == parents ? states : 2, true);
    out += "<DEFINITION>\n\t<FOR>node" + std::to_string(parents) + "</FOR>\n";
    for (int i = 0; i < parents; ++i) out += "\t<GIVEN>node" + std::to_string(i) + "</GIVEN>\n";
    out += "\t<TABLE>";
    for (int row = 0; row < 1 << parents; ++row) AppendRow(out, states, random, digits);
    return InNetwork(out + "</TABLE>\n</DEFINITION>\n");
}

/// Nodes of two states with three parents among the fifty before them.
std::string NodeHeavy(int nodes, bool placed) {
    std::mt19937 random(7);
    std::string out;
    for (int i = 0; i < nodes; ++i) AppendVariable(out, i, 2, placed);
    for (int i = 0; i < nodes; ++i) {
        out += "<DEFINITION>\n\t<FOR>node" + std::to_string(i) + "</FOR>\n";
        int parent = i;
        int parents = 0;
        for (; parents < 3 && parent > 0; ++parents) {
            parent -= 1 + static_cast<int>(random() % static_cast<unsigned>(std::min(parent, 16)));
            out += "\t<GIVEN>node" + std::to_string(parent) + "</GIVEN>\n";
        }
        out += "\t<TABLE>";
        for (int row = 0; row < 1 << parents; ++row) AppendRow(out, 2, random);
        out += "</TABLE>\n</DEFINITION>\n";
    }
    return InNetwork(out);
}

void BM_NumberHeavy(benchmark::State& state, int digits) {
    MeasureImport(state, NumberHeavy(static_cast<int>(state.range(0)), 4, digits), FormatXMLBIF,
                  digits);
}
BENCHMARK_CAPTURE(BM_NumberHeavy, few, FewDigits)
    ->Name("NumberHeavy")
    ->Arg(12)
    ->Arg(18)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_NumberHeavy, many, ManyDigits)
    ->Name("NumberHeavyExact")
    ->Arg(12)
    ->Arg(18)
    ->Unit(benchmark::kMillisecond);

void BM_NodeHeavyPlaced(benchmark::State& state) {
    MeasureImport(state, NodeHeavy(static_cast<int>(state.range(0)), true), FormatXMLBIF);
}
BENCHMARK(BM_NodeHeavyPlaced)
    ->Name("NodeHeavyPlaced")
    ->Arg(1000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond);

void BM_NodeHeavyUnplaced(benchmark::State& state) {
    MeasureImport(state, NodeHeavy(static_cast<int>(state.range(0)), false), FormatXMLBIF);
}
BENCHMARK(BM_NodeHeavyUnplaced)
    ->Name("NodeHeavyUnplaced")
    ->Arg(1000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond);

/// Two imports side by side against one after the other; of two cores, 2 is the most.
void BM_TwoThreads(benchmark::State& state) {
    const std::string text = NodeHeavy(20'000, true);
    const auto import = [&text] { ImportForBench(text, FormatXMLBIF); };
    const auto seconds = [](const auto& work) {
        const auto start = std::chrono::steady_clock::now();
        work();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    double serial = 1e100;
    double parallel = 1e100;
    for ([[maybe_unused]] auto _ : state) {
        serial = std::min(serial, seconds([&] { import(), import(); }));
        parallel = std::min(parallel, seconds([&] {
                                const std::jthread other(import);
                                import();
                            }));
    }
    state.counters["speedup"] = serial / parallel;
}
BENCHMARK(BM_TwoThreads)->Name("TwoThreads")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace lumo::bench

BENCHMARK_MAIN();
