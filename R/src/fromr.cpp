// Lists of R, checked and completed by ../R/write.R, as the model.
#include <lumo/ForeignFile.h>
#include <lumo/Utils.h>
#include <lumo/describe.h>
#include <lumo/detect.h>
#include <lumo/exact.h>
#include <lumo/losses.h>
#include <lumo/placing.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <stdexcept>

#include "lumo_r.h"

namespace lumo::r {
namespace {

// ---- Values of lists -----------------------------------------------------------------------

std::optional<std::string> TextAt(const cpp11::list& list, const char* name) {
    const cpp11::sexp value = list[name];
    if (value == R_NilValue) return std::nullopt;
    return cpp11::as_cpp<std::string>(value);
}

char* NewTextAt(const cpp11::list& list, const char* name) {
    const std::optional<std::string> text = TextAt(list, name);
    return text ? DupStr_kt(*text) : nullptr;
}

template <class VALUE>
VALUE ValueAt(const cpp11::list& list, const char* name) {
    return cpp11::as_cpp<VALUE>(list[name]);
}

/// Null for none; null entries for NA.
OwnedStrs TextsAt(const cpp11::list& list, const char* name) {
    const cpp11::sexp value = list[name];
    if (value == R_NilValue) return {};
    const cpp11::strings texts(value);
    OwnedStrs owned(new char*[static_cast<std::size_t>(texts.size())](),
                    static_cast<int>(texts.size()));
    for (int i = 0; i < owned.count(); ++i) {
        const cpp11::r_string text = texts[i];
        if (text != NA_STRING) owned.get()[i] = DupStr_kt(std::string(text));
    }
    return owned;
}

coord_kt CoordAt(const cpp11::list& list, const char* name) {
    const cpp11::integers pair(list[name]);
    return {pair[0], pair[1]};
}

/// A table as the model keeps it: floats, and doubles where they say more.
struct Table {
    XArray<float> floats;
    XArray<double> exact;
};

// ---- The model's refusals ------------------------------------------------------------------

/// Keeps what the model says while a net is built.
class Listener : public ReportHandler {
public:
    void show(const rept_kt& report) override { last = report.message; }
    void print(const char*) override {}

    std::string last;
};

class Builder {
public:
    explicit Builder(const cpp11::list& list);
    OwnedNet take() { return std::move(net_); }

private:
    void check(rept_kt* report) {
        if (!IsError(report)) return;
        ShowReport(report);
        throw std::runtime_error(listener_.last);
    }
    void addNode(const cpp11::list& list);
    void setStates(Bnode_bn& node, const cpp11::list& list);
    void setFields(Bnode_bn& node, const cpp11::list& list);
    void setParents(Bnode_bn& node, const cpp11::list& list);
    void setRelation(Bnode_bn& node, const cpp11::list& list);
    void setNoisyMax(Bnode_bn& node, const cpp11::list& list, const Table& table);
    void setGroups(const cpp11::list& list);
    void setDrawing(const cpp11::list& list);
    void placeNodes(const cpp11::list& nodes);

