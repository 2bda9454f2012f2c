// Links in patterns, and nets made at random, as hostile as the model allows.
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "library/model/netmodel.h"

namespace lumo::test {

using Links = std::vector<std::pair<int, int>>;  ///< parents and children

inline Links Star(int leaves) {
    Links links;
    for (int i = 1; i <= leaves; ++i) links.emplace_back(0, i);
    return links;
}

/// `count` links from a node to one at most `reach` further on.
inline Links Random(int nodes, int count, int reach, unsigned seed) {
    std::mt19937 random(seed);
    std::set<std::pair<int, int>> links;
    while (static_cast<int>(links.size()) < count) {
        const int from = static_cast<int>(random() % static_cast<unsigned>(nodes - 1));
        const int step = 1 + static_cast<int>(random() % static_cast<unsigned>(reach));
        links.emplace(from, std::min(nodes - 1, from + step));
    }
    return {links.begin(), links.end()};
}

/// Makes a net from a seed: the same on every machine.
class RandomNet {
public:
    explicit RandomNet(unsigned seed) : random_(seed) {}

    std::unique_ptr<Bnet_bn> make() {
        std::unique_ptr<Bnet_bn> net(NewVBNet(DupStr_kt("test")));
        net_ = net.get();
        net->fileName = DupStr_kt("test.lumo");
        const int nodes = upTo(40);
        makeDrawing();
        for (int i = 0; i < nodes; ++i) makeNode(i);
        for (Bnode_bn* node : net->nodes) link(*node);
        for (Bnode_bn* node : net->nodes) relate(*node);
        return net;
    }

private:
    int upTo(int most) { return static_cast<int>(random_() % static_cast<unsigned>(most + 1)); }
    bool once(int in) { return upTo(in - 1) == 0; }
    double unit() { return static_cast<double>(random_()) / 4294967296.0; }

    /// A legal name that no other call gives.
    std::string name(const char* stem) { return stem + std::to_string(++names_); }

    std::string text() {
        static constexpr std::string_view pieces =  // behind a '`' each
            "`a`Smoke` `  "
            "`\"`\\`\\n`\n`\r\n`\t`%`<`&`&amp;`]]>`<!--`'`;`{`}`(`)`//`/*`=`,`|`:`\xC3\xA9"
            "`\xE2\x82\xAC`\xF0\x9F\x98\x80`\xE9`\x01`\x7F`0`1.5`_`[0,1)`potential`network`"
            "\xEF\xBF\xBF"
            "`\f`N1";
        std::string text;
        for (int n = upTo(8); n > 0; --n) {
            const std::size_t start = pieces.rfind('`', random_() % pieces.size()) + 1;
            text += pieces.substr(start, pieces.find('`', start) - start);
        }
        return text;
    }
    char* newText() { return DupStr_kt(text()); }

    void makeDrawing();
    void makeNode(int number);
    void makeStates(Bnode_bn& node, int count);
    void makeUserFields(Bnode_bn& node);
    void link(Bnode_bn& node);
    void relate(Bnode_bn& node);
    void fillRow(float* row, int states);

