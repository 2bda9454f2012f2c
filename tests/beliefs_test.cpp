// Distributions for pictures, against the sum over all states of the net.
#include "export/beliefs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "tests/commandline.h"

namespace lumo {
namespace {

using test::Cli;
using test::Outcome;
using test::Slurp;

/// Small nets of tables with zeros, noisy-max nodes, nodes without a table and decisions.
class SmallNet {
public:
    explicit SmallNet(unsigned seed) : random_(seed) {
        const int nodes = 3 + upTo(5);
        for (int i = 0; i < nodes; ++i) {
            Bnode_bn* node = NewNode_ibn(nullptr, 1 + upTo(2), *net, {});
            if (upTo(9) == 0) node->setKind(DecisionNode, CheckFull);
            for (int p = 0; p < i; ++p)
                if (upTo(2) == 0) AddLink_ibn(*net->nodes[p], *node);
            if (node->kind == NatureNode && upTo(9) > 0) relate(*node);
        }
        for (Bnode_bn* node : net->nodes)
            if (upTo(3) == 0) evidence.push_back({node, upTo(node->numStates() - 1)});
    }

    int upTo(int most) { return static_cast<int>(random_() % static_cast<unsigned>(most + 1)); }

    std::unique_ptr<Bnet_bn> net{NewVBNet(DupStr_kt("small"), false)};
    std::vector<Observation> evidence;

private:
    void fill(double* row, int states) {
        double sum = 0;
        while (sum == 0)
            for (int s = 0; s < states; ++s)
                sum += row[s] = upTo(3) == 0 ? 0 : static_cast<double>(1 + upTo(999));
        for (int s = 0; s < states; ++s) row[s] /= sum;
    }

    void relate(Bnode_bn& node) {
        const int states = node.numStates();
        const bool isNoisy = node.parents.N > 0 && upTo(3) == 0;
        const int numbers = isNoisy ? NumCIParams(node) : NumProduct(node.parents) * states;
        std::vector<double> values(static_cast<std::size_t>(numbers));
        for (int i = 0; i < numbers; i += states) fill(values.data() + i, states);
        if (isNoisy) {
            std::vector<int> order;
            for (const Bnode_bn* member : node.family) {
                const auto first = static_cast<std::ptrdiff_t>(order.size());
                for (int s = 0; s < member->numStates(); ++s) order.push_back(s);
                std::shuffle(order.begin() + first, order.end(), random_);
            }
            node.makeIntoNoisyMax(values.data(), upTo(1) == 0 ? order.data() : nullptr,
                                  upTo(1) == 0);
            return;
        }
        XArray<float> table = NewXArray<float>(numbers);
        for (int i = 0; i < numbers; ++i)
            table[static_cast<std::size_t>(i)] =
                static_cast<float>(values[static_cast<std::size_t>(i)]);
        if (upTo(4) == 0) std::fill_n(table.get() + numbers - states, states, 0.0F);
        node.setProbsTable(table.release(), false, CheckFull);
    }

