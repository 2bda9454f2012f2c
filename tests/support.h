// What the reader suites share: importing a text with its reports collected, nets as text, and the
// damage that hostile-input tests do to a sample.
#pragma once

#include <gtest/gtest.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "formats/ForeignFile.h"
#include "tests/consistency.h"

namespace lumo {
inline void PrintTo(const coord_kt& at, std::ostream* out) { *out << at.x << ',' << at.y; }
}  // namespace lumo

namespace lumo::test {

/// A report as the handler saw it.
struct Seen {
    int number, severity, line, column;
    std::string message, structKind, structName, fieldName;
};

/// Collects reports and notes; answers questions with `answer`.
class Collector : public ReportHandler {
public:
    std::vector<Seen> reports;
    std::vector<std::string> prints;
    std::vector<std::string> questions;
    bool answer = false;

    void show(const rept_kt& r) override {
        reports.push_back({r.number, r.severity, r.line, r.column, r.message, r.structKind,
                           r.structName, r.fieldName});
    }
    void print(const char* text) override { prints.emplace_back(text); }
    bool ask(int number, const char* question) override {
        questions.push_back(std::to_string(number) + ' ' + question);
        return answer;
    }
    void waitBegin(const char*) override {}
    void waitEnd(const char*) override {}

    int count(int number) const {
        int n = 0;
        for (const Seen& r : reports) n += r.number == number;
        return n;
    }
    int errors() const {
        int n = 0;
        for (const Seen& r : reports) n += r.severity > SeverityWarning;
        return n;
    }
    /// The reports as lines "number line:column message", for comparing whole lists.
    std::string text() const {
        std::ostringstream out;
        for (const Seen& r : reports)
            out << r.number << ' ' << r.line << ':' << r.column << ' ' << r.message << '\n';
        return out.str();
    }
};

struct Imported {
    OwnedNet net;
    Collector seen;
};

inline Imported ImportText(std::string_view text, int format, const char* name = "test.net",
                           bool answer = false, const ReadOptions& options = {}) {
    Imported result;
    result.seen.answer = answer;
    HandlerScope scope(result.seen);
    result.net.reset(ReadForeignNetText(text, name, format, options));
    return result;
}

inline Imported ImportLeniently(std::string_view text, int format, const char* name = "test.net") {
    ReadOptions options;
    options.lenient = true;
    return ImportText(text, format, name, false, options);
}

inline std::string Repeated(std::string_view piece, int count) {
    std::string out;
    out.reserve(piece.size() * static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) out += piece;
    return out;
}

inline std::string Numbered(int count, const std::string& before, const std::string& after) {
    std::string out;
    for (int i = 0; i < count; ++i) out += before + std::to_string(i) + after;
    return out;
}

inline std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in) << path;
    return {std::istreambuf_iterator<char>(in), {}};
}

/// Compares a text with the file that holds what is expected; with LUMO_UPDATE set in the
/// environment the file is written instead, for a person to review.
inline void ExpectFile(const std::string& path, const std::string& text) {
    if (std::getenv("LUMO_UPDATE") != nullptr) {
        std::ofstream(path, std::ios::binary) << text;
    }
    EXPECT_EQ(text, ReadFile(path));
}

/// The same with a part of a page, which stands between two marks, such as comments.
inline void ExpectPart(const std::string& path, const std::string& begin, const std::string& end,
                       const std::string& part) {
    const std::string text = ReadFile(path);
    const std::size_t first = text.find(begin), last = text.find(end);
    ASSERT_TRUE(first != text.npos && last != text.npos) << path << " lacks " << begin;
    ExpectFile(path, text.substr(0, first + begin.size()) + part + text.substr(last));
}

inline std::string Shortest(double value, bool single) {
    char buffer[40];
    const auto end = single ? std::to_chars(buffer, buffer + 40, static_cast<float>(value)).ptr
                            : std::to_chars(buffer, buffer + 40, value).ptr;
    return {buffer, end};
}

inline std::string TableText(const float* table, int count) {
    std::string out;
    for (int i = 0; i < count; ++i) out += (i ? " " : "") + Shortest(table[i], true);
    return out;
}

