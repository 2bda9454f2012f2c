// Writing a net beside reading what was written, in one run. BIF and JSON have no reader here and
// are measured beside XML BIF.
#include <random>
#include <sstream>
#include <vector>

#include "bench/support.h"
#include "export/writers.h"

namespace lumo::bench {
namespace {

/// Nodes of two states with three parents among the sixteen before them.
std::unique_ptr<Bnet_bn> NewNet(int nodes) {
    std::mt19937 random(7);
    std::unique_ptr<Bnet_bn> net(NewVBNet(DupStr_kt("bench")));
    for (int i = 0; i < nodes; ++i) {
        const std::string name = "node" + std::to_string(i);
        Bnode_bn& node =
            *NewNode_ibn(name.c_str(), 2, *net, {40 + i % 300 * 90, 40 + i / 300 * 45});
        node.setTitle(DupStr_kt("Node number " + std::to_string(i)));
        char** states = new char* [2] { DupStr_kt("yes"), DupStr_kt("no") };
        node.setStates(2, states);
        int parent = i;
        for (int parents = 0; parents < 3 && parent > 0; ++parents) {
            parent -= 1 + static_cast<int>(random() % static_cast<unsigned>(std::min(parent, 16)));
            AddLink_ibn(*net->nodes[parent], node);
        }
        const int rows = NumProduct(node.parents);
        XArray<float> table = NewXArray<float>(rows * 2);
        for (float* row = table.get(); row != table.get() + rows * 2; row += 2) {
            row[0] = static_cast<float>(random() % 1'000'000) / 1e6F;
            row[1] = 1 - row[0];
        }
        node.setProbsTable(table.release());
    }
    return net;
}

/// Takes what is written and keeps nothing.
class Discard : public std::streambuf {
public:
    long long bytes = 0;

protected:
    std::streamsize xsputn(const char*, std::streamsize count) override {
        bytes += count;
        return count;
    }
    int_type overflow(int_type c) override {
        ++bytes;
        return traits_type::not_eof(c);
    }
};

/// Counters: write_of_read, the writing's time divided by the reading's; losses_of_read, the same
/// for saying what is lost; ns_per_node of writing.
void MeasureWriter(benchmark::State& state, const char* name, const char* readName, int code) {
    ImportResult result;
    result.net = NewNet(static_cast<int>(state.range(0)));
    const Writer& writer = *FindWriter(name);
    std::ostringstream whole;
    FindWriter(readName)->write(result, whole);
    const std::string text = whole.str();
    const auto write = [&] {
        Discard discard;
        std::ostream out(&discard);
        writer.write(result, out);
        return discard.bytes;
    };
    double writing = 1e100, reading = 1e100, losing = 1e100;
    for ([[maybe_unused]] auto _ : state) {
        writing = std::min(writing, Fastest([&] { benchmark::DoNotOptimize(write()); }, 1));
        reading = std::min(
            reading, Fastest([&] { benchmark::DoNotOptimize(ImportForBench(text, code)); }, 1));
        if (writer.losses == nullptr) continue;
        losing = std::min(
            losing, Fastest([&] { benchmark::DoNotOptimize(writer.losses(*result.net)); }, 1));
    }
    state.counters["write_of_read"] = writing / reading;
    if (writer.losses != nullptr) state.counters["losses_of_read"] = losing / reading;
    state.counters["ns_per_node"] = 1e9 * writing / static_cast<double>(state.range(0));
}

const int registered = [] {
    struct Case {
        const char* writer;
        const char* read;
        int code;
    };
    constexpr Case cases[] = {{"xmlbif", "xmlbif", FormatXMLBIF},
                              {"hugin", "hugin", FormatHugin},
                              {"dsc", "dsc", FormatDsc},
                              {"bif", "xmlbif", FormatXMLBIF},
                              {"json", "xmlbif", FormatXMLBIF}};
    for (const Case& c : cases) {
        benchmark::RegisterBenchmark(
            c.writer,
            [c](benchmark::State& state) { MeasureWriter(state, c.writer, c.read, c.code); })
            ->Arg(1'000)
            ->Arg(10'000)
            ->Arg(100'000)
            ->Unit(benchmark::kMillisecond);
    }
    return 0;
}();

}  // namespace
}  // namespace lumo::bench

BENCHMARK_MAIN();
