// Relations: whole tables, rows set one by one, normalising and checks, noisy-max.
#include <numeric>

#include "library/model/messages.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

constexpr int Any = AnyParentState;
constexpr float NaN = std::numeric_limits<float>::quiet_NaN();
constexpr float Infinity = std::numeric_limits<float>::infinity();

XArray<float> Table(const std::vector<float>& values) {
    XArray<float> table = NewXArray<float>(static_cast<long long>(values.size()));
    std::copy(values.begin(), values.end(), table.get());
    return table;
}

/// A child C with the parents A (yes, no) and B (low, mid, high).
class Relation : public ::testing::Test {
protected:
    Collector seen;
    HandlerScope handler{seen};
    ReportScope reports;
    OwnedNet net{NewVBNet(DupStr_kt("test"))};
    Bnode_bn& a = make("A", {"yes", "no"});
    Bnode_bn& b = make("B", {"low", "mid", "high"});
    Bnode_bn& c = make("C", {"on", "off"});
    Reln_bn& relation = c.relation;

    Relation() {
        AddLink_ibn(a, c);
        AddLink_ibn(b, c);
    }
    Bnode_bn& make(const char* name, const std::vector<const char*>& states) {
        const int count = static_cast<int>(states.size());
        Bnode_bn& node = *NewNode_ibn(name, count, *net, {});
        for (int s = 0; s < count; ++s) {
            node.setStateName(s, DupStr_kt(states[static_cast<std::size_t>(s)]));
        }
        return node;
    }
    rept_kt* set(const std::vector<float>& values, bool normalized = false) {
        return c.setProbsTable(Table(values).release(), normalized);
    }
    rept_kt* setRow(int stateOfA, int stateOfB, const std::vector<float>& row) {
        const int states[] = {stateOfA, stateOfB};
        return c.setProbsEntry2(states, row.data());
    }
    std::string probs() const {
        return relation.probs == nullptr ? "none" : TableText(relation.probs, NumProduct(c.family));
    }
};

TEST_F(Relation, BadEntriesAreRefused) {
    set({1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0});
    const struct {
        float bad;
        const char* message;
    } cases[] = {
        {NaN, "the table of node 'C' holds nan for state off, row A=no, B=low"},
        {Infinity, "the table of node 'C' holds inf for state off, row A=no, B=low"},
        {-0.25F, "the table of node 'C' holds -0.25 for state off, row A=no, B=low"},
    };
    for (const auto& each : cases) {
        const rept_kt* report = set({0, 1, 0, 1, 0, 1, 0, each.bad, 0, 1, each.bad, 1});
        EXPECT_EQ(report->number, msg::model.badTableEntry.number);
        EXPECT_STREQ(report->message, each.message);
        EXPECT_EQ(probs(), "1 0 1 0 1 0 1 0 1 0 1 0") << "nothing is installed";
    }
    EXPECT_EQ(set({0, 1, 0, 1, 0, 1, -1e-6F, 1, -1e-6F, 1, 0, 1}), Okay_rept_kt);
    EXPECT_EQ(probs(), "0 1 0 1 0 1 0 1 0 1 0 1");
    EXPECT_EQ(
        seen.text(),
        "-5089 0:0 the table of node 'C' holds negative numbers close to 0, which become 0\n");
}

TEST_F(Relation, RealTablesTakeAnyFiniteNumbers) {
    c.setKind(UtilityNode);
    EXPECT_EQ(set({-1, 2, -3, 4, -5, 6, -7, 8, -9, 10, -11, 12}), Okay_rept_kt);
    EXPECT_EQ(relation.kind, RelnKindEN::real);
    EXPECT_FLOAT_EQ(relation.reals[10], -11);
    c.setDiscrete(ContinuousVar);
    EXPECT_EQ(relation.reals, nullptr);
    EXPECT_EQ(set({-1, 2, -3, 4, -5, 6}), Okay_rept_kt);
    EXPECT_FALSE(relation.makeDeterminFromProbs());
    EXPECT_STREQ(relation.setRealTable(Table({1, 2, 3, 4, NaN, 6}).release())->message,
                 "the table of node 'C' holds nan for state #0, row A=no, B=mid");
    EXPECT_FLOAT_EQ(relation.reals[0], -1);
}

