#include "export/json.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <ostream>
#include <span>
#include <string_view>
#include <unordered_map>

#include "export/text.h"

namespace lumo {
namespace {

/// Writes JSON piece by piece; commas come by themselves. Keeps 64 KB, so that tables of any size
/// pass through.
class JsonOut {
public:
    explicit JsonOut(std::ostream* out = nullptr) : out_(out) {}

    JsonOut& open(char bracket) {
        element();
        buffer_ += bracket;
        first_ = true;
        return *this;
    }
    JsonOut& close(char bracket) {
        buffer_ += bracket;
        first_ = false;
        return *this;
    }
    JsonOut& key(std::string_view name) {
        element();
        quoted(name);
        buffer_ += ':';
        first_ = true;  // its value needs no comma
        return *this;
    }
    /// A line break before the next element, which takes its comma along.
    void line() { breakLine_ = true; }

    void null() { literal("null"); }
    void boolean(bool value) { literal(value ? "true" : "false"); }
    void text(std::string_view value) {
        element();
        quoted(ToUtf8(value));
    }
    void textOrNull(const char* value) { value == nullptr ? null() : text(value); }
    void textOrNull(const std::string& value) { value.empty() ? null() : text(value); }

    void number(int value) { digits(value); }
    void number(float value) {
        if (!std::isfinite(value)) return null();
        digits(value);
    }
    /// A real number keeps a point, so that languages which tell the two apart read it as one.
    void number(double value) {
        if (!std::isfinite(value)) return null();
        const std::size_t from = digits(value);
        if (buffer_.find_first_of(".e", from) == std::string::npos) buffer_ += ".0";
    }

    template <class T>
    void numbers(const T* values, long long count) {
        if (values == nullptr) return null();
        open('[');
        for (long long i = 0; i < count; ++i) number(values[i]);
        close(']');
    }

    std::string take() { return std::move(buffer_); }
    void flush() {
        out_->write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        buffer_.clear();
    }

private:
    void element() {
        if (out_ != nullptr && buffer_.size() > bufferLimit) flush();
        if (!first_) buffer_ += ',';
        if (breakLine_) buffer_ += '\n';
        first_ = breakLine_ = false;
    }
    void literal(std::string_view word) {
        element();
        buffer_ += word;
    }
    template <class T>
    std::size_t digits(T value) {
        element();
        char text[32];
        const std::size_t from = buffer_.size();
        buffer_.append(text, std::to_chars(text, text + sizeof text, value).ptr);
        return from;
    }
    void quoted(std::string_view utf8);

