#include <set>
#include <unordered_map>

#include "export/json.h"
#include "export/picture.h"
#include "export/report.h"
#include "formats/catalogue.h"
#include "formats/shared/describe.h"
#include "formats/shared/rows.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

using GroupPlaces = std::unordered_map<const nodeset_bn*, int>;
using NodePlaces = std::unordered_map<const Bnode_bn*, int>;

constexpr int mostWithBars = 1000;  ///< nodes of a net that is laid out with room for bars

/// A number that is rounded to a tenth: enough for a picture.
void Place(JsonOut& json, double value) {
    json.number(static_cast<float>(std::round(value * 10) / 10));
}

void WriteBox(JsonOut& json, const PictureNode& node) {
    for (const double value : {node.centre.x, node.centre.y, node.halfWidth, node.halfHeight})
        Place(json, value);
}

long long NumEntries(const Bnode_bn& node) {
    return static_cast<long long>(NumProduct(node.parents)) * std::max(node.numStates(), 1);
}

/// How many numbers a node's relation has.
struct Numbers {
    long long table = 0, experience = 0, parameters = 0;
};

Numbers NumbersOf(const Bnode_bn& node) {
    const Reln_bn& relation = node.relation;
    Numbers numbers;
    if (relation.probs != nullptr || relation.reals != nullptr) numbers.table = NumEntries(node);
    if (relation.exper != nullptr) numbers.experience = NumProduct(node.parents);
    if (relation.params != nullptr) numbers.parameters = NumCIParams(node);
    return numbers;
}

/// Writes the parts of nodes and counts the numbers that the page has room for.
class NodeWriter {
public:
    NodeWriter(JsonOut& json, const Bnet_bn& net, bool carriesNet)
        : json_(json), carriesNet_(carriesNet) {
        for (const Bnode_bn* node : net.nodes)
            places_.emplace(node, static_cast<int>(places_.size()));
        for (const auto& set : net.nodesets())
            groups_.emplace(set.get(), static_cast<int>(groups_.size()));
    }

    void write(const PictureNode& drawn) {
        const Bnode_bn& node = *drawn.node;
        json_.line();
        json_.open('{');
        WriteNodeHead(json_, node);
        writeLook(drawn);
        writeStates(node.variable);
        indices("parents", node.parents, places_);
        indices("groups", node.nodesets(), groups_);
        writeFields(node.userFields());
        writeRelation(node);
        json_.close('}');
    }

    NodePlaces takePlaces() { return std::move(places_); }

private:
    void writeLook(const PictureNode& drawn) {
        json_.key("label").open('[');
        for (const std::string& line : drawn.lines) json_.text(line);
        json_.close(']').key("at").open('[');
        WriteBox(json_, drawn);
        json_.close(']');
        json_.key("fill").text(ColorText(drawn.fill));
        json_.key("ink").text(ColorText(drawn.ink));
        json_.key("double").boolean(drawn.doubled);
    }

    /// The states' labels, each a text or a list of label, name and comment; the number of states
    /// when nothing is known about any.
    void writeStates(const Varbl_bn& variable) {
        json_.key("states");
        const bool named = variable.stateNames != nullptr || variable.stateTitles != nullptr ||
                           variable.stateComments != nullptr || variable.levels != nullptr;
        if (!named) return json_.number(variable.numStates);
        const auto entry = [](char** texts, int i) {
            return texts == nullptr ? nullptr : texts[i];
        };
        json_.open('[');
        for (int i = 0; i < variable.numStates; ++i) {
            const char* title = entry(variable.stateTitles, i);
            const char* name = entry(variable.stateNames, i);
            const char* comment = entry(variable.stateComments, i);
            const bool renamed = title != nullptr && name != nullptr && !streql_kt(title, name);
            const bool more = renamed || comment != nullptr;
            if (more) json_.open('[');
            json_.text(StateLabel(variable, i));
            if (!more) continue;
            json_.textOrNull(renamed ? name : nullptr);
            json_.textOrNull(comment);
            json_.close(']');
        }
        json_.close(']');
        const bool bounds = variable.levels != nullptr && variable.numLevels != variable.numStates;
        if (bounds) json_.key("levels").numbers(variable.levels, variable.numLevels);
    }

    template <class LIST, class PLACES>
    void indices(const char* key, const LIST& list, const PLACES& places) {
        json_.key(key).open('[');
        for (const auto* item : list) json_.number(places.at(item));
        json_.close(']');
    }

    void writeFields(const std::vector<UserField>& fields) {
        json_.key("fields").open('[');
        for (const UserField& field : fields) {
            json_.open('[');
            json_.text(field.name);
            json_.text(FieldText(field));
            json_.close(']');
        }
        json_.close(']');
    }

