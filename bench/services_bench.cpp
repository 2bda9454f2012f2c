// The services alone: tokenizing words, reading numbers, creating nodes, looking names up, adding
// links.
#include <random>
#include <vector>

#include "bench/support.h"
#include "library/text/parser.h"

namespace lumo::bench {
namespace {

/// A tokenizer over a text, as the readers make it.
struct Tokenizer {
    std::unique_ptr<short[]> props{MakeStdCharProps_kt()};
    ParserOptions_kt options;
    InChannel_CString_kt channel;
    OwnedParser in;

    explicit Tokenizer(const std::string& text) : channel(text.c_str(), "bench") {
        SetCharProp_kt("\"(){}=,;", CharPropPunct, props.get());
        options.charProps = props.get();
        in.reset(channel.makeParser(&options));
    }
};

void Words(benchmark::State& state) {
    std::string text;
    for (int i = 0; i < 100'000; ++i) text += "word_" + std::to_string(i) + (i % 8 ? " " : "\n");
    char word[256];
    for ([[maybe_unused]] auto _ : state) {
        Tokenizer t(text);
        while (!t.in->isAtEnd()) t.in->readWord(word, 255);
        benchmark::DoNotOptimize(word);
    }
    state.SetItemsProcessed(state.iterations() * 100'000);
}
BENCHMARK(Words);

std::string NumberText() {
    std::mt19937 random(1);
    std::string text;
    for (int i = 0; i < 1'000'000; ++i) {
        text += "0." + std::to_string(random() % 1'000'000) + (i % 8 ? " " : "\n");
    }
    return text;
}

void Numbers(benchmark::State& state) {
    const std::string text = NumberText();
    std::vector<float> numbers(1'000'000);
    double mine = 1e100;
    double bare = 1e100;
    for ([[maybe_unused]] auto _ : state) {
        mine = std::min(mine, Fastest(
                                  [&] {
                                      Tokenizer t(text);
                                      t.in->readFloats(numbers.data(), 1'000'000, CommasEN::none);
                                      benchmark::DoNotOptimize(numbers.data());
                                  },
                                  1));
        bare = std::min(bare, Fastest([&] { benchmark::DoNotOptimize(BarePass<float>(text)); }, 1));
    }
    state.counters["of_bare"] = bare / mine;
}
BENCHMARK(Numbers)->Unit(benchmark::kMillisecond);

std::vector<std::string> Names(int n) {
    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) names.push_back("node_" + std::to_string(i * 7919 % n));
    return names;
}

OwnedNet NewNodes(const std::vector<std::string>& names) {
    OwnedNet net(NewVBNet(DupStr_kt("bench")));
    for (const std::string& name : names) NewNode_ibn(name.c_str(), 2, *net, {0, 0});
    return net;
}

void CreateNodes(benchmark::State& state) {
    const auto names = Names(static_cast<int>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(NewNodes(names));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(CreateNodes)->Arg(1'000)->Arg(10'000)->Arg(100'000);

void FindNodes(benchmark::State& state) {
    const auto names = Names(static_cast<int>(state.range(0)));
    const OwnedNet net = NewNodes(names);
    for ([[maybe_unused]] auto _ : state) {
        for (const std::string& name : names)
            benchmark::DoNotOptimize(net->findNodeLabeled(name.c_str()));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(FindNodes)->Arg(1'000)->Arg(10'000)->Arg(100'000);

/// Three links a node: to the nodes before it, after it, or at random places.
void AddLinks(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const auto names = Names(n);
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        OwnedNet net = NewNodes(names);
        std::mt19937 random(3);
        state.ResumeTiming();
        for (int i = 1; i < n; ++i) {
            for (int k = 1; k <= 3 && k <= i; ++k) {
                const int other = state.range(1) == 2
                                      ? static_cast<int>(random() % static_cast<unsigned>(i))
                                      : i - k;
                Bnode_bn& later = *net->nodes[i];
                Bnode_bn& earlier = *net->nodes[other];
                state.range(1) == 1 ? AddLink_ibn(later, earlier) : AddLink_ibn(earlier, later);
            }
        }
        state.PauseTiming();
        net.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * n * 3);
}
BENCHMARK(AddLinks)->ArgsProduct({{1'000, 10'000, 100'000}, {0, 1, 2}});

}  // namespace
}  // namespace lumo::bench

BENCHMARK_MAIN();
