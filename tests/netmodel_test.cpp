// Nets and nodes: names, labels and look-up, states and their texts, attributes, node sets.
#include <climits>
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
    OwnedNet net{NewVBNet(DupStr_kt("test"))};

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

// Whether a node is made with its label or labelled later, all have the same names.
TEST_F(NetModel, NodesMadeWithALabelAreNamedLikeThoseLabelledLater) {
    std::string expected;
    for (const bool atOnce : {false, true}) {
        net.reset(NewVBNet(DupStr_kt("test")));
        int made = 0;
        for (const char* label : {"x", "", "two words", "x", "y", "two_words", "Node_9", "z"}) {
            if (atOnce && NewLabeledNode(label, 2, *net, {1, 2}) != nullptr) {
                ++made;
            } else {
                SetNodeLabel(make(nullptr), DupStr_kt(label));
            }
            if (*label == 0) make(nullptr);
        }
        make(nullptr);
        EXPECT_EQ(made, atOnce ? 2 : 0);
        if (!atOnce) expected = names();
    }
    EXPECT_EQ(names(), expected);
    EXPECT_EQ(net->findNodeLabeled("x"), net->nodes[0]);
    EXPECT_EQ(NewLabeledNode("w", MaxStates + 1, *net, {}), nullptr);
}

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
    for (int i = 0; i < MaxNetStates / MaxStates; ++i) make(nullptr).setStates(MaxStates);
    rept_kt* error = nullptr;
    EXPECT_EQ(NewNode_ibn("more", 1, *net, {}, &error), nullptr);
    EXPECT_EQ(error->number, msg::model.tooManyNetStates.number);
    Bnode_bn& node = *net->nodes[0];
    EXPECT_EQ(node.setStates(7), Okay_rept_kt);
    EXPECT_NE(NewNode_ibn("more", 9, *net, {}), nullptr);

    make("rest").setStates(MaxStates - 16);
    constexpr std::string_view eight[] = {"a", "b", "c", "d", "e", "f", "g", "h"};
    EXPECT_FALSE(node.setFewStates(eight));
    reports.end();
    EXPECT_EQ(seen.reports.size(), 1U);  // of the first node that was too much
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
    node.setStates(2, Strings({"yes", "no"}));
    const struct {
        int number;
        std::function<rept_kt*()> call;
    } cases[] = {
        {msg::model.badStateName.number,
         [&] {
             return node.setStates(2, Strings({"a", "a"}), new double[2]{});
         }},
        {msg::model.badStateName.number,
         [&] {
             return node.setStateNames(Strings({"a", "b c"}));
         }},
        {msg::model.badStateName.number, [&] { return node.setStateName(0, DupStr_kt("b c")); }},
        {msg::model.badStateCount.number, [&] { return node.setStates(-1); }},
        {msg::model.badStateCount.number,
         [&] { return SetStatesToLabels(node, nullptr, MaxStates + 1, false); }},
    };
    for (const auto& c : cases) EXPECT_EQ(c.call()->number, c.number);

    EXPECT_EQ(node.setStateName(2, DupStr_kt("c")), Okay_rept_kt);
    EXPECT_EQ(node.setStateTitle(-1, DupStr_kt("c")), Okay_rept_kt);
    EXPECT_EQ(node.setStateComment(99, DupStr_kt("c")), Okay_rept_kt);
    EXPECT_EQ(seen.count(msg::model.badStateIndex.number), 3);
    EXPECT_EQ(NodeText(node), "nature A at 1,2\n  states yes no\n  none\n");
}

