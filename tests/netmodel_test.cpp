// Nets and nodes: names, labels and look-up, states and their texts, attributes, node sets.
#include <functional>

#include "library/model/messages.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

char** Strings(const std::vector<const char*>& texts) {
    char** array = new char*[texts.size()];
    for (std::size_t i = 0; i < texts.size(); ++i) array[i] = DupStr_kt(texts[i]);
    return array;
}

std::string StateTexts(char* const* texts, int count) {
    if (texts == nullptr) return "none";
    std::string out;
    for (int i = 0; i < count; ++i) out += (i ? " " : "") + std::string(texts[i] ? texts[i] : "-");
    return out;
}

class NetModel : public ::testing::Test {
protected:
    Collector seen;
    HandlerScope handler{seen};
    ReportScope reports;
    OwnedNet net{NewVBNet(DupStr_kt("test"), false)};

    Bnode_bn& make(const char* name, int states = 2) {
        return *NewNode_ibn(name, states, *net, {1, 2});
    }
    std::string names() const {
        std::string out;
        for (const Bnode_bn* node : net->nodes) {
            out += std::string(node->name()) + (node->title ? "=" + std::string(node->title) : "") +
                   ' ';
        }
        return out;
    }
};

TEST_F(NetModel, NodesAreNamedApartAndFoundAsWritten) {
    // Each node is made with the name (null: made up), then labelled (null: not at all).
    const struct {
        const char *name, *label, *expected;
    } steps[] = {
        {"A", nullptr, "A"},
        {"a b", nullptr, "a_b"},        // a text whose legal form is free
        {"a-b", nullptr, "a_b2"},       // another text, the same legal form
        {"a_b", nullptr, "a_b3"},       // a legal text that was taken by a legal form
        {nullptr, nullptr, "Node_1"},   // made up
        {nullptr, "Node_1", "Node_1"},  // the made-up name gives way
        {nullptr, "two words", "two_words"},
        {nullptr, "9", "N9"},
        {nullptr, "A", "A2"},  // labelled like an earlier node
        {nullptr, "", "N"},
    };
    for (const auto& step : steps) {
        Bnode_bn& node = make(step.name);
        if (step.label != nullptr) {
            EXPECT_EQ(SetNodeLabel(node, DupStr_kt(step.label)), Okay_rept_kt);
        }
        EXPECT_STREQ(node.name(), step.expected);
    }
    EXPECT_EQ(names(), "A a_b a_b2 a_b3 Node_3 Node_1 two_words=two words N9=9 A2=A N= ");
    EXPECT_EQ(seen.text(),
              "-5081 0:0 another node is labelled 'A' already; this one is named 'A2'\n");

    const struct {
        const char* text;
        int node;
    } lookups[] = {{"A", 0},    {"a b", 1},       {"a-b", 2},       {"a_b", 3},  {"a_b2", 2},
                   {"a+b", -1}, {"two words", 6}, {"two_words", 6}, {"9", 7},    {"A2", 8},
                   {"", 9},     {"absent", -1},   {"*", -1},        {"温度", -1}};
    for (const auto& lookup : lookups) {
        const Bnode_bn* expected = lookup.node < 0 ? nullptr : net->nodes[lookup.node];
        EXPECT_EQ(net->findNodeLabeled(lookup.text), expected) << lookup.text;
    }
    net->nodes[0]->setTitle(DupStr_kt("a title"));
    EXPECT_EQ(net->findNodeLabeled("a title"), nullptr);
    SetNodeLabel(*net->nodes[6], DupStr_kt("other"));
    EXPECT_EQ(net->nodes[6]->title, nullptr);
    EXPECT_EQ(net->findNodeLabeled("two words"), nullptr);
    EXPECT_EQ(net->findNodeLabeled("other"), net->nodes[6]);
    ExpectConsistent(net.get());
}

TEST_F(NetModel, RefusedNodesLeaveTheNetAsItWas) {
    make("A");
    make("a b");
    const struct {
        const char* name;
        int states, number;
    } cases[] = {{"A", 2, msg::model.nodeExists.number},
                 {"a b", 2, msg::model.nodeExists.number},
                 {"B", -1, msg::model.badStateCount.number},
                 {"B", MaxStates + 1, msg::model.badStateCount.number}};
    for (const auto& c : cases) {
        rept_kt* error = nullptr;
        EXPECT_EQ(NewNode_ibn(c.name, c.states, *net, {}, &error), nullptr);
        EXPECT_EQ(error->number, c.number);
    }
    EXPECT_EQ(names(), "A a_b ");
    EXPECT_EQ(net->vnets[0]->vnodes.N, 2);
}

