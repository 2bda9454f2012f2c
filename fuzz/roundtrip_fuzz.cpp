// Imports the bytes behind the first, which chooses the format, writes the net in every format that
// can be read and imports it again: what the writer does not announce as lost is the same, numbers
// but for one unit in the last place.
#include <algorithm>
#include <sstream>
#include <unordered_map>

#include "export/describe.h"
#include "export/rows.h"
#include "export/text.h"
#include "export/writers.h"
#include "fuzz/properties.h"

namespace lumo::fuzz {
namespace {

constexpr int formats[] = {FormatHugin,  FormatDsc, FormatDXPress, FormatErgo,
                           FormatXMLBIF, FormatBIF, FormatXDSL,    FormatUAI};

struct Target {
    const char* writer;
    int code;
};
constexpr Target targets[] = {{"xmlbif", FormatXMLBIF}, {"hugin", FormatHugin}, {"dsc", FormatDsc},
                              {"bif", FormatBIF},       {"xdsl", FormatXDSL},   {"uai", FormatUAI}};

/// An empty text is none.
bool SameText(const char* a, const char* b) {
    return HasText(a) && HasText(b) ? ToUtf8(a) == ToUtf8(b) : HasText(a) == HasText(b);
}

bool SameTexts(char* const* a, char* const* b, int count) {
    for (int i = 0; i < count; ++i)
        if (!SameText(a == nullptr ? nullptr : a[i], b == nullptr ? nullptr : b[i])) return false;
    return true;
}

template <class T>
bool SameNumbers(const T* a, const T* b, long long count) {
    return a == nullptr || b == nullptr ? a == b : std::equal(a, a + count, b, AreClose);
}

/// What each node that is not lost became.
using Counterparts = std::unordered_map<const Bnode_bn*, const Bnode_bn*>;

bool SameParents(const Bnode_bn& a, const Bnode_bn& b, const Counterparts& counterparts) {
    return std::equal(a.parents.begin(), a.parents.end(), b.parents.begin(), b.parents.end(),
                      [&](const Bnode_bn* x, const Bnode_bn* y) {
                          const auto found = counterparts.find(x);
                          return found != counterparts.end() && found->second == y;
                      });
}

/// The first thing that differs without having been announced; empty when nothing does.
std::string Difference(const Bnode_bn& a, const Bnode_bn& b, FeatureSet lost,
                       const Counterparts& counterparts) {
    using enum FeatureEN;
    const auto kept = [lost](std::initializer_list<FeatureEN> features) {
        return std::none_of(features.begin(), features.end(),
                            [lost](FeatureEN feature) { return (lost & Bit(feature)) != 0; });
    };
    const int states = a.numStates();
    const long long rows = NumProduct(a.parents);
    const long long entries = rows * std::max(states, 1);
    if (kept({name}) && !streql_kt(a.name(), b.name())) return "name";
    if (kept({FeatureEN::parents}) && !SameParents(a, b, counterparts)) return "parents";
    if (kept({kind}) && a.kind != b.kind) return "kind";
    if (kept({title, sameTitle}) && !SameText(a.title, b.title)) return "title";
    if (kept({utilityForm}) && states != b.numStates()) return "number of states";
    if (states != b.numStates()) return "";
    if (kept({stateNames, unnamedStates}) &&
        !SameTexts(a.variable.stateNames, b.variable.stateNames, states))
        return "state names";
    if (kept({stateTitles, untitledStates}) &&
        !SameTexts(a.variable.stateTitles, b.variable.stateTitles, states))
        return "state titles";
    if (!kept({noTable, table, exactTable, parameters})) return "";
    if (!SameNumbers(a.relation.probs, b.relation.probs, entries)) return "table";
    if (!SameNumbers(a.relation.reals, b.relation.reals, entries)) return "real table";
    if (kept({experience}) && !SameNumbers(a.relation.exper, b.relation.exper, rows))
        return "experience";
    return "";
}

void RequireRoundTrip(const ImportResult& first, const Target& target) {
    const Writer& writer = *FindWriter(target.writer);
    const Losses losses = writer.losses(*first.net);
    std::ostringstream out;
    writer.write(first, out);
    const OwnedNet read = ImportSound(out.str(), target.code);
    const std::string place = std::string(" after writing ") + target.writer;
    Require(read != nullptr, "a net" + place);
    const bool inOrder = (losses.net & Bit(FeatureEN::nodeOrder)) == 0;
    Counterparts counterparts;
    for (int i = 0, next = 0; i < first.net->nodes.N; ++i) {
        const Bnode_bn* const node = first.net->nodes[i];
        if ((losses.nodes[static_cast<std::size_t>(i)] & Bit(FeatureEN::node)) != 0) continue;
        Require(next < read->nodes.N, "the same number of nodes" + place);
        const Bnode_bn* const same = read->nodes[next++];
        counterparts.emplace(node, inOrder ? same : read->findNodeLabeled(node->name()));
    }
    Require(read->nodes.N == static_cast<int>(counterparts.size()), "no more nodes" + place);
    for (int i = 0; i < first.net->nodes.N; ++i) {
        const Bnode_bn& node = *first.net->nodes[i];
        const auto found = counterparts.find(&node);
        if (found == counterparts.end()) continue;
        Require(found->second != nullptr, "the node of a name" + place);
        const std::string difference = Difference(
            node, *found->second, losses.nodes[static_cast<std::size_t>(i)], counterparts);
        Require(difference.empty(),
                Format("the same %s of %s%s", difference.c_str(), node.name(), place.c_str()));
    }
}

}  // namespace
}  // namespace lumo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    using namespace lumo;
    if (size == 0) return 0;
    ImportResult first;
    const std::size_t format = *data % std::size(fuzz::formats);
    first.net = fuzz::ImportSound(fuzz::View(data + 1, size - 1), fuzz::formats[format]);
    if (first.net == nullptr) return 0;
    // Some bytes can name a million states, which take their time to write and read again.
    constexpr int mostStates = 20'000;
    for (const Bnode_bn* node : first.net->nodes)
        if (node->numStates() > mostStates) return 0;
    for (const fuzz::Target& target : fuzz::targets) fuzz::RequireRoundTrip(first, target);
    return 0;
}
