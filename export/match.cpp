#include "export/match.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "export/hash.h"
#include "formats/shared/describe.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

/// How much of a node itself its color holds; with less, more nodes look alike.
enum class DetailEN : unsigned char { numbers, states, count };

/// The same for tables whose rows or states come in another order.
Hash NumbersHash(const Bnode_bn& node) {
    const Reln_bn& relation = node.relation;
    const float* const table = relation.kind == RelnKindEN::real ? relation.reals : relation.probs;
    if (table == nullptr) return 0;
    const long long count = 1LL * NumProduct(node.parents) * std::max(node.numStates(), 1);
    Hash sum = 1;
    for (long long i = 0; i < count; ++i) sum += Mixed(1, std::bit_cast<std::uint32_t>(table[i]));
    return sum;
}

Hash OwnColor(const Bnode_bn& node, DetailEN detail) {
    Hash color = Mixed(Mixed(2, static_cast<Hash>(node.kind)), static_cast<Hash>(node.numStates()));
    if (detail == DetailEN::count) return color;
    Hash labels = 0;
    for (int state = 0; state < node.numStates(); ++state)
        labels += Mixed(3, std::hash<std::string>()(ToUtf8(StateLabel(node.variable, state))));
    color = Mixed(color, labels);
    return detail == DetailEN::states ? color : Mixed(color, NumbersHash(node));
}

/// Refines colors of the nodes of both nets by those of their neighbours until they tell nodes
/// apart.
class Matcher {
public:
    Matcher(const Bnet_bn& before, const Bnet_bn& after, const Losses* losses)
        : before_(before), after_(after), losses_(losses) {
        found_.afterOf.assign(static_cast<std::size_t>(before.nodes.N), -1);
        found_.beforeOf.assign(static_cast<std::size_t>(after.nodes.N), -1);
        found_.by.assign(found_.afterOf.size(), MatchEN::none);
        leftBefore_ = before.nodes.N;
        leftAfter_ = after.nodes.N;
        budget_ = mostRounds;
    }

    Matching find() {
        byText(MatchEN::name, [](const Bnode_bn& node) { return node.name(); });
        byText(MatchEN::title, [](const Bnode_bn& node) { return TitleOrName(node); });
        for (const DetailEN detail : {DetailEN::numbers, DetailEN::states, DetailEN::count})
            byShape(detail);
        if (!known_) byPlace();
        return std::move(found_);
    }

private:
    static constexpr int mostRounds = 200;  ///< of refining, all in all
    using Colors = std::vector<Hash>;
    /// The nodes of a color that are not matched, in their order.
    struct Alike {
        std::vector<int> before, after;
    };

    bool isDone() const { return leftBefore_ == 0 || leftAfter_ == 0; }

    void match(int before, int after, MatchEN by) {
        found_.afterOf[static_cast<std::size_t>(before)] = after;
        found_.beforeOf[static_cast<std::size_t>(after)] = before;
        found_.by[static_cast<std::size_t>(before)] = by;
        --leftBefore_, --leftAfter_;
        known_ = known_ || by != MatchEN::shape;
    }

    template <class TEXT>
    void byText(MatchEN by, TEXT textOf) {
        if (isDone()) return;
        std::unordered_map<std::string, Alike> alike;
        collect(found_.afterOf, before_, &Alike::before, alike,
                [&](const Bnode_bn& node) { return ToUtf8(textOf(node)); });
        collect(found_.beforeOf, after_, &Alike::after, alike,
                [&](const Bnode_bn& node) { return ToUtf8(textOf(node)); });
        for (const auto& [text, nodes] : alike)
            if (nodes.before.size() == 1 && nodes.after.size() == 1)
                match(nodes.before[0], nodes.after[0], by);
    }

    bool isLost(const Bnode_bn& node) const {
        return losses_ != nullptr && &node.net() == &before_ &&
               (losses_->nodes[static_cast<std::size_t>(node.place())] & Bit(FeatureEN::node)) != 0;
    }

    template <class MAP, class KEY>
    void collect(const std::vector<int>& matched, const Bnet_bn& net, std::vector<int> Alike::*side,
                 MAP& alike, KEY keyOf) const {
        for (int i = 0; i < net.nodes.N; ++i)
            if (matched[static_cast<std::size_t>(i)] < 0 && !isLost(*net.nodes[i]))
                (alike[keyOf(*net.nodes[i])].*side).push_back(i);
    }

    void byShape(DetailEN detail) {
        if (isDone()) return;
        const Colors ownBefore = paint(before_, found_.afterOf, detail);
        const Colors ownAfter = paint(after_, found_.beforeOf, detail);
        while (!isDone()) {
            colorsBefore_ = ownBefore;
            colorsAfter_ = ownAfter;
            paintMatched();
            refine();
            const std::unordered_map<Hash, Alike> alike = classes();
            if (matchAlone(alike)) continue;
            if (budget_ > 0 && matchFirst(alike)) continue;
            return matchInOrder(alike);
        }
    }

    // ---- Colors

