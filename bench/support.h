// What the benchmarks share: the bare number pass that every import is measured beside.
#pragma once

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

#include "import/ForeignFile.h"

namespace lumo::bench {

/// Says nothing, so that only reading is measured.
class Silent : public ReportHandler {
public:
    void show(const rept_kt& report) override { errors += report.severity > SeverityWarning; }
    void print(const char*) override {}
    bool ask(int, const char*) override { return false; }
    void waitBegin(const char*) override {}
    void waitEnd(const char*) override {}
    int errors = 0;
};

/// The limit: every number of the text with std::from_chars<float>, all else passed over byte by
/// byte.
inline double BarePass(std::string_view text) {
    double sum = 0;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at < end) {
        if ((*at >= '0' && *at <= '9') || *at == '-' || *at == '.') {
            float value = 0;
            const auto got = std::from_chars(at, end, value);
            if (got.ptr != at) {
                sum += static_cast<double>(value);
                at = got.ptr;
                continue;
            }
        }
        ++at;
    }
    return sum;
}

/// Seconds of the fastest of several runs.
inline double Fastest(const std::function<void()>& work, int runs = 5) {
    double best = 1e100;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        best = std::min(
            best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

/// Imports the text once; a result without nodes or with errors is no measurement.
inline OwnedNet ImportForBench(const std::string& text, int format) {
    Silent handler;
    HandlerScope scope(handler);
    OwnedNet net(ReadForeignNetText_kt(text, "bench", format));
    if (net == nullptr || net->nodes.N == 0 || handler.errors != 0) {
        std::fprintf(stderr, "the generated file does not import\n");
        std::exit(1);
    }
    return net;
}

/// Bytes that the work makes the process grow by at its peak, measured in a child process of its
/// own.
inline double PeakGrowth(const std::function<void()>& work) {
    malloc_trim(0);
    int ends[2];
    if (pipe(ends) != 0) return 0;
    const pid_t child = fork();
    if (child == 0) {
        const auto peak = [] {
            rusage usage{};
            getrusage(RUSAGE_SELF, &usage);
            return usage.ru_maxrss * 1024L;
        };
        const long before = peak();
        work();
        const long growth = peak() - before;
        _exit(write(ends[1], &growth, sizeof growth) == sizeof growth ? 0 : 1);
    }
    long growth = 0;
    close(ends[1]);
    if (read(ends[0], &growth, sizeof growth) != sizeof growth) growth = 0;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return static_cast<double>(growth);
}

/// Measures import and bare pass interleaved. Counters: of_bare, the bare pass's time divided by
/// the import's (1.0: as fast as the bare pass); ns_per_node; and what the peak of memory is beyond
/// the file and its tables, in all and in bytes a node.
inline void MeasureImport(benchmark::State& state, const std::string& text, int format) {
    double import = 1e100;
    double bare = 1e100;
    for (auto _ : state) {
        const double one =
            Fastest([&] { benchmark::DoNotOptimize(ImportForBench(text, format)); }, 1);
        import = std::min(import, one);
        bare = std::min(bare, Fastest([&] { benchmark::DoNotOptimize(BarePass(text)); }, 1));
    }
    state.SetBytesProcessed(static_cast<long long>(text.size()) *
                            static_cast<long long>(state.iterations()));
    const OwnedNet net = ImportForBench(text, format);
    double tables = 0;
    for (const Bnode_bn* node : net->nodes) {
        if (node->relation.probs != nullptr) tables += 4.0 * NumProduct(node->family);
    }
    const double beyond =
        PeakGrowth([&] { benchmark::DoNotOptimize(ImportForBench(text, format)); }) -
        static_cast<double>(text.size()) - tables;
    state.counters["of_bare"] = bare / import;
    state.counters["ns_per_node"] = 1e9 * import / net->nodes.N;
    state.counters["beyond_MB"] = beyond / 1e6;
    state.counters["beyond_B_per_node"] = beyond / net->nodes.N;
}

}  // namespace lumo::bench
