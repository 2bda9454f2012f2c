// The model as lists of R.
#include <lumo/describe.h>
#include <lumo/exact.h>
#include <lumo/placing.h>
#include <lumo/text.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <unordered_map>

#include "lumo_r.h"

namespace lumo::r {

// ---- Lists and texts -----------------------------------------------------------------------

cpp11::sexp Record::list() const {
    const auto count = static_cast<R_xlen_t>(values_.size());
    cpp11::writable::list list(count);
    cpp11::writable::strings names(count);
    for (R_xlen_t i = 0; i < count; ++i) {
        list[i] = values_[static_cast<std::size_t>(i)];
        names[i] = names_[static_cast<std::size_t>(i)];
    }
    list.names() = names;
    return list;
}

cpp11::r_string Text(std::string_view text) {
    std::string utf8 = ToUtf8(text);
    std::erase(utf8, '\0');  // which R has no place for
    return cpp11::safe[Rf_mkCharLenCE](utf8.data(), static_cast<int>(utf8.size()), CE_UTF8);
}

cpp11::sexp TextOrNull(const char* text) {
    if (text == nullptr) return R_NilValue;
    return cpp11::writable::strings({Text(text)});
}

namespace {

template <class LIST, class TEXT_OF>
cpp11::writable::strings Texts(const LIST& list, TEXT_OF textOf) {
    cpp11::writable::strings texts(
        static_cast<R_xlen_t>(std::distance(std::begin(list), std::end(list))));
    R_xlen_t i = 0;
    for (const auto& item : list) texts[i++] = Text(textOf(item));
    return texts;
}

/// NA for what is absent; null when all are.
cpp11::sexp TextsOrNull(char* const* texts, int count) {
    if (texts == nullptr || std::all_of(texts, texts + count, [](auto t) { return t == nullptr; }))
        return R_NilValue;
    cpp11::writable::strings list(static_cast<R_xlen_t>(count));
    for (int i = 0; i < count; ++i)
        list[i] = texts[i] == nullptr ? cpp11::r_string(NA_STRING) : Text(texts[i]);
    return list;
}

template <class NUMBER>
cpp11::sexp Numbers(const NUMBER* values, long long count) {
    if (values == nullptr) return R_NilValue;
    cpp11::writable::doubles numbers(static_cast<R_xlen_t>(count));
    std::transform(values, values + count, REAL(numbers),
                   [](NUMBER value) { return static_cast<double>(value); });
    return numbers;
}

cpp11::sexp Flag(bool flag) { return cpp11::as_sexp(flag); }

template <class NUMBER>
cpp11::sexp Pair(NUMBER x, NUMBER y, const char* first, const char* second) {
    const SEXP pair = cpp11::as_sexp(std::vector<NUMBER>{x, y});
    const cpp11::sexp held(pair);
    cpp11::safe[Rf_setAttrib](pair, R_NamesSymbol, cpp11::writable::strings({first, second}));
    return held;
}

// ---- States --------------------------------------------------------------------------------

/// What people call the states, distinct and never empty, as R needs them.
cpp11::writable::strings Labels(const Varbl_bn& variable) {
    std::unordered_map<std::string, int> taken;
    cpp11::writable::strings labels(static_cast<R_xlen_t>(variable.numStates));
    for (int state = 0; state < variable.numStates; ++state) {
        std::string label = ToUtf8(StateLabel(variable, state));
        if (label.empty()) label = "#" + std::to_string(state);
        const std::string stem = label;
        while (!taken.emplace(label, 0).second)
            label = stem + "." + std::to_string(++taken.find(stem)->second);
        labels[state] = Text(label);
    }
    return labels;
}

bool HasValues(const Varbl_bn& variable) {
    return variable.levels != nullptr && variable.numLevels == variable.numStates;
}

/// What the file says of the states beyond their labels; null when that is nothing.
cpp11::sexp StateInfo(const Varbl_bn& variable, const cpp11::strings& labels) {
    const int count = variable.numStates;
    const cpp11::sexp names = TextsOrNull(variable.stateNames, count);
    const cpp11::sexp titles = TextsOrNull(variable.stateTitles, count);
    const cpp11::sexp comments = TextsOrNull(variable.stateComments, count);
    const bool hasNames = count == 0 || (names != R_NilValue && cpp11::safe[R_compute_identical](
                                                                    names, labels, 0) == TRUE);
    if (hasNames && titles == R_NilValue && comments == R_NilValue && !HasValues(variable))
        return R_NilValue;
    Record record;
    record.add("name", names);
    record.add("title", titles);
    record.add("comment", comments);
    record.add("value",
               HasValues(variable) ? Numbers(variable.levels, count) : cpp11::sexp(R_NilValue));
    return record.list();
}

// ---- Tables --------------------------------------------------------------------------------

/// The number moved, as far as it still rounds to the same float.
double Moved(double number, double by) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const auto rounded = static_cast<float>(number);
    const auto limit = [&](float towards) {
        const auto next = static_cast<double>(std::nextafter(rounded, towards));
        return std::lerp(static_cast<double>(rounded), next, 0.49);
    };
    return number == 0 ? 0 : std::clamp(number + by, limit(-infinity), limit(infinity));
}

/// Makes the doubles of a row whose floats sum to 1, but for their rounding, sum to 1 as well:
/// first each takes its share, then the first ones what is left.
void Complete(double* row, int states) {
    constexpr double rounding = 0x1p-23;
    const double sum = std::accumulate(row, row + states, 0.0);
    if (std::fabs(sum - 1) < 0x1p-50 || std::fabs(sum - 1) > rounding) return;
    for (int i = 0; i < states; ++i) row[i] = Moved(row[i], row[i] * (1 / sum - 1));
    double rest = 1 - std::accumulate(row, row + states, 0.0);
    for (int i = 0; i < states; ++i) {
        const double before = row[i];
        row[i] = Moved(before, rest);
        rest -= row[i] - before;
    }
}

}  // namespace