    static Colors paint(const Bnet_bn& net, const std::vector<int>& matched, DetailEN detail) {
        Colors colors(static_cast<std::size_t>(net.nodes.N));
        for (std::size_t i = 0; i < colors.size(); ++i)
            if (matched[i] < 0) colors[i] = OwnColor(*net.nodes[static_cast<int>(i)], detail);
        return colors;
    }

    void paintMatched() {
        for (std::size_t i = 0; i < found_.afterOf.size(); ++i) {
            if (found_.afterOf[i] < 0) continue;
            colorsBefore_[i] = Mixed(5, i);
            colorsAfter_[static_cast<std::size_t>(found_.afterOf[i])] = Mixed(5, i);
        }
    }

    /// Until no more colors come of it.
    void refine() {
        std::size_t known = 0;
        for (std::size_t colors = countColors(); colors > known && budget_ > 0; --budget_) {
            known = colors;
            step(before_, found_.afterOf, colorsBefore_);
            step(after_, found_.beforeOf, colorsAfter_);
            colors = countColors();
        }
    }

    std::size_t countColors() const {
        return std::unordered_set<Hash>(colorsBefore_.begin(), colorsBefore_.end()).size();
    }

    static void step(const Bnet_bn& net, const std::vector<int>& matched, Colors& colors) {
        Colors around(colors.size());
        for (int i = 0; i < net.nodes.N; ++i) {
            const auto child = static_cast<std::size_t>(i);
            for (const Bnode_bn* parent : net.nodes[i]->parents) {
                const auto above = static_cast<std::size_t>(parent->place());
                around[child] += Mixed(7, colors[above]);
                around[above] += Mixed(11, colors[child]);
            }
        }
        for (std::size_t i = 0; i < colors.size(); ++i)
            if (matched[i] < 0) colors[i] = Mixed(colors[i], around[i]);
    }

    // ---- Matching by them

    std::unordered_map<Hash, Alike> classes() const {
        std::unordered_map<Hash, Alike> alike;
        collect(found_.afterOf, before_, &Alike::before, alike, [&](const Bnode_bn& node) {
            return colorsBefore_[static_cast<std::size_t>(node.place())];
        });
        collect(found_.beforeOf, after_, &Alike::after, alike, [&](const Bnode_bn& node) {
            return colorsAfter_[static_cast<std::size_t>(node.place())];
        });
        return alike;
    }

    bool matchAlone(const std::unordered_map<Hash, Alike>& alike) {
        bool any = false;
        for (const auto& [color, nodes] : alike) {
            if (nodes.before.size() != 1 || nodes.after.size() != 1) continue;
            match(nodes.before[0], nodes.after[0], MatchEN::shape);
            any = true;
        }
        return any;
    }

    /// One pair of those that cannot be told apart: it may tell their neighbours apart.
    bool matchFirst(const std::unordered_map<Hash, Alike>& alike) {
        const Alike* first = nullptr;
        for (const auto& [color, nodes] : alike)
            if (!nodes.before.empty() && nodes.before.size() == nodes.after.size() &&
                (first == nullptr || nodes.before[0] < first->before[0]))
                first = &nodes;
        if (first != nullptr) match(first->before[0], first->after[0], MatchEN::shape);
        return first != nullptr;
    }

    void matchInOrder(const std::unordered_map<Hash, Alike>& alike) {
        for (const auto& [color, nodes] : alike) {
            if (nodes.before.size() != nodes.after.size()) continue;
            for (std::size_t i = 0; i < nodes.before.size(); ++i)
                match(nodes.before[i], nodes.after[i], MatchEN::shape);
        }
    }

    /// Nets that have no text in common are the same in the order of their nodes, when all of them
    /// have as many states.
    void byPlace() {
        std::vector<int> kept;
        for (const Bnode_bn* node : before_.nodes)
            if (!isLost(*node)) kept.push_back(node->place());
        const auto haveAsMany = [&](int a, const Bnode_bn* b) {
            return std::max(before_.nodes[a]->numStates(), 1) == std::max(b->numStates(), 1);
        };
        if (isDone() || !std::equal(kept.begin(), kept.end(), after_.nodes.begin(),
                                    after_.nodes.end(), haveAsMany))
            return;
        for (std::size_t at = 0; at < kept.size(); ++at)
            if (found_.afterOf[static_cast<std::size_t>(kept[at])] < 0 && found_.beforeOf[at] < 0)
                match(kept[at], static_cast<int>(at), MatchEN::shape);
    }

    const Bnet_bn& before_;
    const Bnet_bn& after_;
    const Losses* const losses_;
    bool known_ = false;  // some node is, by its name or title
    Matching found_;
    int leftBefore_ = 0, leftAfter_ = 0;
    int budget_ = 0;
    Colors colorsBefore_, colorsAfter_;
};

}  // namespace

Matching MatchNodes(const Bnet_bn& before, const Bnet_bn& after, const Losses* losses) {
    return Matcher(before, after, losses).find();
}

}  // namespace lumo
