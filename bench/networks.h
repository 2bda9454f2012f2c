// Networks for the benchmarks of formats, written by a callback for each node.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "bench/support.h"

namespace lumo::bench {

/// A node as the generators hand it to a format: its number, states, parents, and rows of
/// probabilities with six decimals that sum to 1, the last parent fastest.
struct BenchNode {
    int number;
    int states;
    std::vector<int> parents;
    std::vector<std::string> rows;
};

/// Rows whose numbers are separated by blanks.
inline std::vector<std::string> RandomRows(int rows, int states, std::mt19937& random) {
    std::vector<std::string> out;
    for (int row = 0; row < rows; ++row) {
        std::string& text = out.emplace_back();
        int left = 1'000'000;
        for (int i = states - 1; i >= 0; --i) {
            const int part =
                i == 0 ? left : static_cast<int>(random() % static_cast<unsigned>(left / 2 + 1));
            left -= part;
            text +=
                Format("%s%d.%06d", i + 1 < states ? " " : "", part / 1'000'000, part % 1'000'000);
        }
    }
    return out;
}

/// A node of 500 states under one of 1000.
inline std::vector<BenchNode> NumberHeavy() {
    std::mt19937 random(7);
    std::vector<BenchNode> nodes{{0, 1000, {}, RandomRows(1, 1000, random)}};
    nodes.push_back({1, 500, {0}, RandomRows(1000, 500, random)});
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
    benchmark::RegisterBenchmark("NumberHeavy", [=](benchmark::State& state) {
        MeasureImport(state, write(NumberHeavy()), format);
    })->Unit(benchmark::kMillisecond);
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