    Listener listener_;
    HandlerScope handler_{listener_};
    ReportScope scope_;
    OwnedNet net_;
};

// ---- Nodes ---------------------------------------------------------------------------------

template <class WORD, class NAME_OF>
WORD WordAt(const cpp11::list& list, const char* name, std::initializer_list<WORD> words,
            NAME_OF nameOf) {
    const std::string text = TextAt(list, name).value_or("");
    for (const WORD word : words)
        if (text == nameOf(word)) return word;
    throw std::runtime_error("there is no " + std::string(name) + " '" + text + "'");
}

void Builder::addNode(const cpp11::list& list) {
    const std::string name = TextAt(list, "name").value_or("");
    if (!IsLegalName_kt(name))
        throw std::runtime_error("'" + name +
                                 "' is no name for a node: letters, digits and '_' are");
    rept_kt* error = nullptr;
    Bnode_bn* const node = NewNode_ibn(name.c_str(), 0, *net_, CoordAt(list, "position"), &error);
    if (node == nullptr) check(error);
    check(node->setKind(WordAt(list, "kind", {NatureNode, DecisionNode, UtilityNode}, KindName)));
    setStates(*node, list);
    setFields(*node, list);
}

void Builder::setStates(Bnode_bn& node, const cpp11::list& list) {
    if (!ValueAt<bool>(list, "discrete")) check(node.setDiscrete(ContinuousVar));
    const int count = ValueAt<int>(list, "count");
    if (list["labels"] != R_NilValue) {
        check(SetStatesToLabels(node, TextsAt(list, "labels").release(), count, false));
    } else {
        std::unique_ptr<double[]> levels;
        if (const cpp11::sexp values = list["levels"]; values != R_NilValue) {
            const cpp11::doubles numbers(values);
            levels = std::make_unique<double[]>(static_cast<std::size_t>(numbers.size()));
            std::copy(numbers.begin(), numbers.end(), levels.get());
        }
        check(node.setStates(count, TextsAt(list, "state_names").release(), levels.release()));
    }
    if (OwnedStrs titles = TextsAt(list, "state_titles"); titles.get() != nullptr)
        node.setStateTitles(titles.release());
    const OwnedStrs comments = TextsAt(list, "state_comments");
    for (int i = 0; i < comments.count(); ++i)
        if (comments.get()[i] != nullptr)
            check(node.setStateComment(i, DupStr_kt(comments.get()[i])));
}

void Builder::setFields(Bnode_bn& node, const cpp11::list& list) {
    node.setTitle(NewTextAt(list, "title"));
    node.setComment(NewTextAt(list, "comment"));
    if (const std::optional<std::string> identity = TextAt(list, "identity"))
        SetNodeIdentity(node, identity->c_str());
    const OwnedStrs groups = TextsAt(list, "groups");
    for (int i = 0; i < groups.count(); ++i) check(AddNodeToNodeset_ibn(node, groups.get()[i]));
    const cpp11::sexp fields = list["user_fields"];
    if (fields == R_NilValue) return;
    const cpp11::strings texts(fields), names(texts.names());
    for (R_xlen_t i = 0; i < texts.size(); ++i) {
        const std::string name(names[i]), text(texts[i]);
        // With the zero byte at its end, as readers set it.
        node.setUserField(name.c_str(), text.c_str(), static_cast<int>(text.size()) + 1);
    }
}

void Builder::setParents(Bnode_bn& node, const cpp11::list& list) {
    BndList_bn parents;
    for (const int place : cpp11::integers(list["parents"])) parents.append(net_->nodes[place - 1]);
    check(node.changePreds(parents));
}

// ---- Relations -----------------------------------------------------------------------------

/// Takes over a row of R's: floats, and the doubles that they stand for where they were not
/// changed.
void TakeRow(const double* from, int cells, bool probabilities, float* floats, double* exact) {
    std::transform(from, from + cells, floats,
                   [](double number) { return static_cast<float>(number); });
    Decimals(floats, cells, probabilities, exact);
    if (std::equal(from, from + cells, exact))
        ShortestDoubles(floats, cells, exact);
    else
        std::copy_n(from, cells, exact);
}

/// The table of an array of R, `cells` numbers a row; empty without one.
Table TableAt(const cpp11::list& list, const char* name, const Bnode_bn& node, int cells,
              bool probabilities = false) {
    const cpp11::sexp value = list[name];
    if (value == R_NilValue) return {};
    const cpp11::doubles numbers(value);
    const int rows = NumProduct(node.parents);
    const long long wanted = static_cast<long long>(rows) * cells;
    if (wanted != numbers.size())
        throw std::runtime_error(std::string(name) + " of node '" + node.name() + "' should have " +
                                 std::to_string(wanted) + " numbers");
    Table table{NewXArray<float>(wanted), NewXArray<double>(wanted)};
    if (table.floats == nullptr || table.exact == nullptr) throw std::bad_alloc();
    const double* from = REAL(numbers);
    RowWalk walk(node.parents);
    for (int i = 0; i < rows; ++i, from += cells, walk.advance()) {
        const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(walk.row()) * cells;
        TakeRow(from, cells, probabilities, table.floats.get() + row, table.exact.get() + row);
    }
    if (AreHeldByFloats(table.exact.get(), table.floats.get(), wanted)) table.exact.reset();
    return table;
}

/// Parameters whose table is not the one given do not count: it was changed since.
void Builder::setNoisyMax(Bnode_bn& node, const cpp11::list& list, const Table& table) {
    const cpp11::doubles params(list["parameters"]);
    if (params.size() != NumCIParams(node))
        throw std::runtime_error("parameters of node '" + std::string(node.name()) +
                                 "' should have " + std::to_string(NumCIParams(node)) + " numbers");
    std::vector<int> order;
    if (const cpp11::sexp given = list["parameter_order"]; given != R_NilValue)
        for (const double place : cpp11::doubles(given))
            order.push_back(place >= 0 && place < MaxStates ? static_cast<int>(place) : -1);
    if (!order.empty() && !IsFamilyOrder(node, order))
        throw std::runtime_error("parameter_order of node '" + std::string(node.name()) +
                                 "' should be the places of its states, then of its parents'");
    check(node.makeIntoNoisyMax(REAL(params), order.empty() ? nullptr : order.data(),
                                table.floats == nullptr));
    if (table.floats == nullptr) return;
    constexpr double rounding = 1e-12;
    const auto number = [](const float* floats, const double* exact, int i) {
        return exact != nullptr ? exact[i] : ShortestDouble(floats[i]);
    };
    for (int i = NumProduct(node.family); i-- > 0;) {
        const double given = number(table.floats.get(), table.exact.get(), i);
        const double own = number(node.relation.probs, node.relation.exact, i);
        if (std::abs(given - own) > rounding) return node.relation.clear();
    }
}

void Builder::setRelation(Bnode_bn& node, const cpp11::list& list) {
    Table table = TableAt(list, "prob", node, node.numStates(), true);
    if (list["parameters"] != R_NilValue) setNoisyMax(node, list, table);
    if (table.floats != nullptr && node.relation.kind == RelnKindEN::none) {
        check(node.setTable(std::move(table.floats), std::move(table.exact)));
        if (TextAt(list, "relation") == "deterministic") node.relation.makeDeterminFromProbs();
    }
    if (Table reals = TableAt(list, "utility", node, std::max(node.numStates(), 1)); reals.floats)
        check(node.relation.setReals(std::move(reals.floats), std::move(reals.exact)));
    if (Table experience = TableAt(list, "experience", node, 1); experience.floats)
        node.relation.setExperTable(experience.floats.release(), experience.exact.release());
    node.variable.titlesAreIds =
        ValueAt<bool>(list, "titles_are_ids") && node.variable.stateTitles != nullptr;
    node.relation.saidDeterministic = ValueAt<bool>(list, "declared");
    node.relation.experFromCounts = ValueAt<bool>(list, "from_counts");
}

// ---- The net -------------------------------------------------------------------------------

void Builder::setGroups(const cpp11::list& list) {
    const OwnedStrs names = TextsAt(list, "name"), colors = TextsAt(list, "color");
    vect_kt<NodesetStyle> styles;
    for (int i = 0; i < names.count(); ++i) {
        if (net_->newNodeset(names.get()[i]) == nullptr)
            throw std::runtime_error("there are too many groups");
        RGB color{};
        if (std::sscanf(colors.get()[i], "#%2hhx%2hhx%2hhx", &color.red, &color.green,
                        &color.blue) != 3)
            throw std::runtime_error("'" + std::string(colors.get()[i]) + "' is no color");
        if (IsDefaultColor(color)) continue;  // that of groups which were given none
        NodesetStyle style;
        style.setName(names.get()[i]);
        style.red = color.red, style.green = color.green, style.blue = color.blue;
        styles.append(style);
    }
    net_->vnets[0]->setNodesetStyles(styles, nullptr);
}

void Builder::setDrawing(const cpp11::list& list) {
    Vnet_kt& drawing = *net_->vnets[0];
    const cpp11::list font(list["font"]), grid(list["grid"]);
    drawing.setExtent(CoordAt(list, "extent"));
    drawing.marginUnit = CoordAt(list, "margin");
    drawing.laidOut = ValueAt<bool>(list, "laid_out");
    drawing.drawStyle = ValueAt<int>(list, "draw_style");
    drawing.labelStyle = ValueAt<int>(list, "label_style");
    drawing.zoomFactor = ValueAt<double>(list, "zoom");
    fontspec_kt spec;
    spec.face = ValueAt<std::string>(font, "face");
    spec.size = ValueAt<int>(font, "size");
    spec.styleFlags = (ValueAt<bool>(font, "bold") ? fontspec_kt::Bold : 0) |
                      (ValueAt<bool>(font, "italic") ? fontspec_kt::Italic : 0);
    FreeFont_fc(std::exchange(drawing.font, NewFont_fc(nullptr, -1, &spec)));
    drawing.grid = {ValueAt<double>(grid, "x"), ValueAt<double>(grid, "y")};
    drawing.showGrid = ValueAt<bool>(grid, "show");
    drawing.snapToGrid = ValueAt<bool>(grid, "snap");
}

/// Nodes whose positions are missing are left to the automatic layout; the others stay where they
/// are said to be.
void Builder::placeNodes(const cpp11::list& nodes) {
    std::vector<coord_kt> given;
    for (const SEXP node : nodes) given.push_back(CoordAt(node, "position"));
    const auto isMissing = [](coord_kt at) { return at.x == NA_INTEGER || at.y == NA_INTEGER; };
    if (std::ranges::none_of(given, isMissing)) return;
    Vnet_kt& drawing = *net_->vnets[0];
    LeaveToLayout(drawing);
    if (std::ranges::all_of(given, isMissing)) return;
    for (int i = 0; i < net_->nodes.N; ++i)
        if (const coord_kt at = given[static_cast<std::size_t>(i)]; !isMissing(at))
            drawing.vnodes[i]->moveTo(at);
    drawing.laidOut = false;
}

Builder::Builder(const cpp11::list& list) {
    const std::string name = TextAt(list, "name").value_or("net");
    net_.reset(NewVBNet(DupStr_kt(LegalName(name))));
    SetNetLabel(*net_, NewTextAt(list, "title"));
    net_->setComment(NewTextAt(list, "comment"));
    net_->autoUpdate = ValueAt<bool>(list, "auto_update");
    setGroups(list["groups"]);
    setDrawing(list["drawing"]);
    const cpp11::list nodes(list["nodes"]);
    for (const SEXP node : nodes) addNode(node);
    placeNodes(nodes);
    for (int i = 0; i < net_->nodes.N; ++i) setParents(*net_->nodes[i], nodes[i]);
    for (int i = 0; i < net_->nodes.N; ++i) setRelation(*net_->nodes[i], nodes[i]);
}

std::vector<ReportRecord> ReportsOf(const cpp11::list& list) {
    const cpp11::integers number(list["number"]), severity(list["severity"]), line(list["line"]),
        column(list["column"]);
    std::vector<ReportRecord> reports(static_cast<std::size_t>(number.size()));
    const auto setText = [&](const char* name, std::string ReportRecord::*text) {
        const cpp11::strings texts(list[name]);
        for (std::size_t i = 0; i < reports.size(); ++i)
            reports[i].*text = std::string(texts[static_cast<R_xlen_t>(i)]);
    };
    for (std::size_t i = 0; i < reports.size(); ++i) {
        const auto at = static_cast<R_xlen_t>(i);
        reports[i].number = number[at];
        reports[i].severity = severity[at];
        reports[i].line = line[at];
        reports[i].column = column[at];
    }
    setText("message", &ReportRecord::message);
    setText("file", &ReportRecord::file);
    setText("structure", &ReportRecord::structKind);
    setText("name", &ReportRecord::structName);
    setText("field", &ReportRecord::fieldName);
    return reports;
}

/// The path with the library's own extension, as a net's file is named.
char* OwnFileName(const std::string& file) {
    std::string path = file;
    path.resize(path.size() + 1);
    RemoveExtension_kt(path.data());
    return DupStr_kt(path.c_str() + std::string(LumoFileExtension_sy));
}

}  // namespace

ImportResult FromR(const cpp11::list& list) {
    ImportResult result;
    result.net = Builder(list).take();
    result.file = TextAt(list, "file").value_or("");
    result.format = TextAt(list, "format").value_or("");
    const FormatInfo* const format = FindFormat(std::string_view(result.format));
    result.formatCode = format == nullptr ? 0 : format->code;
    result.reports = ReportsOf(list["reports"]);
    if (!result.file.empty()) result.net->fileName = OwnFileName(result.file);
    return result;
}

}  // namespace lumo::r
