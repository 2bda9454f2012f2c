// What a comparison of two nets found, for people and programs.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "export/compare.h"
#include "formats/shared/result.h"

namespace lumo {

/// Two nets that were read, and how they differ. Both are there.
struct NetDiff {
    const ImportResult& before;
    const ImportResult& after;
    const Comparison& found;
};

/// A line as of a diff of texts, UTF-8 without control characters.
struct DiffLine {
    char sign = ' ';  ///< '-' the first net's, '+' the second's, '@' a heading, ' ' of both
    std::string text;
};

/// What differs, node by node. Of rows, and of nodes that differ in one small thing each, the first
/// few stand for all unless all are wanted. Without lines the nets are the same.
std::vector<DiffLine> DiffLines(const NetDiff& diff, bool all);

/// "the nets are the same: 8 nodes, 36 numbers", or how many nodes and numbers differ.
std::string DiffSummary(const NetDiff& diff);

/// All that differs as one JSON document of the schema "lumo-import-diff/1" (docs/json.md).
void WriteDiffJson(const NetDiff& diff, std::ostream& out);

/// A page that needs nothing else: both nets side by side with what differs marked, and the rows of
/// numbers that differ as heat maps. It has no script; its policy allows its own style alone.
void WriteDiffPage(const NetDiff& diff, std::ostream& out);

}  // namespace lumo
