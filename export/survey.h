// What a list of many nets says of each.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <variant>

#include "formats/shared/result.h"

namespace lumo {

struct NetSurvey {
    explicit NetSurvey(const ImportResult& result);

    std::string file, format, status;
    bool hasNet = false;
    long long nodes = 0, links = 0;
    long long parameters = 0;   ///< numbers of tables that are free: of each row all but one
    long long largest = 0;      ///< numbers of the largest table
    std::optional<int> clique;  ///< nodes of the largest clique; none: the net is too large
    int depth = 0;              ///< links of the longest path
    std::array<long long, 4> problems{};  ///< fatal ones, errors, warnings, notices
    std::string content;                  ///< the same for the same net, in whatever file
};

/// Nodes of the largest clique that comes of eliminating the nodes of the moral graph in the order
/// of least fill-in; none when that would take too long.
std::optional<int> LargestClique(const Bnet_bn& net);

/// Links of the longest path.
int DepthOf(const Bnet_bn& net);

/// 16 hexadecimal digits that say what the net means: names, states, parents and numbers (in single
/// precision), in whatever order they come. Texts and places for people say nothing.
std::string ContentOf(const Bnet_bn& net);

/// A column of the list; monostate: not known.
using SurveyValue = std::variant<std::monostate, long long, std::string>;
struct SurveyColumn {
    const char* name;
    SurveyValue (*of)(const NetSurvey& survey);
};
std::span<const SurveyColumn> SurveyColumns();

}  // namespace lumo