TEST_F(Relation, TooLargeTablesAreRefusedBeforeAnythingIsMade) {
    for (int i = 0; i < 30; ++i)
        AddLink_ibn(make(("P" + std::to_string(i)).c_str(), {"0", "1"}), c);
    const std::vector<int> states(32, Any);
    const float row[] = {0.5, 0.5};
    const char* message =
        "the table of node 'C' wants 12884901888 entries, but the limit is 134217728";
    EXPECT_STREQ(c.setProbsEntry2(states.data(), row)->message, message);
    EXPECT_STREQ(set({1})->message, message);
    const std::vector<double> params(static_cast<std::size_t>(NumCIParams(c)), 0.5);
    EXPECT_STREQ(c.makeIntoNoisyMax(params.data(), false)->message, message);
    EXPECT_EQ(relation.kind, RelnKindEN::none);
    EXPECT_EQ(c.makeIntoNoisyMax(params.data(), true), Okay_rept_kt);

    // A parent without states leaves no rows, whatever the others would make.
    AddLink_ibn(*NewNode_ibn("none", 0, *net, {}), c);
    const std::vector<int> all(33, Any);
    EXPECT_EQ(c.setProbsEntry2(all.data(), row), Okay_rept_kt);
    EXPECT_EQ(relation.probs, nullptr);
}

TEST_F(Relation, DefaultsOfAShortFileBuyNoEndlessTables) {
    Bnode_bn& wide = make("W", {"w"});
    wide.setStates(2);
    for (int i = 0; i < 24; ++i)
        AddLink_ibn(make(("P" + std::to_string(i)).c_str(), {"x", "y"}), wide);
    const std::vector<int> states(24, Any);
    const float row[] = {0.5, 0.5};
    int fills = 0;
    while (fills < 1000 && !IsError(wide.setProbsEntry2(states.data(), row))) ++fills;
    EXPECT_GT(fills, 8);
    EXPECT_LT(fills, 32);
}

TEST_F(Relation, RowsByPatternInTheOrderGiven) {
    const struct {
        int stateOfA, stateOfB;
        std::vector<float> row;
        const char* table;
    } steps[] = {
        {0, 1, {1, 0}, "0 0 1 0 0 0 0 0 0 0 0 0"},
        {Any, 2, {0.25, 0.75}, "0 0 1 0 0.25 0.75 0 0 0 0 0.25 0.75"},
        {1, Any, {0, 1}, "0 0 1 0 0.25 0.75 0 1 0 1 0 1"},
        {Any, Any, {0.5, 0.5}, "0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5"},
        {1, 0, {-1e-7F, 1}, "0.5 0.5 0.5 0.5 0.5 0.5 0 1 0.5 0.5 0.5 0.5"},
    };
    for (const auto& step : steps) {
        EXPECT_EQ(setRow(step.stateOfA, step.stateOfB, step.row), Okay_rept_kt);
        EXPECT_EQ(probs(), step.table);
    }
    EXPECT_EQ(seen.count(msg::model.roundingNoise.number), 1);
    EXPECT_EQ(seen.count(msg::model.rowAgain.number), 1)
        << "by the default behind rows; no pattern does";
    EXPECT_EQ(seen.reports.size(), 2U);

    EXPECT_EQ(setRow(2, 0, {0, 1})->number, msg::model.badParentState.number);
    EXPECT_STREQ(setRow(0, -1, {0, 1})->message,
                 "state -1 of node 'B' is wanted for a row of node 'C', but it has 3 states");
    EXPECT_EQ(setRow(0, 0, {NaN, 1})->number, msg::model.badTableEntry.number);
    EXPECT_EQ(probs(), steps[4].table);
}

TEST_F(Relation, MissingAndRepeatedRowsAreTold) {
    setRow(0, 1, {1, 0});
    setRow(0, 1, {0, 1});
    setRow(0, 1, {1, 0});
    setRow(Any, 2, {1, 0});
    c.finishRows();
    c.finishRows();
    EXPECT_EQ(seen.text(),
              "-5093 0:0 a row of node 'C' is given again, and the later one counts: A=yes, B=mid\n"
              "-5092 0:0 3 of the 6 rows of node 'C' are missing, and are zeros\n");
    EXPECT_EQ(probs(), "0 0 1 0 1 0 0 0 0 0 1 0");
    setRow(0, 0, {0, 1});  // rows of the table that is there count as given
    c.finishRows();
    EXPECT_EQ(seen.reports.size(), 2U);
}

