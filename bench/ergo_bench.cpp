// Ergo imports beside the bare number pass: many nodes, and few nodes with huge tables.

#include <utility>

#include "bench/support.h"

namespace lumo::bench {
namespace {

/// n nodes of two states with three parents each (fewer for the first ones).
std::string ManyNodes(int n) {
    std::mt19937 random(7);
    std::string text = std::to_string(n) + "\n";
    for (int i = 0; i < n; ++i) text += "2 ";
    text += '\n';
    for (int i = 0; i < n; ++i) {
        const int k = std::min(i, 3);
        text += std::to_string(k);
        for (int p = 0; p < k; ++p) text += ' ' + std::to_string(i - p);
        text += '\n';
    }
    text += "/* Probabilities */\n";
    for (int i = 0; i < n; ++i) {
        const int rows = 1 << std::min(i, 3);
        text += std::to_string(2 * rows);
        for (int r = 0; r < rows; ++r) {
            const std::string p = std::to_string(100 + random() % 800);
            text += " 0." + p + " 0." + std::to_string(1000 - std::stoi(p));
        }
        text += '\n';
    }
    text += "/* Names */\n";
    for (int i = 0; i < n; ++i) text += "node_" + std::to_string(i) + '\n';
    text += "/* Labels */\n";
    for (int i = 0; i < n; ++i) text += "yes no\n";
    text += "/* Centers */\n";
    for (int i = 0; i < n; ++i)
        text += std::to_string(i % 1000) + ' ' + std::to_string(i / 1000) + '\n';
    return text;
}

/// One child of `states` states with two parents of as many: states^3 numbers. Rows sum to 1 where
/// digits are given, else to anything, so that they are scaled.
std::string HugeTable(int states, int digits = 0) {
    std::mt19937 random(7);
    const std::string s = std::to_string(states);
    std::string text = "3\n" + s + ' ' + s + ' ' + s + "\n0\n0\n2 1 2\n/* Probabilities */\n";
    const auto anyNumbers = [&] {
        std::vector<std::string> numbers(static_cast<std::size_t>(states));
        for (std::string& number : numbers)
            number = "0." + std::to_string(1000000 + random() % 9000000);
        return numbers;
    };
    const auto rows = [&](int count) {
        text += std::to_string(count * states);
        for (; count > 0; --count) {
            char separator = '\n';
            for (const std::string& number :
                 digits == 0 ? anyNumbers() : RandomNumbers(states, random, digits))
                text += std::exchange(separator, ' ') + number;
        }
        text += '\n';
    };
    rows(1);
    rows(1);
    rows(states * states);
    text += "A B C\n";
    for (int i = 0; i < 3 * states; ++i) text += "s" + std::to_string(i) + ' ';
    return text + "0 0 0 0 0 0\n";
}

void NodeHeavy(benchmark::State& state) {
    MeasureImport(state, ManyNodes(static_cast<int>(state.range(0))), FormatErgo);
}
BENCHMARK(NodeHeavy)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

void NumberHeavy(benchmark::State& state) {
    MeasureImport(state, HugeTable(static_cast<int>(state.range(0))), FormatErgo);
}
BENCHMARK(NumberHeavy)->Arg(50)->Arg(150)->Unit(benchmark::kMillisecond);

void NumberHeavySummed(benchmark::State& state, int digits) {
    MeasureImport(state, HugeTable(static_cast<int>(state.range(0)), digits), FormatErgo, digits);
}
BENCHMARK_CAPTURE(NumberHeavySummed, few, FewDigits)
    ->Name("NumberHeavySummed")
    ->Arg(50)
    ->Arg(150)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(NumberHeavySummed, many, ManyDigits)
    ->Name("NumberHeavyExact")
    ->Arg(50)
    ->Arg(150)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lumo::bench

BENCHMARK_MAIN();
