// How fast DSC files are read, beside a bare pass over their numbers: of_bare is to be at least 0.6
// on number-heavy files and 0.2 on node-heavy ones.
#include "bench/support.h"

namespace lumo::bench {
namespace {

class Writer {
public:
    explicit Writer(int digits = 7) : digits_(digits) {
        text_ = "belief network \"bench\"\n\n";
        for (int i = 0; i < digits; ++i) whole_ *= 10;
    }

    const std::string& text() const { return text_; }

    void node(int number, int states) {
        put("node n%d\n{\n    name: \"Node number %d\";\n    type: discrete[%d] =\n    {\n", number,
            number, states);
        for (int s = 0; s < states; ++s) {
            put("        \"state_%d\"%s\n", s, s + 1 < states ? "," : "");
        }
        put("    };\n    position: (%d, %d);\n}\n\n", number % 100 * 120, number / 100 * 90);
    }

    void open(int child, std::initializer_list<int> parents) {
        put("probability(n%d", child);
        const char* separator = " | ";
        for (const int parent : parents) {
            put("%sn%d", separator, parent);
            separator = ", ";
        }
        text_ += ")\n{\n";
    }

    void close() { text_ += "}\n\n"; }

    template <class... Ints>
    void tuple(Ints... states) {
        const char* separator = "    (";
        ((put("%s%d", separator, states), separator = ", "), ...);
        text_ += "): ";
    }

    /// A row of random numbers that sum to 1.
    void row(int states) {
        long long rest = whole_;
        for (int s = 0; s < states; ++s) {
            const int left = states - s;
            const long long part =
                left == 1
                    ? rest
                    : static_cast<long long>(next() * static_cast<double>(rest) * 2 / (left + 1));
            put("%s%lld.%0*lld", s > 0 ? ", " : "", part / whole_, digits_, part % whole_);
            rest -= part;
        }
        text_ += ";\n";
    }

private:
    template <class... ARGS>
    void put(const char* format, ARGS... arguments) {
        text_ += Format(format, arguments...);
    }

    double next() { return static_cast<double>(random_()) / 4294967296.0; }

    std::string text_;
    int digits_;
    long long whole_ = 1;
    std::mt19937 random_{20};
};

/// A child with 500 states under a parent with so many.
std::string NumberHeavy(int rows, int digits) {
    Writer out(digits);
    out.node(0, rows);
    out.node(1, 500);
    out.open(1, {0});
    for (int i = 0; i < rows; ++i) {
        out.tuple(i);
        out.row(500);
    }
    out.close();
    return out.text();
}

/// A child of ten states with 10,000 rows.
std::string RowsOf10() {
    Writer out;
    for (int i = 0; i < 5; ++i) out.node(i, 10);
    out.open(4, {0, 1, 2, 3});
    for (int i = 0; i < 10'000; ++i) {
        out.tuple(i / 1000, i / 100 % 10, i / 10 % 10, i % 10);
        out.row(10);
    }
    out.close();
    return out.text();
}

/// A binary child with a million rows.
std::string RowHeavy() {
    Writer out;
    for (int i = 0; i < 6; ++i) out.node(i, 10);
    out.node(6, 2);
    out.open(6, {0, 1, 2, 3, 4, 5});
    for (int i = 0; i < 1'000'000; ++i) {
        out.tuple(i / 100'000, i / 10'000 % 10, i / 1000 % 10, i / 100 % 10, i / 10 % 10, i % 10);
        out.row(2);
    }
    out.close();
    return out.text();
}

/// Binary nodes with up to three parents, from among the forty before them.
std::string NodeHeavy(int count) {
    Writer out;
    for (int i = 0; i < count; ++i) out.node(i, 2);
    for (int i = 0; i < count; ++i) {
        if (i < 40) {
            out.open(i, {});
            out.row(2);
        } else {
            out.open(i, {i - 1, i - 7, i - 40});
            for (int r = 0; r < 8; ++r) {
                out.tuple(r / 4, r / 2 % 2, r % 2);
                out.row(2);
            }
        }
        out.close();
    }
    return out.text();
}

void NumberHeavyFile(benchmark::State& state) {
    MeasureImport(state, NumberHeavy(static_cast<int>(state.range(0)), 7), FormatDsc);
}

void NumberHeavyExactFile(benchmark::State& state) {
    MeasureImport(state, NumberHeavy(static_cast<int>(state.range(0)), ManyDigits), FormatDsc,
                  ManyDigits);
}

void RowsOf10File(benchmark::State& state) { MeasureImport(state, RowsOf10(), FormatDsc); }

void RowHeavyFile(benchmark::State& state) { MeasureImport(state, RowHeavy(), FormatDsc); }

void NodeHeavyFile(benchmark::State& state) {
    MeasureImport(state, NodeHeavy(static_cast<int>(state.range(0))), FormatDsc);
}

void NodeHeavyUnplacedFile(benchmark::State& state) {
    MeasureImport(state, Unplaced(NodeHeavy(static_cast<int>(state.range(0)))), FormatDsc);
}

BENCHMARK(NumberHeavyFile)->Name("NumberHeavy")->Arg(50)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(NumberHeavyExactFile)
    ->Name("NumberHeavyExact")
    ->Arg(50)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(RowsOf10File)->Name("RowsOf10")->Unit(benchmark::kMillisecond);
BENCHMARK(RowHeavyFile)->Name("RowHeavy")->Unit(benchmark::kMillisecond);
BENCHMARK(NodeHeavyFile)
    ->Name("NodeHeavy")
    ->Arg(1000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(NodeHeavyUnplacedFile)
    ->Name("NodeHeavyUnplaced")
    ->Arg(1000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lumo::bench

BENCHMARK_MAIN();
