// Networks for the benchmarks of formats, written by a callback for each node.
#pragma once

#include <utility>

#include "bench/support.h"

namespace lumo::bench {

/// A node as the generators hand it to a format: its number, states, parents, and rows of
/// probabilities that sum to 1, separated by blanks, the last parent fastest.
struct BenchNode {
    int number;
    int states;
    std::vector<int> parents;
    std::vector<std::string> rows;
};

inline std::vector<std::string> RandomRows(int rows, int states, std::mt19937& random,
                                           int digits = FewDigits) {
    std::vector<std::string> out(static_cast<std::size_t>(rows));
    for (std::string& row : out) {
        for (const std::string& number : RandomNumbers(states, random, digits))
            row += (row.empty() ? "" : " ") + number;
    }
    return out;
}

/// A node of 500 states under one of so many.
inline std::vector<BenchNode> NumberHeavy(int rows, int digits) {
    std::mt19937 random(7);
    std::vector<BenchNode> nodes{{0, rows, {}, RandomRows(1, rows, random, digits)}};
    nodes.push_back({1, 500, {0}, RandomRows(rows, 500, random, digits)});
    return nodes;
}

/// Binary nodes with up to three parents from among the forty before them.
inline std::vector<BenchNode> NodeHeavy(int count) {
    std::mt19937 random(7);
    std::vector<BenchNode> nodes;
    for (int i = 0; i < count; ++i) {
        std::vector<int> parents;
        if (i >= 40) parents = {i - 1, i - 7, i - 40};
        nodes.push_back({i, 2, parents, RandomRows(1 << parents.size(), 2, random)});
    }
    return nodes;
}

/// The benchmarks of a format, whose files `write` makes.
template <class WRITE>
void Register(WRITE write, int format) {
    for (const auto& [name, digits] :
         {std::pair("NumberHeavy", FewDigits), std::pair("NumberHeavyExact", ManyDigits)}) {
        benchmark::RegisterBenchmark(name,
                                     [=, digits = digits](benchmark::State& state) {
                                         const int rows = static_cast<int>(state.range(0));
                                         MeasureImport(state, write(NumberHeavy(rows, digits)),
                                                       format, digits);
                                     })
            ->Arg(50)
            ->Arg(1000)
            ->Unit(benchmark::kMillisecond);
    }
    const auto nodeHeavy = [=](const char* name, bool placed) {
        benchmark::RegisterBenchmark(
            name,
            [=](benchmark::State& state) {
                const std::string text = write(NodeHeavy(static_cast<int>(state.range(0))));
                MeasureImport(state, placed ? text : Unplaced(text), format);
            })
            ->Arg(1000)
            ->Arg(10'000)
            ->Arg(100'000)
            ->Unit(benchmark::kMillisecond);
    };
    nodeHeavy("NodeHeavy", true);
    nodeHeavy("NodeHeavyUnplaced", false);
}

/// The main function of a program that measures one format.
template <class WRITE>
int Run(int argc, char** argv, WRITE write, int format) {
    benchmark::Initialize(&argc, argv);
    Register(write, format);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

}  // namespace lumo::bench
