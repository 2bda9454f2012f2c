// What the benchmarks share: the bare number pass that every import is measured beside, and the
// measuring of both.
#pragma once

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "bench/checked.h"
#include "formats/formats.h"

namespace lumo::bench {

/// Decimal places of the numbers of tables: those that floats hold, and those that take doubles.
constexpr int FewDigits = 6, ManyDigits = 16;

/// Random numbers with so many places that sum to 1, larger ones first unless digits are many.
inline std::vector<std::string> RandomNumbers(int count, std::mt19937& random, int digits) {
    long long whole = 1;
    for (int i = 0; i < digits; ++i) whole *= 10;
    std::vector<std::string> numbers;
    long long left = whole;
    for (int i = count - 1; i >= 0; --i) {
        unsigned long long any = random(), most = static_cast<unsigned long long>(left / 2);
        if (digits == ManyDigits) {  // all of them large enough to have the digits
            any = any << 32 | random();
            most = static_cast<unsigned long long>(2 * left / (i + 1));
        }
        const long long part = i == 0 ? left : static_cast<long long>(any % (most + 1));
        left -= part;
        numbers.push_back(Format("%lld.%0*lld", part / whole, digits, part % whole));
    }
    return numbers;
}

/// The limit: every number of the text with std::from_chars, all else passed over byte by byte.
template <class FLOAT>
double BarePass(std::string_view text) {
    double sum = 0;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at < end) {
        if ((*at >= '0' && *at <= '9') || *at == '-' || *at == '.') {
            FLOAT value = 0;
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

/// Seconds of the processor that the fastest of several runs takes.
inline double Fastest(const std::function<void()>& work, int runs = 5) {
    double best = 1e100;
    for (int i = 0; i < runs; ++i) {
        const double start = ProcessorSeconds();
        work();
        best = std::min(best, ProcessorSeconds() - start);
    }
    return best;
}

/// The text without its lines that give positions.
inline std::string Unplaced(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n') + 1);
        if (line.find("position") == std::string_view::npos) out += line;
        text.remove_prefix(line.empty() ? text.size() : line.size());
    }
    return out;
}

inline OwnedNet ImportForBench(const std::string& text, int format) {
    return Checked([&] { return ReadForeignNetText_kt(text, "bench", format); });
}

/// A file with the text, while it lives.
class TextFile {
public:
    explicit TextFile(std::string_view text)
        : path_(std::filesystem::temp_directory_path() /
                ("lumo_bench_" + std::to_string(getpid()))) {
        std::ofstream(path_) << text;
    }
    ~TextFile() { std::filesystem::remove(path_); }
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;
    const char* path() const { return path_.c_str(); }

private:
    std::filesystem::path path_;
};

/// What import_once tells.
struct FreshImport {
    long long nanoseconds = 0, peak = 0;
    int nodes = 0;
    long long tables = 0;
};

/// Imports the file in a process of its own; all zero when that fails.
inline FreshImport ImportInFreshProcess(const char* path, int format) {
    const auto program = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const std::string command =
        Format("exec '%s/import_once' '%s' %s", program.c_str(), path, FindFormat(format)->name);
    FreshImport got;
    std::FILE* const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return {};
    const int fields = std::fscanf(pipe, "%lld %lld %d %lld", &got.nanoseconds, &got.peak,
                                   &got.nodes, &got.tables);
    return pclose(pipe) == 0 && fields == 4 ? got : FreshImport{};
}

/// Measures the import from memory, from a file and in a fresh process beside the bare pass, in
/// turn. Counters: the nanoseconds of each (the fastest), of_bare, the bare pass's time divided by
/// that of the import from memory (1.0: as fast as the bare pass); the nodes; and what the fresh
/// process needs beyond the file and its tables. The bare pass reads what the table keeps: doubles
/// where the numbers have many digits.
///
/// With LUMO_BENCH_TEXT set, the text is written there, and nothing is measured.
inline void MeasureImport(benchmark::State& state, const std::string& text, int format,
                          int digits = FewDigits) {
    if (const char* const path = std::getenv("LUMO_BENCH_TEXT")) {
        for ([[maybe_unused]] auto _ : state) std::ofstream(path) << text;
        return;
    }
    constexpr int runs = 3;  // a process finds no memory at hand in its first
    const auto barePass = digits == ManyDigits ? BarePass<double> : BarePass<float>;
    const TextFile file(text);
    double fromText = 1e100, fromFile = 1e100, bare = 1e100, fresh = 1e100;
    for ([[maybe_unused]] auto _ : state) {
        bare = std::min(bare, Fastest([&] { benchmark::DoNotOptimize(barePass(text)); }, runs));
        fromText = std::min(fromText, Fastest([&] { ImportForBench(text, format); }, runs));
        fromFile = std::min(
            fromFile,
            Fastest(
                [&] { Checked([&] { return ReadForeignNetFile_kt(file.path(), format, false); }); },
                runs));
    }
    FreshImport last;
    for (int i = 0; i < runs; ++i) {
        last = ImportInFreshProcess(file.path(), format);
        fresh = std::min(fresh, static_cast<double>(last.nanoseconds));
    }
    state.counters["bare_ns"] = 1e9 * bare;
    state.counters["text_ns"] = 1e9 * fromText;
    state.counters["file_ns"] = 1e9 * fromFile;
    state.counters["fresh_ns"] = fresh;
    state.counters["of_bare"] = bare / fromText;
    state.counters["nodes"] = last.nodes;
    state.counters["beyond_B"] =
        static_cast<double>(last.peak - last.tables) - static_cast<double>(text.size());
}

}  // namespace lumo::bench