void Decimals(const float* row, int cells, bool probabilities, double* out) {
    ShortestDoubles(row, cells, out);
    if (probabilities) Complete(out, cells);
}

namespace {

/// The labels of each node's states, shared by the dimnames of its own table and its children's.
using AllLabels = std::unordered_map<const Bnode_bn*, cpp11::sexp>;

/// Numbers of a relation in both precisions, `cells` for each combination of parent states.
struct Values {
    const float* floats;
    const double* exact;  // null where the floats say all
    int cells;
    bool probabilities = false;
};

/// An array of the values, `cells` for each combination of parent states, which it has as its last
/// dimensions; the node's own states are the first, when it is given. Null without values.
cpp11::sexp Array(const Bnode_bn& node, const Values& values, const Bnode_bn* own,
                  const AllLabels& labels) {
    if (values.floats == nullptr) return R_NilValue;
    const int rows = NumProduct(node.parents), cells = values.cells;
    cpp11::writable::doubles array(static_cast<R_xlen_t>(rows) * cells);
    double* to = REAL(array);
    RowWalk walk(node.parents);
    for (int i = 0; i < rows; ++i, to += cells, walk.advance()) {
        const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(walk.row()) * cells;
        if (values.exact != nullptr)
            std::copy_n(values.exact + row, cells, to);
        else
            Decimals(values.floats + row, cells, values.probabilities, to);
    }
    std::vector<const Bnode_bn*> dimensions(node.parents.begin(), node.parents.end());
    if (own != nullptr) dimensions.insert(dimensions.begin(), own);
    if (dimensions.empty()) return array;
    Record names;
    std::vector<int> sizes;
    for (const Bnode_bn* dimension : dimensions) {
        sizes.push_back(dimension->numStates());
        names.add(dimension->name(), labels.at(dimension));
    }
    array.attr("dim") = sizes;
    array.attr("dimnames") = names.list();
    return array;
}

void AddRelation(Record& record, const Bnode_bn& node, const AllLabels& labels) {
    const Reln_bn& relation = node.relation;
    const int states = node.numStates();
    const Bnode_bn* const own = states > 0 ? &node : nullptr;
    record.add("relation", TextOrNull(RelationName(relation.kind)));
    record.add("declared", Flag(relation.saidDeterministic));
    record.add("from_counts", Flag(relation.experFromCounts));
    const Values probs{relation.probs, relation.exact, states, true};
    const Values reals{relation.reals, relation.exact, std::max(states, 1)};
    record.add("prob", Array(node, probs, own, labels));
    record.add("utility", Array(node, reals, own, labels));
    record.add("experience",
               Array(node, {relation.exper, relation.exactExper, 1}, nullptr, labels));
    record.add("parameters", Numbers(relation.params, NumCIParams(node)));
    if (relation.order != nullptr)
        record.add("parameter_order", Numbers(relation.order, NumFamilyStates(node)));
}

// ---- Nodes and net -------------------------------------------------------------------------

cpp11::sexp UserFields(const std::vector<UserField>& fields) {
    if (fields.empty()) return R_NilValue;
    cpp11::writable::strings texts = Texts(fields, FieldText);
    texts.names() = Texts(fields, [](const UserField& field) { return field.name; });
    return texts;
}

/// Missing where the file has none: nothing is laid out that nobody looks at.
cpp11::sexp Position(const Bnode_bn& node) {
    if (node.net().vnets[0]->awaited() != nullptr) return Pair(NA_INTEGER, NA_INTEGER, "x", "y");
    const coord_kt at = node.vns.hasSome() ? node.vns[0]->position() : coord_kt();
    return Pair(at.x, at.y, "x", "y");
}

cpp11::sexp NodeToR(const Bnode_bn& node, const AllLabels& labels) {
    const Varbl_bn& variable = node.variable;
    const cpp11::sexp& states = labels.at(&node);
    Record record;
    record.add("name", TextOrNull(node.name()));
    record.add("title", TextOrNull(node.title));
    record.add("comment", TextOrNull(node.comment));
    record.add("identity", TextOrNull(node.identity()));
    record.add("kind", TextOrNull(KindName(node.kind)));
    record.add("discrete", Flag(variable.discrete));
    record.add("states", states);
    record.add("state_info", StateInfo(variable, cpp11::strings(states)));
    if (variable.titlesAreIds) record.add("titles_are_ids", Flag(true));
    record.add("levels", HasValues(variable) ? cpp11::sexp(R_NilValue)
                                             : Numbers(variable.levels, variable.numLevels));
    record.add("parents",
               Texts(node.parents, [](const Bnode_bn* parent) { return parent->name(); }));
    record.add("position", Position(node));
    record.add("groups", Texts(node.nodesets(), [](const nodeset_bn* set) { return set->name(); }));
    record.add("user_fields", UserFields(node.userFields()));
    AddRelation(record, node, labels);
    return record.list();
}

cpp11::sexp Nodes(const Bnet_bn& net) {
    AllLabels labels;
    for (const Bnode_bn* node : net.nodes) labels.emplace(node, Labels(node->variable));
    Record record;
    for (const Bnode_bn* node : net.nodes) record.add(node->name(), NodeToR(*node, labels));
    return record.list();
}

cpp11::sexp Groups(const Bnet_bn& net) {
    Record record;
    record.add("name", Texts(net.nodesets(), [](const OwnedNodeset& set) { return set->name(); }));
    record.add("color", Texts(NodesetColors(net), ColorText));
    return record.list();
}

cpp11::sexp Drawing(const Bnet_bn& net) {
    const Vnet_kt& drawing = *net.vnets[0];
    const fontspec_kt& spec = drawing.font->spec();
    Record font, grid, record;
    font.add("face", TextOrNull(spec.face.c_str()));
    font.add("size", cpp11::as_sexp(spec.size));
    font.add("bold", Flag((spec.styleFlags & fontspec_kt::Bold) != 0));
    font.add("italic", Flag((spec.styleFlags & fontspec_kt::Italic) != 0));
    grid.add("x", cpp11::as_sexp(drawing.grid.x));
    grid.add("y", cpp11::as_sexp(drawing.grid.y));
    grid.add("show", Flag(drawing.showGrid));
    grid.add("snap", Flag(drawing.snapToGrid));
    const bool isKnown = drawing.awaited() == nullptr;
    const coord_kt extent = isKnown ? drawing.extent() : coord_kt{NA_INTEGER, NA_INTEGER};
    record.add("extent", Pair(extent.x, extent.y, "width", "height"));
    record.add("margin", Pair(drawing.marginUnit.x, drawing.marginUnit.y, "x", "y"));
    record.add("draw_style", cpp11::as_sexp(drawing.drawStyle));
    record.add("label_style", cpp11::as_sexp(drawing.labelStyle));
    record.add("zoom", cpp11::as_sexp(drawing.zoomFactor));
    record.add("laid_out", Flag(drawing.laidOut));
    record.add("font", font.list());
    record.add("grid", grid.list());
    return record.list();
}

cpp11::sexp Reports(const std::vector<ReportRecord>& reports) {
    const auto numbers = [&](int ReportRecord::*number) {
        cpp11::writable::integers column(static_cast<R_xlen_t>(reports.size()));
        std::ranges::transform(reports, INTEGER(column), number);
        return column;
    };
    const auto texts = [&](std::string ReportRecord::*text) {
        return Texts(
            reports, [=](auto& report) -> auto& { return report.*text; });
    };
    Record record;
    record.add("kind", Texts(reports, [](const ReportRecord& report) {
                   return SeverityName(report.severity);
               }));
    record.add("number", numbers(&ReportRecord::number));
    record.add("severity", numbers(&ReportRecord::severity));
    record.add("message", texts(&ReportRecord::message));
    record.add("file", texts(&ReportRecord::file));
    record.add("line", numbers(&ReportRecord::line));
    record.add("column", numbers(&ReportRecord::column));
    record.add("structure", texts(&ReportRecord::structKind));
    record.add("name", texts(&ReportRecord::structName));
    record.add("field", texts(&ReportRecord::fieldName));
    return record.list();
}

}  // namespace

