// Lenient reading adds to what strict reading gives, and changes none of it: over the samples, and
// over the files of a folder with LUMO_ROUNDTRIP_FILES=FOLDER.
#include <cstdlib>
#include <filesystem>

#include "formats/detect.h"
#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

namespace fs = std::filesystem;

/// Whether a report says that the node's table is in another order than the file says.
bool IsReordered(const Imported& got, const char* node) {
    return std::ranges::any_of(got.seen.reports, [node](const Seen& r) {
        const bool order = r.message.find("varying") != std::string::npos ||
                           r.message.find("order") != std::string::npos;
        return order && (r.structName == node || r.message.find(node) != std::string::npos);
    });
}

/// The node's kind, states, and table if strict reading has one.
std::string Kept(const Bnode_bn& node, bool withTable) {
    std::string text = node.name() + std::to_string(node.kind);
    char state[StateTextSize];
    for (int s = 0; s < node.numStates(); ++s)
        text += std::string(" ") + statetostr1(s, node.variable, state);
    const int entries = NumProduct(node.parents) * std::max(node.numStates(), 1);
    for (const float* table : {node.relation.probs, node.relation.reals})
        if (withTable && table != nullptr) text += '\n' + TableText(table, entries);
    return text;
}

void ExpectKept(const fs::path& path) {
    SCOPED_TRACE(path.string());
    const std::string text = ReadFile(path.string());
    const FormatInfo* const info = DetectFormat(text, path.string());
    if (info == nullptr) return;
    const Imported strict = ImportText(text, info->code);
    const Imported lenient = ImportLeniently(text, info->code);
    if (strict.net == nullptr) return;
    ASSERT_NE(lenient.net, nullptr);
    for (const Bnode_bn* node : strict.net->nodes) {
        const Bnode_bn* const same = lenient.net->findNodeLabeled(node->name());
        ASSERT_NE(same, nullptr) << node->name();
        const Varbl_bn& v = node->variable;
        if (v.stateNames == nullptr && v.stateTitles == nullptr && v.levels == nullptr) continue;
        const bool hasTable = node->relation.kind != RelnKindEN::none;
        const bool compared = hasTable && !IsReordered(lenient, node->name());
        EXPECT_EQ(Kept(*same, compared), Kept(*node, compared));
    }
}

TEST(Lenient, KeepsWhatStrictReadingGives) {
    std::vector<std::string> folders{Samples()};
    if (const char* more = std::getenv("LUMO_ROUNDTRIP_FILES")) folders.emplace_back(more);
    for (const std::string& folder : folders)
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            if (entry.is_regular_file() && entry.path().extension() != ".expected")
                ExpectKept(entry.path());
}

}  // namespace
}  // namespace lumo::test
