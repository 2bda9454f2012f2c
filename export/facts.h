// What is counted of an imported net, for people and programs.
#pragma once

#include <array>
#include <climits>
#include <string>
#include <vector>

#include "formats/shared/result.h"

namespace lumo {

/// Where the positions of the nodes come from.
enum class PositionsEN : unsigned char { file, layout, none };

struct Facts {
    explicit Facts(const Bnet_bn& net);

    long long kinds[UtilityNode + 1] = {};  ///< nodes of each NodeKindEN
    long long states = 0, links = 0, numbers = 0, tables = 0;
    int fewestStates = INT_MAX, mostStates = 0;  ///< of nodes that have some
    long long largest = 0;                       ///< numbers of the largest table
    const Bnode_bn* largestNode = nullptr;
    std::vector<const Bnode_bn*> withoutTable;  ///< decisions excepted
    std::vector<const Bnode_bn*> renamed;       ///< their identity is the file's text
    long long titledStates = 0;                 ///< states that have a title but no name
    PositionsEN positions = PositionsEN::none;

private:
    void add(const Bnode_bn& node);
};

/// The words passed over, each once, the most frequent first.
std::vector<SkippedWord> SkippedTotals(const ImportResult& result);

/// How many reports there are: fatal ones, errors, warnings, notices.
std::array<long long, 4> ProblemCounts(const ImportResult& result);

/// The number with its thousands set apart; "1 node", "3 nodes".
std::string Digits(long long count);
std::string Count(long long count, const char* one);

}  // namespace lumo