RowWalk::RowWalk(const BndList_bn& parents) {
    int stride = 1;
    for (int i = parents.N - 1; i >= 0; --i) {
        digits_.push_back({parents[i]->numStates(), stride, 0});
        stride *= parents[i]->numStates();
    }
    std::ranges::reverse(digits_);
}

void RowWalk::advance() {
    for (Digit& digit : digits_) {
        row_ += digit.stride;
        if (++digit.state < digit.count) return;
        row_ -= digit.count * digit.stride;
        digit.state = 0;
    }
}

cpp11::sexp ToR(const ImportResult& result) {
    Record record;
    if (result.net != nullptr) {
        const Bnet_bn& net = *result.net;
        record.add("name", TextOrNull(net.name));
        record.add("title", TextOrNull(net.title));
        record.add("comment", TextOrNull(net.comment));
        record.add("nodes", Nodes(net));
        record.add("groups", Groups(net));
        record.add("auto_update", Flag(net.autoUpdate));
        record.add("drawing", Drawing(net));
    }
    record.add("file", TextOrNull(result.file.c_str()));
    record.add("format", TextOrNull(result.format.c_str()));
    record.add("status", TextOrNull(StatusName(result.status())));
    record.add("reports", Reports(result.reports));
    return record.list();
}

}  // namespace lumo::r