    std::mt19937 random_;
};

/// Of the node's state, given those of its parents: a noisy-max node's is that of the largest draw.
double Probability(const Bnode_bn& node, const std::vector<int>& states) {
    const auto stateOf = [&](const Bnode_bn& of) {
        return states[static_cast<std::size_t>(of.place())];
    };
    const Reln_bn& relation = node.relation;
    const int own = stateOf(node), count = node.numStates();
    if (relation.kind == RelnKindEN::none) return 1.0 / count;
    if (relation.kind != RelnKindEN::noisyMax) {
        int row = 0;
        for (const Bnode_bn* parent : node.parents)
            row = row * parent->numStates() + stateOf(*parent);
        const float* const numbers = relation.probs + row * count;
        const bool isEmpty = std::all_of(numbers, numbers + count, [](float p) { return p == 0; });
        return isEmpty ? 1.0 / count : static_cast<double>(numbers[own]);
    }
    const int* const order = relation.order;
    const auto rankIn = [order](std::ptrdiff_t first, int state, int ofAll) {
        return order == nullptr
                   ? state
                   : static_cast<int>(std::find(order + first, order + first + ofAll, state) -
                                      (order + first));
    };
    const int rank = rankIn(0, own, count);
    const auto upTo = [&](int state) {
        double all = 1;
        const double* draw = relation.params;
        std::ptrdiff_t first = count;
        const auto take = [&](const double* of) {
            double sum = 0;
            for (int s = 0; s <= state; ++s) sum += of[s];
            all *= sum;
        };
        for (const Bnode_bn* parent : node.parents) {
            const int drawn = rankIn(first, stateOf(*parent), parent->numStates());
            if (drawn > 0) take(draw + (drawn - 1) * count);
            draw += (parent->numStates() - 1) * count;
            first += parent->numStates();
        }
        take(draw);
        return all;
    };
    return upTo(rank) - (rank > 0 ? upTo(rank - 1) : 0);
}

using Distributions = std::vector<std::vector<double>>;

/// The distributions of all nodes; the last number is the probability of the evidence.
std::pair<Distributions, double> Enumerated(const SmallNet& made) {
    const BndList_bn& nodes = made.net->nodes;
    Distributions sums;
    for (const Bnode_bn* node : nodes)
        sums.emplace_back(static_cast<std::size_t>(node->numStates()), 0.0);
    double total = 0;
    std::vector<int> states(static_cast<std::size_t>(nodes.N), 0);
    for (int at = 0; at >= 0;) {
        double joint = 1;
        for (const Observation& seen : made.evidence)
            joint *= states[static_cast<std::size_t>(seen.node->place())] == seen.state ? 1 : 0;
        for (const Bnode_bn* node : nodes)
            if (joint > 0) joint *= Probability(*node, states);
        total += joint;
        for (std::size_t i = 0; i < sums.size(); ++i)
            sums[i][static_cast<std::size_t>(states[i])] += joint;
        for (at = nodes.N - 1; at >= 0; --at) {
            const auto i = static_cast<std::size_t>(at);
            if (++states[i] < nodes[at]->numStates()) break;
            states[i] = 0;
        }
    }
    for (auto& sum : sums)
        for (double& value : sum) value /= total;
    return {sums, total};
}

TEST(Beliefs, AreTheSumsOverAllStates) {
    int impossible = 0;
    for (unsigned seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(seed);
        SmallNet made(seed);
        const std::vector<const Bnode_bn*> all(made.net->nodes.begin(), made.net->nodes.end());
        const Beliefs beliefs = ComputeBeliefs(*made.net, all, made.evidence);
        const auto [expected, total] = Enumerated(made);
        if (total < 1e-12) {
            ++impossible;
            EXPECT_EQ(beliefs.failure, "the evidence is impossible: its probability is zero");
            continue;
        }
        ASSERT_EQ(beliefs.failure, "");
        for (const Bnode_bn* node : all) {
            const std::vector<double>& belief = beliefs.of.at(node);
            for (std::size_t s = 0; s < belief.size(); ++s)
                ASSERT_NEAR(belief[s], expected[static_cast<std::size_t>(node->place())][s], 1e-6);
        }
        // What is not asked for has no part in it.
        const Bnode_bn* const one = all[seed % all.size()];
        const Beliefs alone = ComputeBeliefs(*made.net, {&one, 1}, made.evidence);
        ASSERT_EQ(alone.of.size(), 1U);
        for (std::size_t s = 0; s < alone.of.at(one).size(); ++s)
            EXPECT_NEAR(alone.of.at(one)[s], beliefs.of.at(one)[s], 1e-9);
    }
    EXPECT_GT(impossible, 5);
    EXPECT_LT(impossible, 200);
}

/// A node that all others hang on is not looked at whole for each of them, and what so many say of
/// it together is no zero.
TEST(Beliefs, AHubCostsLinearTime) {
    const std::unique_ptr<Bnet_bn> net(NewVBNet(DupStr_kt("star")));
    constexpr int leaves = 100'000;
    std::vector<Observation> seen;
    const float numbers[] = {0.25F, 0.75F, 0.75F, 0.25F};
    for (int i = 0; i <= leaves; ++i) {
        Bnode_bn& node = *NewNode_ibn(nullptr, 2, *net, {});
        if (i > 0) AddLink_ibn(*net->nodes[0], node);
        const int count = i > 0 ? 4 : 2;
        XArray<float> table = NewXArray<float>(count);
        std::copy_n(numbers, count, table.get());
        node.setProbsTable(table.release());
        if (i % 2 == 1) seen.push_back({&node, i / 2 % 2});  // which say as much for as against
    }
    const std::vector<const Bnode_bn*> all(net->nodes.begin(), net->nodes.end());
    const Beliefs beliefs = ComputeBeliefs(*net, all, seen);
    ASSERT_EQ(beliefs.failure, "");
    EXPECT_NEAR(beliefs.of.at(all.front())[1], 0.75, 1e-9);
    EXPECT_NEAR(beliefs.of.at(all.back())[1], 0.75 * 0.25 + 0.25 * 0.75, 1e-9);
}

/// What needs more room than there is is told, at once.
TEST(Beliefs, HaveBounds) {
    const std::unique_ptr<Bnet_bn> net(NewVBNet(DupStr_kt("grid"), false));
    constexpr int side = 60;
    for (int i = 0; i < side * side; ++i) {
        Bnode_bn& node = *NewNode_ibn(nullptr, 3, *net, {});
        if (i % side > 0) AddLink_ibn(*net->nodes[i - 1], node);
        if (i >= side) AddLink_ibn(*net->nodes[i - side], node);
        const int numbers = NumProduct(node.parents) * 3;
        XArray<float> table = NewXArray<float>(numbers);
        std::fill_n(table.get(), numbers, 1.0F / 3);
        node.setProbsTable(table.release(), false, CheckFull);
    }
    const std::vector<const Bnode_bn*> all(net->nodes.begin(), net->nodes.end());
    EXPECT_EQ(ComputeBeliefs(*net, all, {}).failure,
              "exact distributions need more room than there is here");
    EXPECT_EQ(ComputeBeliefs(*net, std::span(all).first(1), {}).failure, "");
}

class PictureCli : public Cli {
protected:
    /// Names of the nodes in the picture that the options make of asia.
    std::string nodes(const std::string& options) const {
        const Outcome outcome = run("$L convert " + asia() + " --to svg -o - " + options);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        std::string names;
        constexpr std::string_view id = "id=\"node-";
        for (std::size_t at = outcome.out.find(id); at != std::string::npos;
             at = outcome.out.find(id, at)) {
            at += id.size();
            names +=
                (names.empty() ? "" : " ") + outcome.out.substr(at, outcome.out.find('"', at) - at);
        }
        return names;
    }
    static std::string asia() { return test::Samples() + "/hugin/asia.net"; }
};

TEST_F(PictureCli, APartIsDrawnAlone) {
    const struct {
        const char *options, *nodes;
    } cases[] = {
        {"--only either", "either"},
        {"--only either --only smoke", "smoke either"},
        {"--only either --around parents", "tub lung either"},
        {"--only either --around children", "either xray dysp"},
        {"--only either --around blanket", "tub lung bronc either xray dysp"},
        {"--only 'Tuberculosis?' --around blanket", "asia tub lung either"},
        {"--only either --around ancestors", "asia tub smoke lung either"},
        {"--only lung --around descendants", "lung either xray dysp"},
        {"--only dysp --only smoke --around path", "smoke lung bronc either dysp"},
        {"--only asia --only bronc --around path", "asia tub bronc either dysp"},
    };
    for (const auto& [options, expected] : cases) EXPECT_EQ(nodes(options), expected) << options;
}

TEST_F(PictureCli, PaperHasItsSizeAndNoColours) {
    const Outcome narrow =
        run("$L convert " + asia() + " --to svg -o - --width 85mm --font-size 8 --grey --beliefs");
    EXPECT_NE(narrow.out.find("width=\"85mm\""), std::string::npos);
    EXPECT_NE(narrow.err.find(" pt, not 8: the picture is too wide"), std::string::npos);
    for (std::size_t at = narrow.out.find("\"#"); at != std::string::npos;
         at = narrow.out.find("\"#", at + 1)) {
        const std::string color = narrow.out.substr(at + 2, 6);
        EXPECT_EQ(color, color.substr(0, 2) + color.substr(0, 2) + color.substr(0, 2));
    }
    // A unit is a point where letters of 12 units have 12 points.
    const Outcome wide =
        run("$L convert " + asia() + " --to svg -o - --only tub --width 720pt --font-size 12");
    EXPECT_EQ(wide.err, "");
    EXPECT_NE(wide.out.find("width=\"254mm\""), std::string::npos) << wide.out;
    EXPECT_NE(wide.out.find(" 720 "), std::string::npos) << wide.out;
    const Outcome letters = run("$L convert " + asia() + " --to svg -o - --font-size 9 --only tub");
    EXPECT_NE(letters.out.find("mm\""), std::string::npos);
}

TEST_F(PictureCli, BarsShowThePublishedDistributions) {
    const Outcome outcome =
        run("$L convert " + asia() + " --to svg -o - --beliefs --evidence smoke=yes");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    for (const char* text : {">15.2%<", ">55.3%<", ">10.9%<", ">60.0%<", ">100%<"})
        EXPECT_NE(outcome.out.find(text), std::string::npos) << text;
    const Outcome prior = run("$L convert " + asia() + " --to svg -o - --beliefs");
    for (const char* text : {">11.0%<", ">43.6%<", ">6.5%<", ">5.5%<", ">45.0%<"})
        EXPECT_NE(prior.out.find(text), std::string::npos) << text;
}

TEST_F(PictureCli, MistakesAreNamed) {
    const struct {
        const char* options;
        int code;
        const char* text;
    } cases[] = {
        {"-o x.svg --only dyps", 64, "there is no node 'dyps'"},
        {"-o x.svg --only dysp --around path", 64, "--around path takes two nodes"},
        {"-o x.svg --around blanket", 64, "--around blanket takes a node: --only NODE"},
        {"-o x.svg --evidence smoke", 64, "NODE=STATE is needed"},
        {"-o x.svg --evidence smoke=maybe", 64, "its states: yes, no"},
        {"-o x.svg --evidence smoke=yes --evidence smoke=no", 64, "names node 'smoke' twice"},
        {"-o x.svg --evidence lung=yes --evidence either=no", 74, "the evidence is impossible"},
        {"-o x.svg --width 0mm", 64, "'0mm' is no size, such as 85mm"},
        {"-o x.svg --width 8elbows", 64, "is no size"},
        {"-o x.json --grey", 64, "are of pictures: svg, png, pdf"},
    };
    for (const auto& c : cases) {
        const Outcome outcome = run("$L convert " + asia() + " " + c.options);
        EXPECT_EQ(outcome.code, c.code) << c.options << outcome.err;
        EXPECT_NE(outcome.err.find(c.text), std::string::npos) << c.options << outcome.err;
        EXPECT_FALSE(test::fs::exists(folder / "x.svg")) << c.options;
    }
}

}  // namespace
}  // namespace lumo