TEST_F(NetModel, StatesOfAWholeNetAreLimited) {
    for (int i = 0; i < MaxNetStates / MaxStates; ++i)
        make(nullptr).setStates(MaxStates, nullptr, nullptr, nullptr, nullptr, CheckFull);
    rept_kt* error = nullptr;
    EXPECT_EQ(NewNode_ibn("more", 1, *net, {}, &error), nullptr);
    EXPECT_EQ(error->number, msg::model.tooManyNetStates.number);
    Bnode_bn& node = *net->nodes[0];
    EXPECT_EQ(node.setStates(7, nullptr, nullptr, nullptr, nullptr, CheckFull), Okay_rept_kt);
    EXPECT_NE(NewNode_ibn("more", 9, *net, {}), nullptr);
}

TEST_F(NetModel, ManyEqualTextsStayLinear) {
    constexpr int count = 100'000;
    const std::string stem(251, 'x');
    for (int i = 0; i < count; ++i) {
        make(nullptr);
        // Equal labels, and pairs of equal long names that have no room for a number.
        const std::string label = i % 2 == 0 ? "same" : stem + std::to_string(1000 + i / 4 % 9000);
        SetNodeLabel(*net->nodes[i], DupStr_kt(label));
    }
    EXPECT_EQ(net->findNodeLabeled("same"), net->nodes[0]);
    EXPECT_STREQ(net->nodes[count - 2]->name(), "same50000");
    ExpectConsistent(net.get());
}

TEST_F(NetModel, StatesFromLabels) {
    const struct {
        std::vector<const char*> labels;
        bool create;
        const char *names, *titles;
    } cases[] = {
        {{"yes", "no"}, false, "yes no", "none"},
        {{"yes", "not so"}, false, "none", "yes not so"},
        {{"yes", "not so"}, true, "yes not_so", "yes not so"},
        {{"on", "on"}, true, "on on2", "on on"},
        {{" yes", nullptr}, false, "none", " yes -"},
        {{}, false, "", "none"},
    };
    for (const auto& c : cases) {
        Bnode_bn& node = make(nullptr, 3);
        const int count = static_cast<int>(c.labels.size());
        EXPECT_EQ(SetStatesToLabels(node, Strings(c.labels), count, c.create), Okay_rept_kt);
        EXPECT_EQ(node.numStates(), count);
        EXPECT_EQ(StateTexts(node.variable.stateNames, count), c.names);
        EXPECT_EQ(StateTexts(node.variable.stateTitles, count), c.titles);
    }
}

TEST_F(NetModel, RefusedStatesChangeNothing) {
    Bnode_bn& node = make("A");
    node.setStates(2, Strings({"yes", "no"}), nullptr, nullptr, nullptr, CheckFull);
    const struct {
        int number;
        std::function<rept_kt*()> call;
    } cases[] = {
        {msg::model.badStateName.number,
         [&] {
             return node.setStates(2, Strings({"a", "a"}), new double[2]{}, nullptr, nullptr,
                                   CheckFull);
         }},
        {msg::model.badStateName.number,
         [&] {
             return node.setStateNames(Strings({"a", "b c"}), CheckFull);
         }},
        {msg::model.badStateName.number,
         [&] { return node.setStateName(0, DupStr_kt("b c"), 0, CheckFull); }},
        {msg::model.badStateCount.number,
         [&] { return node.setStates(-1, nullptr, nullptr, nullptr, nullptr, CheckFull); }},
        {msg::model.badStateCount.number,
         [&] { return SetStatesToLabels(node, nullptr, MaxStates + 1, false); }},
    };
    for (const auto& c : cases) EXPECT_EQ(c.call()->number, c.number);

    EXPECT_EQ(node.setStateName(2, DupStr_kt("c"), 0, CheckFull), Okay_rept_kt);
    EXPECT_EQ(node.setStateTitle(-1, DupStr_kt("c"), CheckFull), Okay_rept_kt);
    EXPECT_EQ(node.setStateComment(99, DupStr_kt("c")), Okay_rept_kt);
    EXPECT_EQ(seen.count(msg::model.badStateIndex.number), 3);
    EXPECT_EQ(NodeText(node), "nature A at 1,2\n  states yes no\n  none\n");
}

TEST_F(NetModel, StatesNamedOneByOne) {
    Bnode_bn& node = make("A", 3);
    for (int state : {0, 1, 2}) node.setStateName(state, DupStr_kt("s"), 0, CheckFull);
    node.setStateName(0, DupStr_kt("s"), 0, CheckFull);  // its own name is no other's
    node.setStateTitle(1, DupStr_kt("Title"), CheckFull);
    node.setStateComment(2, DupStr_kt("remark"));
    EXPECT_EQ(NodeText(node), "nature A at 1,2\n  states s s2='Title' s3(remark)\n  none\n");

    constexpr int many = 200'000;
    Bnode_bn& large = make("B", many);
    for (int i = 0; i < many; ++i) large.setStateName(i, DupStr_kt("s"), 0, CheckFull);
    EXPECT_STREQ(large.variable.stateNames[many - 1], "s200000");
}