TEST_F(NetModel, StatesNamedOneByOne) {
    Bnode_bn& node = make("A", 3);
    for (int state : {0, 1, 2}) node.setStateName(state, DupStr_kt("s"));
    node.setStateName(0, DupStr_kt("s"));  // its own name is no other's
    node.setStateTitle(1, DupStr_kt("Title"));
    node.setStateComment(2, DupStr_kt("remark"));
    EXPECT_EQ(NodeText(node), "nature A at 1,2\n  states s s2='Title' s3(remark)\n  none\n");

    constexpr int many = 200'000;
    Bnode_bn& large = make("B", many);
    for (int i = 0; i < many; ++i) large.setStateName(i, DupStr_kt("s"));
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
    node.setStates(3, nullptr, new double[3]{1, 2.5, 5});
    node.setStateTitle(0, DupStr_kt(longTitle));
    EXPECT_EQ(text(0), longTitle.substr(0, MaxNameLength));
    EXPECT_EQ(text(1), "2.5");
    node.setStateName(1, DupStr_kt("mid"));
    EXPECT_EQ(text(1), "mid");
    EXPECT_EQ(text(3), "#3");

    node.setDiscrete(ContinuousVar);
    EXPECT_EQ(node.numStates(), 0);
    node.setStates(2, nullptr, new double[3]{0, 10, 20});
    EXPECT_EQ(text(1), "10 to 20");
    EXPECT_EQ(node.variable.numLevels, 3);
}