TEST_F(Relation, NormalizingTurnsCountsIntoExperience) {
    set({1, 3, 0.5, 0.5, 0, 0, 10, 0, 0.25, 0.75, 4, 4});
    relation.normalize_();
    EXPECT_EQ(probs(), "0.25 0.75 0.5 0.5 0 0 1 0 0.25 0.75 0.5 0.5");
    EXPECT_EQ(TableText(relation.exper, 6), "4 1 1 10 1 8");
    EXPECT_TRUE(relation.rowsNormalized);
    EXPECT_EQ(seen.text(), "-5090 0:0 a row of node 'C' sums to 0: A=yes, B=high\n");

    relation.setExperTable(Table({1, 2, 3, 4, 5, 6}).release());
    relation.normalize_();
    EXPECT_EQ(TableText(relation.exper, 6), "1 2 3 4 5 6");
    relation.setExperTable(nullptr);
    EXPECT_EQ(relation.exper, nullptr);

    float values[] = {0.997F, 1.003F, 2.0041F, -0.003F, 7};
    SnapToInteger_kt(values, 5, 0.004);
    EXPECT_EQ(TableText(values, 5), "1 1 2.0041 0 7");
    SnapToInteger_kt(nullptr, 5, 0.004);
}

TEST_F(Relation, DeterministicRowsHoldASingleOne) {
    const struct {
        std::vector<float> table;
        bool deterministic;
    } cases[] = {
        {{1, 0, 0, 1, 1, 0, 1, 0, 0, 1, 0, 1}, true},
        {{1, 0, 0, 1, 1, 0, 1, 0, 0, 1, 1, 1}, false},
        {{1, 0, 0, 0, 1, 0, 1, 0, 0, 1, 0, 1}, false},
        {{1, 0, 0, 1, 1, 0, 1, 0, 0, 1, 1e-30F, 1}, false},
    };
    for (const auto& each : cases) {
        set(each.table);
        EXPECT_EQ(relation.makeDeterminFromProbs(), each.deterministic);
        EXPECT_EQ(relation.kind,
                  each.deterministic ? RelnKindEN::deterministic : RelnKindEN::table);
    }
}

TEST_F(Relation, RowSumsAreChecked) {
    const struct {
        std::vector<float> table;
        NodeKindEN kind;
        const char* reports;
    } cases[] = {
        {{0.5, 0.5, 0.4F, 0.6005F, 1, 0, 0, 1, 1, 0, 0.5, 0.5}, NatureNode, ""},
        {{1, 0, 1, 0, 0.5, 0.4F, 0, 1, 1, 0, 0.7F, 0.5},
         NatureNode,
         "-5091 0:0 row A=yes, B=high of node 'C' sums to 0.9\n"},
        {{0, 0, 1, 0, 1, 0, 0, 0, 1, 0, 0, 0},
         NatureNode,
         "-5090 0:0 a row of node 'C' sums to 0: A=yes, B=low\n"},
        {{0.1F, 0.2F, 0.3F, 0.4F, 0.5, 0.6F, 0.9F, 0.8F, 0.7F, 0.6F, 0.5, 0.4F},
         NatureNode,
         "-5091 0:0 row A=yes, B=low of node 'C' sums to 0.3; all would sum to 1 if the table were "
         "read with the state of the node varying slowest\n"},
        {{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}, DecisionNode, ""},
        {{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}, UtilityNode, ""},
    };
    for (const auto& each : cases) {
        c.setKind(each.kind);
        set(each.table);
        c.checkRowSums();
        EXPECT_EQ(seen.text(), each.reports);
        seen.reports.clear();
    }
    const float row[] = {0.2F, 0.7F};
    a.setProbsEntry2(nullptr, row);
    a.checkRowSums();
    EXPECT_EQ(seen.text(), "-5091 0:0 row of node 'A' sums to 0.9\n");
}