/// A node as lines: what a reader of the test wants to compare. Absent things are left out.
inline std::string NodeText(const Bnode_bn& node) {
    std::ostringstream out;
    const char* kind = node.kind == NatureNode     ? "nature"
                       : node.kind == DecisionNode ? "decision"
                                                   : "utility";
    out << kind << ' ' << node.name() << (node.variable.discrete ? "" : " continuous");
    if (node.title) out << " title='" << node.title << '\'';
    if (node.vns.N) out << " at " << node.vns[0]->position().x << ',' << node.vns[0]->position().y;
    out << "\n  states";
    for (int s = 0; s < node.numStates(); ++s) {
        const Varbl_bn& v = node.variable;
        out << ' ' << (v.stateNames && v.stateNames[s] ? v.stateNames[s] : "-");
        if (v.stateTitles && v.stateTitles[s]) out << "='" << v.stateTitles[s] << '\'';
        if (v.stateComments && v.stateComments[s]) out << "(" << v.stateComments[s] << ")";
    }
    if (node.variable.levels) {
        out << "\n  levels";
        for (int i = 0; i < node.variable.numLevels; ++i)
            out << ' ' << Shortest(node.variable.levels[i], false);
    }
    if (node.parents.N) out << "\n  parents";
    for (const Bnode_bn* p : node.parents) out << ' ' << p->name();
    if (node.comment) out << "\n  comment '" << node.comment << '\'';
    for (const UserField& f : node.userFields()) {
        const bool zero = !f.data.empty() && f.data.back() == '\0';
        out << "\n  field " << f.name << " '" << f.data.substr(0, f.data.size() - zero)
            << (zero ? "\\0'" : "'");
    }
    for (const nodeset_bn* s : node.nodesets()) out << "\n  group " << s->name();
    const int rows = NumProduct(node.parents);
    const char* kinds[] = {"none", "table", "deterministic", "noisy-max", "real"};
    out << "\n  " << kinds[static_cast<int>(node.relation.kind)];
    if (node.relation.probs) out << ' ' << TableText(node.relation.probs, rows * node.numStates());
    if (node.relation.reals)
        out << ' '
            << TableText(node.relation.reals, rows * (node.numStates() ? node.numStates() : 1));
    if (node.relation.exper) out << "\n  experience " << TableText(node.relation.exper, rows);
    out << '\n';
    return out.str();
}

inline std::string NetText(const Bnet_bn* net) {
    if (net == nullptr) return "null\n";
    std::ostringstream out;
    out << "net " << net->name;
    if (net->title) out << " title='" << net->title << '\'';
    if (net->comment) out << " comment='" << net->comment << '\'';
    out << '\n';
    for (const Bnode_bn* node : net->nodes) out << NodeText(*node);
    return out.str();
}

inline void ExpectConsistent(const Bnet_bn* net) {
    EXPECT_EQ(net == nullptr ? std::string() : FaultOf(*net), "");
}

/// What holds for every import, whatever the file was: the net is sound, and reports have a place.
inline void ExpectSound(const Imported& got) {
    ExpectConsistent(got.net.get());
    for (const Seen& r : got.seen.reports)
        EXPECT_TRUE(r.line > 0 || IsClosing(r.number)) << r.number << ' ' << r.message;
}

/// Imports the text strictly or leniently, checking what must always hold.
inline void ImportDamaged(std::string_view text, int format, bool leniently) {
    ExpectSound(leniently ? ImportLeniently(text, format) : ImportText(text, format));
}

/// A text that only linear work survives (the suite's time limit stands guard), and what is left of
/// it: -1 nodes is no net, and a number of errors is theirs, one below 0 a report among those
/// shown.
struct LargeCase {
    std::string text;
    int nodes, errors;
};

inline void ExpectLinear(const std::vector<LargeCase>& cases, int format) {
    int i = 0;
    for (const LargeCase& c : cases) {
        SCOPED_TRACE("case " + std::to_string(i++) + ": " + c.text.substr(0, 60));
        const Imported got = ImportText(c.text, format);
        EXPECT_EQ(got.net ? got.net->nodes.N : -1, c.nodes);
        EXPECT_TRUE(c.errors < 0 ? got.seen.count(c.errors) > 0 : got.seen.errors() == c.errors)
            << got.seen.text().substr(0, 999);
        ExpectConsistent(got.net.get());
        ExpectConsistent(ImportLeniently(c.text, format).net.get());
    }
}

/// Imports every prefix of the text, by turns strictly and leniently.
inline void ImportEveryPrefix(const std::string& text, int format) {
    for (std::size_t n = 0; n <= text.size(); ++n) {
        SCOPED_TRACE("prefix of " + std::to_string(n) + " bytes");
        ImportDamaged(std::string_view(text).substr(0, n), format, n % 2 != 0);
        if (::testing::Test::HasFailure()) return;
    }
}

/// The same with one byte changed at each place (the new byte from a fixed, printed seed).
inline void ImportEveryByteChanged(const std::string& text, int format, unsigned seed = 12345) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string interesting = "(){}[]<>\"';:=,|%/*\\ \n\t0123456789-.eEaZ_&!?\xff\x01";
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::string damaged = text;
        damaged[i] = interesting[random() % interesting.size()];
        SCOPED_TRACE("byte " + std::to_string(i) + " became '" + damaged[i] + "'");
        ImportDamaged(damaged, format, i % 2 != 0);
        if (::testing::Test::HasFailure()) return;
    }
}

}  // namespace lumo::test