    void writeRelation(const Bnode_bn& node) {
        const Reln_bn& relation = node.relation;
        const bool real = relation.kind == RelnKindEN::real;
        if (carriesNet_) return;
        const HeldTable table{real ? relation.reals : relation.probs, relation.exact};
        const Numbers counts = NumbersOf(node);
        const long long size = table ? NumEntries(node) : 0;
        json_.key("relation").open('{');
        json_.key("kind").text(RelationName(relation.kind));
        if (counts.parameters > 0 && fits(counts.parameters)) {
            json_.key("parameters").numbers(relation.params, counts.parameters);
            if (relation.order != nullptr)
                json_.key("order").numbers(relation.order, NumFamilyStates(node));
        }
        if (size > 0 && fits(size + counts.experience)) {
            json_.key("table").numbers(table.floats, table.exact, size);
            if (counts.experience > 0)
                json_.key("experience")
                    .numbers(relation.exper, relation.exactExper, counts.experience);
        }
        if (leftOut_ > 0) json_.key("leftOut").number(static_cast<double>(leftOut_));
        leftOut_ = 0;
        json_.close('}');
    }

    /// Takes the numbers from the page's room, or counts them as left out.
    bool fits(long long numbers) {
        const bool fit = numbers <= room_;
        (fit ? room_ : leftOut_) += fit ? -numbers : numbers;
        return fit;
    }

    JsonOut& json_;
    const bool carriesNet_;
    NodePlaces places_;
    GroupPlaces groups_;
    long long room_ = MostReportNumbers;
    long long leftOut_ = 0;
};

void WriteFrame(JsonOut& json, const Picture& picture) {
    json.key("left").number(picture.left);
    json.key("top").number(picture.top);
    json.key("width").number(picture.width);
    json.key("height").number(picture.height);
    json.key("links").open('[');
    for (const PictureLink& link : picture.links) {
        json.number(link.parent);
        json.number(link.child);
        json.number(static_cast<int>(link.course.size()));
        for (const Point at : link.course)
            for (const double value : {at.x, at.y}) Place(json, value);
    }
    json.close(']');
}

void WriteBoxes(JsonOut& json, const Picture& picture) {
    json.key("at").open('[');
    for (const PictureNode& node : picture.nodes) WriteBox(json, node);
    json.close(']');
}

/// Whether the layout is automatic, and the picture by it with room for bars in the nodes.
void WriteLayout(JsonOut& json, const Bnet_bn* net, bool laidOut) {
    json.key("laidOut").boolean(laidOut);
    if (net == nullptr || net->nodes.N > mostWithBars) return;
    PictureWish wish;
    wish.layout = laidOut ? LayoutEN::automatic : LayoutEN::file;
    wish.roomForBars = true;
    const Picture picture = MakePicture(*net, wish);
    json.key("believed").open('{');
    WriteFrame(json, picture);
    WriteBoxes(json, picture);
    json.close('}');
}

void WritePicture(JsonOut& json, const Bnet_bn* net, const Pictures& pictures) {
    const Picture& picture = pictures.shown;
    const PictureFont& font = picture.font;
    json.line();
    json.key("picture").open('{');
    WriteFrame(json, picture);
    WriteLayout(json, net, picture.laidOut);
    if (!picture.insteadOf.empty()) json.key("insteadOf").text(picture.insteadOf);
    json.key("font").open('{');
    json.key("families").text(font.families());
    json.key("size").number(font.size);
    json.key("bold").boolean(font.bold);
    json.key("italic").boolean(font.italic);
    json.close('}');
    json.key("lineHeight").number(font.lineHeight());
    json.key("baseline").number(font.baseline());
    json.key("inner").number(InnerBorder);
    json.key("slant").number(HexagonSlant);
    json.key("arrow").open('[');
    json.number(ArrowLength);
    json.number(ArrowHalfWidth);
    json.close(']');
    if (pictures.other) {
        json.key("other").open('{');
        WriteFrame(json, *pictures.other);
        WriteBoxes(json, *pictures.other);
        WriteLayout(json, net, pictures.other->laidOut);
        json.close('}');
    }
    json.close('}');
}

void WriteGroups(JsonOut& json, const Bnet_bn* net) {
    json.line();
    json.key("groups").open('[');
    if (net != nullptr) {
        const std::vector<RGB> colors = DrawnNodesetColors(*net);
        for (std::size_t i = 0; i < colors.size(); ++i) {
            json.open('{');
            json.key("name").text(net->nodesets()[i]->name());
            json.key("color").text(ColorText(colors[i]));
            json.close('}');
        }
    }
    json.close(']');
}