TEST_F(NetModel, AChangedCountOfStatesDropsTheTablesThatDependOnIt) {
    Bnode_bn &parent = make("P"), &child = make("C"), &other = make("O");
    AddLink_ibn(parent, child);
    for (Bnode_bn* node : {&parent, &child, &other}) {
        float* table = static_cast<float*>(xmallocf_kt(16));
        std::fill_n(table, 4, 0.5F);
        node->setProbsTable(table);
    }
    parent.setStates(2, Strings({"a", "b"}));
    EXPECT_NE(child.relation.probs, nullptr);
    parent.setStates(3);
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
    EXPECT_EQ(net->newNodeset("first"), first);
    while (net->nodesets().size() < std::size_t{MaxNodesets}) {
        net->newNodeset(("set" + std::to_string(net->nodesets().size())).c_str(), nullptr, nullptr);
    }
    EXPECT_EQ(net->newNodeset("more"), nullptr);
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

// ---- The drawing
// ------------------------------------------------------------------------------------

struct Drawing {
    OwnedNet net{NewVBNet(DupStr_kt("test"))};
    Vnet_kt& vnet = *net->vnets[0];

    explicit Drawing(std::vector<coord_kt> places) {
        int i = 0;
        for (const coord_kt at : places) {
            NewNode_ibn(("n" + std::to_string(i++)).c_str(), 2, *net, at);
        }
    }
    std::vector<int> extent() const {
        rect_kt r;
        vnet.findExtent(r);
        return {r.left, r.top, r.right, r.bottom};
    }
    std::vector<int> sizeFor(coord_kt margin) {
        vnet.adjustDrawingSizeToFit(margin);
        return {vnet.extent().x, vnet.extent().y};
    }
};

TEST(Drawing, ExtentIsThatOfThePositions) {
    EXPECT_EQ(Drawing({}).extent(), (std::vector<int>{0, 0, 0, 0}));
    EXPECT_EQ(Drawing({{7, -3}}).extent(), (std::vector<int>{7, -3, 7, -3}));
    EXPECT_EQ(Drawing({{100, 20}, {-5, 40}, {60, -8}}).extent(),
              (std::vector<int>{-5, -8, 100, 40}));
    EXPECT_EQ(Drawing({{INT_MIN, 0}, {INT_MAX, 1}}).extent(),
              (std::vector<int>{INT_MIN, 0, INT_MAX, 1}));
}

TEST(Drawing, SizeIsThatOfThePositionsPlusTheMargin) {
    EXPECT_EQ(Drawing({{100, 20}, {60, 90}}).sizeFor({40, 20}), (std::vector<int>{140, 110}));
    EXPECT_EQ(Drawing({}).sizeFor({40, 20}), (std::vector<int>{40, 20}));
    EXPECT_EQ(Drawing({{INT_MAX, INT_MIN}}).sizeFor({40, 20}), (std::vector<int>{INT_MAX, 0}));
}

TEST(Drawing, MovesAreClampedToTheIntRange) {
    struct Case {
        coord_kt from, offset, to;
    };
    const Case cases[] = {{{10, 20}, {5, -30}, {15, -10}},
                          {{INT_MAX, INT_MIN}, {1, -1}, {INT_MAX, INT_MIN}},
                          {{INT_MIN, INT_MAX}, {INT_MIN, INT_MAX}, {INT_MIN, INT_MAX}},
                          {{INT_MIN, 0}, {INT_MAX, 0}, {-1, 0}}};
    for (const Case& c : cases) {
        Vnode_kt moved{c.from, nullptr};
        moved.moveBy(c.offset, 1);
        EXPECT_EQ(moved.position(), c.to) << c.from.x << ' ' << c.offset.x;
        Vnode_kt shifted{c.from, nullptr};
        shifted.shiftBy(c.offset);
        EXPECT_EQ(shifted.position(), c.to) << c.from.x << ' ' << c.offset.x;
    }
}

TEST(Drawing, SetPositionMovesTheVisualNode) {
    Drawing drawing({{0, 0}, {1, 1}});
    SetNodeVisPosition_ibn(*drawing.net->nodes[1], {30, 40}, nullptr);
    EXPECT_EQ(drawing.vnet.vnodes[1]->position(), (coord_kt{30, 40}));
    SetNodeVisPosition_ibn(*drawing.net->nodes[0], {50, 60}, &drawing.vnet);
    EXPECT_EQ(drawing.vnet.vnodes[0]->position(), (coord_kt{50, 60}));
    SetNodeVisPosition_ibn(*drawing.net->nodes[0], {70, 80}, Drawing({}).net->vnets[0]);
    EXPECT_EQ(drawing.vnet.vnodes[0]->position(), (coord_kt{50, 60})) << "a drawing of another net";
}

TEST(Drawing, FontsAreMadeFromOtherFonts) {
    fontspec_kt base;
    base.face = "Courier";
    base.size = 9;
    base.styleFlags = fontspec_kt::Bold | fontspec_kt::Italic;
    struct Case {
        const char* face;
        int size;
        const fontspec_kt* base;
        const char* expected;
    };
    const Case cases[] = {
        {nullptr, -1, nullptr, "Arial 12 0"},      {"Times", -1, nullptr, "Times 12 0"},
        {nullptr, -1, &base, "Courier 9 3"},       {nullptr, 14, &base, "Courier 14 3"},
        {"Helvetica", -1, &base, "Helvetica 9 3"}, {"", 0, &base, " 0 3"}};
    for (const Case& c : cases) {
        const Fontobjv* font = NewFont_fc(c.face, c.size, c.base);
        const fontspec_kt& got = font->spec();
        EXPECT_EQ(Format("%s %d %d", got.face.c_str(), got.size, got.styleFlags), c.expected);
        FreeFont_fc(font);
    }
    FreeFont_fc(nullptr);
}

TEST(Drawing, StylesAreCopiedAndTheirNamesCut) {
    Drawing drawing({});
    const std::string letters = "abcdefghijklmnopqrstuvwxyz0123456789";
    vect_kt<NodesetStyle> styles;
    styles.append({});
    styles[0].setName(letters.c_str());
    styles[0].red = 10;
    drawing.vnet.setNodesetStyles(styles, nullptr);
    styles[0].setName("ab");
    styles[0].red = 20;

    ASSERT_EQ(drawing.vnet.nodesetStyles.N, 1);
    EXPECT_EQ(drawing.vnet.nodesetStyles[0].name, letters.substr(0, 31));
    EXPECT_EQ(drawing.vnet.nodesetStyles[0].red, 10);
    EXPECT_EQ(std::string(styles[0].name, 32), "ab" + std::string(30, '\0'));
    styles[0].setName(nullptr);
    EXPECT_STREQ(styles[0].name, "");
}

}  // namespace
}  // namespace lumo::test