TEST_F(Relation, TablesSaidToBeNormalizedTellTheirRowsOfZeros) {
    float table[] = {3, 1, 0, 0, 1, 1, 2, 2, 0, 0, 1, 0};
    EXPECT_EQ(NormalizeBelvecTable(table, 2, 6), 2);
    set(std::vector<float>(table, table + 12), true);
    EXPECT_EQ(probs(), "0.75 0.25 0 0 0.5 0.5 0.5 0.5 0 0 1 0");
    EXPECT_EQ(seen.text(), "-5090 0:0 a row of node 'C' sums to 0: A=yes, B=mid\n");
}

// ---- Noisy-max -----------------------------------------------------------------------------

/// Random noisy-max parameters: distributions over the child's states.
std::vector<double> RandomParams(std::mt19937& random, int distributions, int states) {
    std::vector<double> params;
    for (int d = 0; d < distributions; ++d) {
        std::vector<double> weights(static_cast<std::size_t>(states));
        for (double& w : weights) w = static_cast<double>(random() % 100 + (random() % 3 ? 0 : 1));
        weights[random() % weights.size()] += 1;
        const double sum = std::accumulate(weights.begin(), weights.end(), 0.0);
        for (const double w : weights) params.push_back(w / sum);
    }
    return params;
}

/// The table by enumerating every joint outcome of the draws.
std::vector<double> ByEnumeration(const std::vector<double>& params, int states,
                                  const std::vector<int>& parents) {
    const auto size = [](int n) { return static_cast<std::size_t>(n); };
    int rows = 1;
    for (int n : parents) rows *= n;
    std::vector<double> table(size(rows * states));
    for (int row = 0; row < rows; ++row) {
        std::vector<std::size_t> draws;  // where each active distribution starts
        std::size_t start = 0;
        int rest = row, below = rows;
        for (int n : parents) {
            below /= n;
            const int state = rest / below;
            rest %= below;
            if (state > 0) draws.push_back(start + size((state - 1) * states));
            start += size((n - 1) * states);
        }
        draws.push_back(start);
        std::vector<int> outcome(draws.size());
        for (bool more = true; more;) {
            double p = 1;
            for (std::size_t i = 0; i < draws.size(); ++i) p *= params[draws[i] + size(outcome[i])];
            table[size(row * states + *std::max_element(outcome.begin(), outcome.end()))] += p;
            more = false;
            for (int& o : outcome) {
                if ((more = ++o < states)) break;
                o = 0;
            }
        }
    }
    return table;
}

TEST(NoisyMax, IsTheDistributionOfTheMaximum) {
    std::mt19937 random(11);
    const std::vector<int> families[] = {{}, {2}, {4}, {2, 3}, {3, 1, 2}, {2, 3, 4}, {4, 3, 2, 2}};
    for (const std::vector<int>& parents : families) {
        for (int states = 1; states <= 4; ++states) {
            OwnedNet net(NewVBNet(DupStr_kt("net")));
            Bnode_bn& child = *NewNode_ibn("child", states, *net, {});
            for (int n : parents) AddLink_ibn(*NewNode_ibn(nullptr, n, *net, {}), child);
            const int count = NumCIParams(child);
            const std::vector<double> params = RandomParams(random, count / states, states);
            const std::vector<double> expected = ByEnumeration(params, states, parents);
            ASSERT_EQ(child.makeIntoNoisyMax(params.data(), false), Okay_rept_kt);
            ASSERT_EQ(static_cast<int>(expected.size()), NumProduct(child.family));
            for (std::size_t i = 0; i < expected.size(); ++i) {
                ASSERT_NEAR(child.relation.probs[i], expected[i], 1e-6) << i;
            }
            EXPECT_FALSE(child.relation.makeDeterminFromProbs());
            ASSERT_EQ(child.makeIntoNoisyMax(params.data(), true), Okay_rept_kt);
            EXPECT_EQ(child.relation.probs, nullptr);
            EXPECT_EQ(std::vector<double>(child.relation.params, child.relation.params + count),
                      params);
        }
    }
}

}  // namespace
}  // namespace lumo::test