    std::mt19937 random_;
    Bnet_bn* net_ = nullptr;
    int names_ = 0;
};

inline void RandomNet::makeDrawing() {
    Vnet_kt& drawing = *net_->vnets[0];
    if (!once(3)) SetNetLabel(*net_, newText());
    if (once(3)) net_->setComment(newText());
    if (once(4)) net_->setAutoUpdate(true);
    if (once(3)) drawing.labelStyle = once(2) ? 0 : 3;
    if (once(3)) drawing.zoomFactor = once(2) ? 0.8 : unit() * 4 + 0.01;
    if (once(3)) drawing.grid = {unit() * 100, 12.5};
    if (once(3)) drawing.showGrid = true;
    if (once(3)) {
        fontspec_kt font;
        font.size = upTo(50);
        font.styleFlags = upTo(3);
        const Fontobjv* old = std::exchange(drawing.font, NewFont_fc("Gothic \"A\"", -1, &font));
        FreeFont_fc(old);
    }
    vect_kt<NodesetStyle> styles;
    for (int i = upTo(5); i > 0; --i) {
        const std::string set = once(8) ? text() + name("x") : name("Group");
        net_->newNodeset(set.c_str());
        NodesetStyle style;
        style.setName(set.c_str());
        const int levels[] = {255, 198, 132, 0, 77};
        style.red = static_cast<unsigned char>(levels[upTo(4)]);
        style.blue = static_cast<unsigned char>(levels[upTo(4)]);
        if (!once(4)) styles.append(style);
    }
    drawing.setNodesetStyles(styles, nullptr);
}

inline void RandomNet::makeStates(Bnode_bn& node, int count) {
    const auto size = static_cast<std::size_t>(count);
    double* values = nullptr;
    if (count > 0 && once(4)) {
        const int numbers = node.variable.discrete ? count : count + 1;
        values = new double[static_cast<std::size_t>(numbers) + 1];
        for (int i = 0; i < numbers; ++i) values[i] = i * 2.5 - unit();
    }
    char** labels = nullptr;
    if (once(2) && values == nullptr) {
        labels = new char*[size];
        for (char*& label : std::span(labels, size)) label = DupStr_kt(name("s"));
    }
    node.setStates(count, labels, values);
    for (int i = 0; i < count && once(2); ++i) node.setStateTitle(i, newText());
    for (int i = 0; i < count && once(3); ++i) node.setStateComment(i, newText());
    if (once(6) && values == nullptr) {
        char** texts = new char*[size];
        for (char*& label : std::span(texts, size)) label = newText();
        SetStatesToLabels(node, texts, count, once(2));
    }
}

inline void RandomNet::makeUserFields(Bnode_bn& node) {
    static const char* const odd[] = {"label", "HR_x", "two words", "x=y", "States"};
    for (int i = upTo(3); i > 0; --i) {
        const std::string field = once(10) ? odd[upTo(4)] : name("field");
        std::string data = once(10) ? std::string(300, 'x') : text();
        if (once(3)) data += '\0';
        node.setUserField(field.c_str(), data.data(), static_cast<int>(data.size()));
    }
}

inline void RandomNet::makeNode(int number) {
    const std::string called = once(4) ? text() + name("q") : name("node");
    const coord_kt at{once(20) ? upTo(2'000'000) - 1'000'000 : upTo(900), upTo(900)};
    Bnode_bn& node = *NewNode_ibn(called.c_str(), 2, *net_, at);
    if (once(3)) SetNodeLabel(node, newText());
    if (once(3)) node.setTitle(once(4) ? DupStr_kt(node.name()) : newText());
    if (once(4)) node.setComment(newText());
    const bool utility = once(8);
    if (utility || once(10)) node.setDiscrete(ContinuousVar);
    if (!utility || once(4)) makeStates(node, once(10) ? upTo(1) : 1 + upTo(number % 7 + 1));
    if (utility) {
        node.setKind(UtilityNode);
    } else if (once(6)) {
        node.setKind(DecisionNode);
    }
    makeUserFields(node);
    const auto& sets = net_->nodesets();
    for (int i = upTo(3); i > 0 && !sets.empty() && once(2); --i)
        AddNodeToNodeset_ibn(node, sets[random_() % sets.size()]->name().c_str());
}

inline void RandomNet::link(Bnode_bn& node) {
    for (int i = upTo(3); i > 0; --i) {
        Bnode_bn& parent = *net_->nodes[upTo(net_->nodes.N - 1)];
        const bool before = std::find(net_->nodes.begin(), net_->nodes.end(), &parent) <
                            std::find(net_->nodes.begin(), net_->nodes.end(), &node);
        const bool known =
            std::find(node.parents.begin(), node.parents.end(), &parent) != node.parents.end();
        if (before && !known) AddLink_ibn(parent, node);
    }
}

/// Zeros and ones, tiny numbers, thirds, or anything; nearly always summing to 1.
inline void RandomNet::fillRow(float* row, int states) {
    std::fill_n(row, states, 0.0F);
    const int kind = upTo(9);
    if (kind == 0) return;  // a row of zeros
    if (kind <= 2) {
        row[upTo(states - 1)] = 1;
        return;
    }
    for (int s = 0; s < states; ++s) row[s] = static_cast<float>(kind == 3 ? 1 : unit());
    if (kind == 4) return;  // as it is
    NormalizeBelvecTable(row, states, 1);
    if (kind == 5) row[upTo(states - 1)] = 1e-42F;
}

inline void RandomNet::relate(Bnode_bn& node) {
    const int rows = NumProduct(node.parents), states = node.numStates();
    const int entries = node.kind == UtilityNode ? rows * std::max(states, 1) : rows * states;
    if (once(6) || entries == 0 || entries > 10'000) return;
    if (node.kind != UtilityNode && node.parents.N > 0 && once(5)) {
        std::vector<double> parameters(static_cast<std::size_t>(NumCIParams(node)), 1.0 / states);
        std::vector<int> order;
        for (const Bnode_bn* member : node.family)
            for (int s = member->numStates(); s-- > 0;) order.push_back(s);
        node.makeIntoNoisyMax(parameters.data(), once(2) ? order.data() : nullptr, once(2));
        return;
    }
    XArray<float> table = NewXArray<float>(entries);
    if (node.kind == UtilityNode) {
        for (int i = 0; i < entries; ++i)
            table[static_cast<std::size_t>(i)] = static_cast<float>(unit() * 2e3 - 1e3);
        node.setProbsTable(table.release());
        return;
    }
    const bool deterministic = once(5);
    for (int r = 0; r < rows; ++r) {
        float* row = table.get() + static_cast<std::ptrdiff_t>(r) * states;
        fillRow(row, states);
        if (!deterministic) continue;
        std::fill_n(row, states, 0.0F);
        row[upTo(states - 1)] = 1;
    }
    XArray<double> exact;
    if (once(3)) {  // as a file with more digits has them
        exact = NewXArray<double>(entries);
        std::copy_n(table.get(), entries, exact.get());
    }
    node.setTable(std::move(table), std::move(exact));
    if (once(2)) node.relation.makeDeterminFromProbs();
    if (!once(4)) return;
    const bool fractions = once(3);
    XArray<float> experience = NewXArray<float>(rows);
    for (int r = 0; r < rows; ++r)
        experience[static_cast<std::size_t>(r)] =
            fractions ? static_cast<float>(unit() * 9) : static_cast<float>(upTo(1000));
    node.relation.setExperTable(experience.release());
    node.relation.experFromCounts = once(2);
    node.relation.saidDeterministic = once(2);
}

}  // namespace lumo::test