TEST_F(NetModel, AStateInWords) {
    Bnode_bn& node = make("A", 3);
    const std::string longTitle(400, 't');
    char buffer[StateTextSize];
    const auto text = [&](int state) {
        return std::string(statetostr1(state, node.variable, buffer));
    };
    EXPECT_EQ(text(1), "#1");
    node.setStates(3, nullptr, new double[3]{1, 2.5, 5}, nullptr, nullptr, CheckFull);
    node.setStateTitle(0, DupStr_kt(longTitle), CheckFull);
    EXPECT_EQ(text(0), longTitle.substr(0, MaxNameLength));
    EXPECT_EQ(text(1), "2.5");
    node.setStateName(1, DupStr_kt("mid"), 0, CheckFull);
    EXPECT_EQ(text(1), "mid");
    EXPECT_EQ(text(3), "#3");

    node.setDiscrete(ContinuousVar, false, CheckFull);
    EXPECT_EQ(node.numStates(), 0);
    node.setStates(2, nullptr, new double[3]{0, 10, 20}, nullptr, nullptr, CheckFull);
    EXPECT_EQ(text(1), "10 to 20");
    EXPECT_EQ(node.variable.numLevels, 3);
}

TEST_F(NetModel, AChangedCountOfStatesDropsTheTablesThatDependOnIt) {
    Bnode_bn &parent = make("P"), &child = make("C"), &other = make("O");
    AddLink_ibn(parent, child);
    for (Bnode_bn* node : {&parent, &child, &other}) {
        float* table = static_cast<float*>(xmallocf_kt(16));
        std::fill_n(table, 4, 0.5F);
        node->setProbsTable(table, false, CheckFull);
    }
    parent.setStates(2, Strings({"a", "b"}), nullptr, nullptr, nullptr, CheckFull);
    EXPECT_NE(child.relation.probs, nullptr);
    parent.setStates(3, nullptr, nullptr, nullptr, nullptr, CheckFull);
    EXPECT_EQ(parent.relation.kind, RelnKindEN::none);
    EXPECT_EQ(child.relation.kind, RelnKindEN::none);
    EXPECT_EQ(other.relation.kind, RelnKindEN::table);
}

TEST_F(NetModel, UserFieldsKeepTheirOrderAndBytes) {
    Bnode_bn& node = make("A");
    EXPECT_TRUE(node.userFields().empty());
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 50; ++i) {
            const std::string data = std::to_string(i + round) + std::string("\0x", 2);
            node.setUserField(("field" + std::to_string(i)).c_str(), data.data(),
                              static_cast<int>(data.size()));
        }
    }
    node.setUserField("empty", nullptr, 0);
    ASSERT_EQ(node.userFields().size(), 51U);
    for (int i = 0; i < 50; ++i) {
        const UserField& field = node.userFields()[static_cast<std::size_t>(i)];
        EXPECT_EQ(field.name, "field" + std::to_string(i));
        EXPECT_EQ(field.data, std::to_string(i + 1) + std::string("\0x", 2));
    }
}

TEST_F(NetModel, NodeSets) {
    Bnode_bn& node = make("A");
    for (const char* set : {"first", "second", "first"}) AddNodeToNodeset_ibn(node, set);
    nodeset_bn* first = net->findNodeset("first");
    EXPECT_EQ(first->nodes().N, 1);
    EXPECT_EQ(node.nodesets().size(), 2U);
    EXPECT_EQ(net->newNodeset("first", nullptr, nullptr), first);
    while (net->nodesets().size() < std::size_t{MaxNodesets}) {
        net->newNodeset(("set" + std::to_string(net->nodesets().size())).c_str(), nullptr, nullptr);
    }
    EXPECT_EQ(net->newNodeset("more", nullptr, nullptr), nullptr);
    EXPECT_EQ(AddNodeToNodeset_ibn(node, "more")->number, msg::model.tooManyGroups.number);
    EXPECT_EQ(AddNodeToNodeset_ibn(node, "second"), Okay_rept_kt);
}

TEST_F(NetModel, NamesInWordsAndProducts) {
    BndList_bn list;
    EXPECT_EQ(NumProduct(list), 1);
    for (const char* name : {"one", "two", "three"}) list.append(&make(name, 2000));
    EXPECT_EQ(NumProduct(list), INT_MAX);
    const struct {
        int limit;
        const char* text;
    } cases[] = {
        {60, "one, two, three"}, {15, "one, two, three"}, {14, "one, two, t..."}, {2, ".."}};
    for (const auto& c : cases) {
        strin_kt out;
        NodeNamesToStr(list, ", ", c.limit, out);
        EXPECT_EQ(out.view(), c.text);
    }
    list.append(&make("none", 0));
    EXPECT_EQ(NumProduct(list), 0);
}

}  // namespace
}  // namespace lumo::test