    static constexpr std::size_t bufferLimit = 64 * 1024;
    std::ostream* out_;
    std::string buffer_;
    bool first_ = true;
    bool breakLine_ = false;
};

void JsonOut::quoted(std::string_view utf8) {
    static constexpr char hex[] = "0123456789abcdef";
    static constexpr std::string_view plain = "\"\\\b\f\n\r\t";
    static constexpr std::string_view escaped = "\"\\bfnrt";
    buffer_ += '"';
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (const std::size_t at = plain.find(c); at != std::string_view::npos) {
            buffer_ += '\\';
            buffer_ += escaped[at];
        } else if (byte < 0x20 || byte == 0x7F) {
            buffer_ += "\\u00";
            buffer_ += hex[byte >> 4];
            buffer_ += hex[byte & 15];
        } else {
            buffer_ += c;
        }
    }
    buffer_ += '"';
}

const char* StatusName(StatusEN status) {
    constexpr const char* names[] = {"ok", "warnings", "errors", "failed"};
    return names[static_cast<int>(status)];
}

const char* KindName(NodeKindEN kind) {
    if (kind == DecisionNode) return "decision";
    return kind == UtilityNode ? "utility" : "nature";
}

const char* RelationName(RelnKindEN kind) {
    constexpr const char* names[] = {"none", "table", "deterministic", "noisy-max", "real"};
    return names[static_cast<int>(kind)];
}

template <class NAMED>
void WriteNames(JsonOut& json, const char* key, std::span<NAMED* const> list, auto name) {
    json.key(key).open('[');
    for (const NAMED* item : list) json.text(name(*item));
    json.close(']');
}

void WriteStates(JsonOut& json, const Varbl_bn& variable) {
    const auto entry = [](char** texts, int i) { return texts == nullptr ? nullptr : texts[i]; };
    const bool valued = variable.levels != nullptr && variable.numLevels == variable.numStates;
    json.key("states").open('[');
    for (int i = 0; i < variable.numStates; ++i) {
        json.open('{');
        json.key("name").textOrNull(entry(variable.stateNames, i));
        json.key("title").textOrNull(entry(variable.stateTitles, i));
        json.key("comment").textOrNull(entry(variable.stateComments, i));
        json.key("value");
        valued ? json.number(variable.levels[i]) : json.null();
        json.close('}');
    }
    json.close(']');
    json.key("levels").numbers(valued ? nullptr : variable.levels, variable.numLevels);
}

void WriteUserFields(JsonOut& json, const std::vector<UserField>& fields) {
    json.key("userFields").open('{');
    for (const UserField& field : fields) {
        std::string_view data = field.data;
        if (data.ends_with('\0')) data.remove_suffix(1);
        json.key(ToUtf8(field.name)).text(data);
    }
    json.close('}');
}

void WriteRelation(JsonOut& json, const Bnode_bn& node) {
    const Reln_bn& relation = node.relation;
    const long long rows = NumProduct(node.parents);
    const long long rowLength = std::max(node.numStates(), 1);
    json.key("relation").open('{');
    json.key("kind").text(RelationName(relation.kind));
    const float* table = relation.kind == RelnKindEN::real ? relation.reals : relation.probs;
    json.key("table").numbers(table, rows * rowLength);
    json.key("experience").numbers(relation.exper, rows);
    json.key("parameters").numbers(relation.params, NumCIParams(node));
    json.close('}');
}

void WriteNode(JsonOut& json, const Bnode_bn& node) {
    json.line();
    json.open('{');
    json.key("name").text(node.name());
    json.key("title").textOrNull(node.title);
    json.key("comment").textOrNull(node.comment);
    json.key("kind").text(KindName(node.kind));
    json.key("discrete").boolean(node.variable.discrete);
    WriteStates(json, node.variable);
    WriteNames(json, "parents",
               std::span<Bnode_bn* const>(node.parents.begin(), node.parents.end()),
               [](const Bnode_bn& parent) { return parent.name(); });
    const coord_kt at = node.vns.hasSome() ? node.vns[0]->position : coord_kt();
    const int position[] = {at.x, at.y};
    json.key("position").numbers(position, 2);
    WriteNames(json, "groups", std::span<nodeset_bn* const>(node.nodesets()),
               [](const nodeset_bn& set) { return std::string_view(set.name()); });
    WriteUserFields(json, node.userFields());
    WriteRelation(json, node);
    json.close('}');
}

/// Finds the display style of a node set. A style holds the set's name cut to its field, so that of
/// the same place in the list is looked at first.
class StyleFinder {
public:
    explicit StyleFinder(const vect_kt<NodesetStyle>& styles) : styles_(styles) {
        for (const NodesetStyle& style : styles) byName_.try_emplace(style.name, &style);
    }
    const NodesetStyle* find(std::string_view setName, int place) const {
        const std::string_view cut = setName.substr(0, sizeof NodesetStyle::name - 1);
        if (place < styles_.N && cut == styles_[place].name) return &styles_[place];
        const auto found = byName_.find(cut);
        return found == byName_.end() ? nullptr : found->second;
    }

private:
    const vect_kt<NodesetStyle>& styles_;
    std::unordered_map<std::string_view, const NodesetStyle*> byName_;
};

void WriteGroups(JsonOut& json, const Bnet_bn& net, const Vnet_kt& drawing) {
    const StyleFinder styles(drawing.nodesetStyles);
    int place = 0;
    json.line();
    json.key("groups").open('[');
    for (const auto& set : net.nodesets()) {
        const NodesetStyle* style = styles.find(set->name(), place++);
        const RGB color =
            style == nullptr ? DefaultNodesetColor : RGB{style->red, style->green, style->blue};
        json.open('{');
        json.key("name").text(set->name());
        json.key("color").text(Format("#%02x%02x%02x", color.red, color.green, color.blue));
        json.close('}');
    }
    json.close(']');
}

void WriteDrawing(JsonOut& json, const Vnet_kt& drawing) {
    const int extent[] = {drawing.extentWidth, drawing.extentHeight};
    const fontspec_kt& font = drawing.font->spec();
    json.line();
    json.key("drawing").open('{');
    json.key("extent").numbers(extent, 2);
    json.key("drawStyle").number(drawing.drawStyle);
    json.key("labelStyle").number(drawing.labelStyle);
    json.key("zoom").number(drawing.zoomFactor);
    json.key("font").open('{');
    json.key("face").text(font.face);
    json.key("size").number(font.size);
    json.key("bold").boolean((font.styleFlags & fontspec_kt::Bold) != 0);
    json.key("italic").boolean((font.styleFlags & fontspec_kt::Italic) != 0);
    json.close('}');
    json.key("grid").open('{');
    json.key("x").number(drawing.grid.x);
    json.key("y").number(drawing.grid.y);
    json.key("show").boolean(drawing.showGrid);
    json.key("snap").boolean(drawing.snapToGrid);
    json.close('}').close('}');
}

void WriteNet(JsonOut& json, const Bnet_bn& net) {
    const Vnet_kt& drawing = *net.vnets[0];
    json.open('{');
    json.key("name").text(net.name);
    json.key("title").textOrNull(net.title);
    json.key("comment").textOrNull(net.comment);
    json.key("fileName").textOrNull(net.fileName);
    json.key("autoUpdate").boolean(net.autoUpdate);
    json.key("nodes").open('[');
    for (const Bnode_bn* node : net.nodes) WriteNode(json, *node);
    json.close(']');
    WriteGroups(json, net, drawing);
    WriteDrawing(json, drawing);
    json.close('}');
}

void WriteReportFields(JsonOut& json, const ReportRecord& report) {
    const auto placed = [&](int value) { report.line > 0 ? json.number(value) : json.null(); };
    json.key("number").number(report.number);
    json.key("severity").number(report.severity);
    json.key("kind").text(SeverityName(report.severity));
    json.key("message").text(report.message);
    json.key("line"), placed(report.line);
    json.key("column"), placed(report.column);
    json.key("structKind").textOrNull(report.structKind);
    json.key("structName").textOrNull(report.structName);
    json.key("fieldName").textOrNull(report.fieldName);
}

}  // namespace

void WriteJson(const ImportResult& result, std::ostream& out) {
    JsonOut json(&out);
    json.open('{');
    json.key("schema").text("lumo-import/1");
    json.key("file").text(result.file);
    json.key("format").textOrNull(result.format);
    json.key("formatCode");
    result.formatCode == 0 ? json.null() : json.number(result.formatCode);
    json.key("status").text(StatusName(result.status()));
    json.line();
    json.key("net");
    result.net == nullptr ? json.null() : WriteNet(json, *result.net);
    json.line();
    json.key("reports").open('[');
    for (const ReportRecord& report : result.reports) {
        json.line();
        json.open('{');
        WriteReportFields(json, report);
        json.close('}');
    }
    json.close(']').close('}');
    json.flush();
    out << '\n';
}

std::string ReportToJson(const ReportRecord& report) {
    JsonOut json;
    json.open('{');
    json.key("file").text(report.file);
    WriteReportFields(json, report);
    json.close('}');
    return json.take();
}

}  // namespace lumo
