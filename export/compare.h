// How two nets differ, as nets: whatever the formats and the order in which their files have them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "export/match.h"
#include "formats/shared/losses.h"
#include "library/model/netmodel.h"

namespace lumo {

/// What may differ: of two nodes, or of the nets.
enum class AspectEN : unsigned char {
    // Of a node.
    name,
    kind,
    discrete,
    title,
    comment,
    states,
    stateOrder,
    stateTitles,
    stateComments,
    stateValues,
    levels,
    parents,
    parentOrder,
    position,
    groups,
    userFields,
    relation,
    table,
    parameters,
    experience,
    // Of the net.
    netTitle,
    netComment,
    group,
    color,
    positions,
    autoUpdate,
    labelStyle,
    zoom,
    font,
    grid,
};

/// Its key in JSON ("stateTitles"), and the words for people ("title of state").
const char* AspectKey(AspectEN aspect);
const char* AspectWords(AspectEN aspect);

/// A row of numbers that differs.
struct RowDifference {
    int before = 0, after = 0;  ///< its places in the two tables
    double largest = 0;         ///< difference of two numbers of it
};

/// Numbers that were compared, those of the second net in the order of the first.
struct NumbersDifference {
    long long all = 0, different = 0;
    double largest = 0;
    std::vector<RowDifference> rows;  ///< those that differ
    std::vector<int> columns;         ///< of each state its place in the second net
};

/// One thing that differs. Texts are UTF-8.
struct Difference {
    AspectEN aspect{};
    std::string of;                            ///< the state, user field or group; else empty
    std::optional<std::string> before, after;  ///< none: absent
    std::optional<NumbersDifference> numbers;
};

/// A node that one net lacks, or that is another in the other.
struct NodeDifference {
    const Bnode_bn* before = nullptr;  ///< null: it was added
    const Bnode_bn* after = nullptr;   ///< null: it was removed
    MatchEN by = MatchEN::none;
    std::vector<Difference> differences;
    std::vector<std::string> notes;  ///< how they were compared
};

struct Comparison {
    std::vector<NodeDifference> nodes;  ///< in the first net's order, then those that were added
    std::vector<Difference> net;
    long long same = 0;     ///< nodes that are
    long long numbers = 0;  ///< that were compared
    long long differentNumbers = 0;
    double largest = 0;  ///< difference of two numbers

    bool isSame() const { return nodes.empty() && net.empty(); }
};

struct CompareOptions {
    /// Numbers are the same that differ by no more than this; none: by no more than they are
    /// rounded, which for numbers in double precision is less.
    std::optional<double> tolerance = {};
    /// What the format does not keep that the second net was read from, the first one having been
    /// written in it: what that explains is left out.
    const Losses* losses = nullptr;
};

/// Compares two nets. Their names, which are those of their files, the order of their nodes and
/// where their drawings begin say nothing, nor does a distance of one unit, as formats round
/// places. Linear in the nets but for finding the nodes that have
/// no names in common.
Comparison CompareNets(const Bnet_bn& before, const Bnet_bn& after,
                       const CompareOptions& options = {});

/// The parent states of a row: "tub=yes, lung=no"; empty for a node without parents.
std::string RowLabel(const Bnode_bn& node, int row);

/// Number of a table, or of what else of a node was compared, as the files said it; the table that
/// a condensed noisy-max stands for is empty.
std::vector<double> RowOf(const Bnode_bn& node, AspectEN aspect, int row);

}  // namespace lumo
