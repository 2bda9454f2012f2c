// Samples with what must become of them: the net and the reports, in a file beside each.
#pragma once

#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {

/// Compares the sample's net and reports with the file of the same name and ".expected".
inline void ExpectSample(const std::string& path, int format) {
    SCOPED_TRACE(path);
    const std::string file = Samples() + "/" + path;
    const Imported got = ImportText(ReadFile(file), format, path.c_str());
    ExpectSound(got);
    ExpectFile(file + ".expected", NetText(got.net.get()) + got.seen.text());
}

inline std::string Times(int count, const std::string& text) {
    std::string out;
    for (int i = 0; i < count; ++i) out += text;
    return out;
}

inline std::string Numbered(int count, const std::string& before, const std::string& after) {
    std::string out;
    for (int i = 0; i < count; ++i) out += before + std::to_string(i) + after;
    return out;
}

/// A text that only linear work survives (the suite's time limit stands guard), and what is left of
/// it; -1 nodes: no net.
struct LargeCase {
    std::string text;
    int nodes, errors;
};

inline void ExpectLinear(const std::vector<LargeCase>& cases, int format) {
    int i = 0;
    for (const LargeCase& c : cases) {
        SCOPED_TRACE("case " + std::to_string(i++));
        const Imported got = ImportText(c.text, format);
        EXPECT_EQ(got.net ? got.net->nodes.N : -1, c.nodes);
        EXPECT_EQ(got.seen.errors(), c.errors);
        ExpectConsistent(got.net.get());
    }
}

}  // namespace lumo::test