/// The node that the report is about: the object being read, or the one that its message quotes.
const Bnode_bn* NodeOf(const ReportRecord& report, const Bnet_bn& net) {
    const bool ofNet = report.structKind == "net" || report.structKind == "class";
    const Bnode_bn* node = report.structName.empty() || ofNet
                               ? nullptr
                               : net.findNodeLabeled(report.structName.c_str());
    constexpr std::string_view quote = "node '";
    const std::size_t from = report.message.find(quote);
    if (node != nullptr || from == std::string::npos) return node;
    const std::string rest = report.message.substr(from + quote.size());
    return net.findNodeLabeled(rest.substr(0, rest.find('\'')).c_str());
}

/// What was being read when the report was made.
std::string ContextOf(const ReportRecord& report) {
    std::string text = report.structKind;
    if (!report.structName.empty()) text += " '" + report.structName + "'";
    if (!report.fieldName.empty()) text += ", field '" + report.fieldName + "'";
    return text;
}

void WriteProblem(JsonOut& json, const ReportRecord& report) {
    json.key("kind").text(SeverityName(report.severity));
    json.key("severity").number(report.severity);
    json.key("number").number(report.number);
    json.key("message").text(report.message);
    json.key("line").number(report.line);
    json.key("column").number(report.column);
    json.key("context").textOrNull(ContextOf(report));
    if (report.sourceLine.empty()) return;
    json.key("source").open('[');
    json.text(OneLine(std::string_view(report.sourceLine).substr(0, report.sourceCaret)));
    json.text(OneLine(std::string_view(report.sourceLine).substr(report.sourceCaret)));
    json.close(']');
}

/// Words of the file that have no meaning here: what is passed over with them is seldom missed.
bool IsHarmless(const MessageRow& info) {
    const std::string_view message = info.text;
    const auto holds = [message](const char* word) {
        return message.find(word) != std::string_view::npos;
    };
    return message.starts_with("unknown") && (holds(" field") || holds(" attribute"));
}

/// What the reports say, and what to do about them, by number, each once.
void WriteCures(JsonOut& json, const std::vector<ReportRecord>& reports) {
    std::set<int> numbers;
    for (const ReportRecord& report : reports) numbers.insert(report.number);
    json.key("cures").open('{');
    for (const int number : numbers) {
        const std::vector<const MessageRow*> rows = FindReport(number);
        if (rows.empty()) continue;
        json.key(std::to_string(number)).open('{');
        json.key("message").text(MessagesOf(rows));
        json.key("text").text(rows[0]->cure);
        json.key("harmless").boolean(IsHarmless(*rows[0]));
        json.close('}');
    }
    json.close('}');
}

Picture EmptyPicture() {
    Picture picture;
    picture.width = 200;
    picture.height = 100;
    return picture;
}

}  // namespace

bool CarriesNet(const ImportResult& result) {
    if (result.net == nullptr) return false;
    long long all = 0;
    for (const Bnode_bn* node : result.net->nodes) {
        const Numbers numbers = NumbersOf(*node);
        all += numbers.table + numbers.experience + numbers.parameters;
    }
    return all <= MostReportNumbers;
}

void WriteReportData(const ImportResult& result, JsonOut& json) {
    const Bnet_bn* net = result.net.get();
    PictureWish wish;
    wish.layout = result.layout;
    const Pictures pictures =
        net == nullptr ? Pictures{EmptyPicture(), {}} : MakePictures(*net, wish, true);
    json.open('{');
    json.key("file").text(FileTitle(result));
    json.key("format").textOrNull(result.format);
    json.key("status").text(StatusName(result.status()));
    json.key("mostNumbers").number(static_cast<int>(MostReportNumbers));
    json.key("net");
    if (net == nullptr) {
        json.null();
    } else {
        json.open('{');
        json.key("name").text(net->name);
        json.key("title").textOrNull(net->title);
        json.key("comment").textOrNull(net->comment);
        json.close('}');
    }
    WriteGroups(json, net);
    json.key("nodes").open('[');
    NodePlaces places;
    if (net != nullptr) {
        NodeWriter writer(json, *net, CarriesNet(result));
        for (const PictureNode& node : pictures.shown.nodes) writer.write(node);
        places = writer.takePlaces();
    }
    json.close(']');
    WritePicture(json, net, pictures);
    json.line();
    json.key("reports").open('[');
    for (const ReportRecord& report : result.reports) {
        json.line();
        json.open('{');
        WriteProblem(json, report);
        const Bnode_bn* node = net == nullptr ? nullptr : NodeOf(report, *net);
        if (node != nullptr) json.key("node").number(places.at(node));
        json.close('}');
    }
    json.close(']');
    WriteCures(json, result.reports);
    json.close('}');
}

}  // namespace lumo
