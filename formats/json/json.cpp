// Reader of the project's own JSON, the schema "lumo-import/1": all of a net comes back as it was
// (docs/json.md). Keys may stand in any order. Links and tables are made when all nodes are known.
#include "formats/json/json.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "formats/json/messages.h"
#include "formats/json/scanner.h"
#include "formats/shared/describe.h"
#include "formats/shared/judging.h"
#include "formats/shared/keeping.h"
#include "formats/shared/losses.h"
#include "formats/shared/readers.h"

namespace lumo {
namespace {

constexpr std::string_view ownSchema = "lumo-import/1";

using Text = std::optional<std::string>;

/// A state as it is written.
struct StateText {
    Text name, title, comment;
    std::optional<double> value;
};

/// A node as it is written, and where its parents and its relation stand.
struct NodeText {
    Text name, title, comment, identity;
    NodeKindEN kind = NatureNode;
    bool discrete = true, titlesAreIds = false;
    std::vector<StateText> states;
    std::optional<std::vector<double>> levels;
    coord_kt position;
    std::vector<std::string> groups;
    std::vector<std::pair<std::string, std::string>> fields;
};

/// A list of numbers, in both precisions.
struct FloatTable {
    XArray<float> floats;
    XArray<double> exact;  ///< null: the floats hold them
    long long count = 0;
};

/// A relation as it is written.
struct RelationText {
    std::string kind = "none";
    std::optional<FloatTable> table, experience;
    std::optional<std::vector<double>> parameters, order;
    const char* tablePlace = nullptr;
    const char* experiencePlace = nullptr;
    const char* parametersPlace = nullptr;
    const char* orderPlace = nullptr;
    bool fromCounts = false, declared = false;
};

/// Of a node what waits until all nodes are known.
struct Dependence {
    Bnode_bn* node = nullptr;
    const char* parents = nullptr;           ///< where they stand; null: none are written
    std::unique_ptr<RelationText> relation;  ///< null: none is written
    Text identity;                           ///< what it is known by, when that is not its name
};

char* NewText(const Text& text) { return text ? DupStr_kt(std::string_view(*text)) : nullptr; }

class JsonReader {
public:
    JsonReader(Parser_CString_kt& in, Bnet_bn& net, Vnet_kt& drawing)
        : in_(in), json_(in), net_(net), drawing_(drawing) {}

    /// Reads the whole file; a problem that leaves no way on is thrown, what was read before it is
    /// kept with its links and tables.
    void read() {
        rept_kt* failure = nullptr;
        try {
            readDocument();
        } catch (rept_kt* report) {
            failure = report;
            if (report->severity >= SeverityFatal) throw;
        }
        in_.structKind = "node";
        for (Dependence& place : relations_) makeRelation(place);
        setIdentities();
        in_.structKind = in_.structName = nullptr;
        makeGroups();
        if (net_.nodes.N > 0 && !isPlaced_ && !drawing_.laidOut) PlaceNodes(drawing_, false, 1.0);
        if (failure != nullptr) throw failure;
    }

private:
    // ---- Values

    /// Reports a value that is none of its kind, and passes over it.
    void refuse(const char* what, const char* expected) {
        constexpr std::string_view starts = "\"{[-0123456789tfn";
        const char next = json_.peek();
        if (next == 0 || starts.find(next) == starts.npos) json_.fail("a value");
        json_.pointAt(json_.place());
        in_.report(msg::json.wrongValue, what, expected);
        json_.skip();
    }

    Text text(const char* key) {
        if (json_.peek() == '"') return json_.text();
        if (!json_.takeWord("null")) refuse(key, "a text or null");
        return {};
    }

    bool isNumber() {
        const char next = json_.peek();
        return next == '-' || (next >= '0' && next <= '9');
    }

    std::optional<double> number(const char* key) {
        if (isNumber()) return json_.number();
        if (!json_.takeWord("null")) refuse(key, "a number");
        return {};
    }

    int integer(const char* key, int otherwise) {
        const double value = number(key).value_or(otherwise);
        return RoundToInt_kt(std::clamp<double>(value, INT_MIN, INT_MAX));
    }

    bool boolean(const char* key, bool otherwise) {
        if (json_.takeWord("true")) return true;
        if (json_.takeWord("false")) return false;
        refuse(key, "true or false");
        return otherwise;
    }

    std::optional<std::vector<double>> numbers(const char* key) {
        if (json_.takeWord("null")) return {};
        if (json_.peek() != '[') return refuse(key, "a list of numbers or null"), std::nullopt;
        std::vector<double> list;
        bool areNumbers = true, isFull = false;
        json_.array([&] {
            if (isNumber()) {
                const double number = json_.number();
                isFull = isFull || !Append(list, number);
                return;
            }
            if (areNumbers)
                refuse(key, "a list of numbers");
            else
                json_.skip();
            areNumbers = false;
        });
        if (isFull) {
            const std::size_t count = list.size();
            std::vector<double>().swap(list);
            tellNoMemory(static_cast<double>(count) * 2 * sizeof(double));
        }
        return areNumbers && !isFull ? std::optional(std::move(list)) : std::nullopt;
    }

    /// Whether there was memory for one more.
    static bool Append(std::vector<double>& list, double number) try {
        list.push_back(number);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }

    /// A list of numbers for a table.
    std::optional<FloatTable> table(const char* key) {
        if (json_.takeWord("null")) return {};
        if (json_.peek() != '[') return refuse(key, "a list of numbers or null"), std::nullopt;
        const long long room = json_.countItems();
        FloatTable table{NewXArray<float>(room), nullptr, 0};
        ExactNumbers exact;
        exact.over(table.floats.get(), room);
        bool areNumbers = true;
        json_.array([&] {
            if (areNumbers && isNumber() && table.floats != nullptr) {
                float* const next = table.floats.get() + table.count;
                table.count += json_.floats(next, room - table.count, exact);
                return;
            }
            if (areNumbers && !isNumber()) {
                areNumbers = false;
                return refuse(key, "a list of numbers");
            }
            json_.skip();
        });
        if (table.floats == nullptr) tellNoMemory(static_cast<double>(room) * sizeof(float));
        if (!areNumbers || table.floats == nullptr) return {};
        table.exact = exact.take(table.count);
        return table;
    }

    void tellNoMemory(double bytes) {
        const char* const node = in_.structName == nullptr ? "" : in_.structName;
        in_.setError(NoMemoryForTable(bytes, node));
    }

    std::vector<std::string> texts(const char* key) {
        std::vector<std::string> list;
        if (json_.takeWord("null")) return list;
        if (json_.peek() != '[') return refuse(key, "a list of texts"), list;
        json_.array([&] {
            if (Text item = text(key)) list.push_back(std::move(*item));
        });
        return list;
    }

    /// An object whose keys the table knows; field(key) reads a value, false for a key unknown.
    template <class FIELD>
    void object(const char* what, FIELD field) {
        if (json_.takeWord("null")) return;
        if (json_.peek() != '{') return refuse(what, "an object");
        json_.object([&](const std::string& key) {
            const char* const place = json_.keyPlace();
            if (field(key)) return;
            json_.pointAt(place);
            in_.reportUnknown(key, msg::json.unknownKey, key.c_str());
            json_.skip();
        });
    }

    template <class ITEM>
    void list(const char* key, ITEM item) {
        if (json_.takeWord("null")) return;
        if (json_.peek() != '[') return refuse(key, "a list");
        json_.array(item);
    }

    // ---- The document

    void readDocument() {
        const char* const start = (json_.peek(), json_.place());
        bool hasNet = false, hasSchema = false;
        object("the document", [&](std::string_view key) {
            if (key == "schema") {
                hasSchema = true;
                checkSchema();
            } else if (key == "net") {
                hasNet = json_.peek() == '{';
                readNet();
            } else if (key == "file" || key == "format" || key == "formatCode" || key == "status" ||
                       key == "reports") {
                json_.skip();  // of the file that it was made from
            } else {
                return false;
            }
            return true;
        });
        if (!json_.isAtEnd()) {
            json_.pointAt(json_.place());
            in_.report(msg::json.trailing);
        }
        json_.pointAt(start);
        if (!hasNet)
            in_.report(msg::json.noNet);
        else if (!hasSchema)
            in_.report(msg::json.noSchema);
    }

    void checkSchema() {
        json_.peek();
        const char* const place = json_.place();
        const Text schema = text("schema");
        if (!schema || *schema == ownSchema) return;
        json_.pointAt(place);
        const bool isLater = schema->starts_with("lumo-import/");
        throw in_.report(msg::json.otherSchema, schema->c_str(),
                         isLater ? ", which another version of lumo-import wrote" : "");
    }

    void readNet() {
        object("net", [&](std::string_view key) {
            if (key == "name") {
                if (const Text name = text("name"); name && IsLegalName_kt(*name)) {
                    delete[] std::exchange(net_.name, NewText(name));
                }
            } else if (key == "title") {
                if (const Text title = text("title")) SetNetLabel(net_, NewText(title));
            } else if (key == "comment") {
                if (const Text comment = text("comment")) net_.setComment(NewText(comment));
            } else if (key == "autoUpdate") {
                net_.setAutoUpdate(boolean("autoUpdate", false));
            } else if (key == "nodes") {
                list("nodes", [&] { readNode(); });
            } else if (key == "groups") {
                list("groups", [&] { readGroup(); });
            } else if (key == "drawing") {
                readDrawing();
            } else if (key == "fileName") {
                json_.skip();  // of the file that it was made from
            } else {
                return false;
            }
            return true;
        });
    }

    // ---- Nodes

    void readNode() {
        json_.peek();
        const char* const start = json_.place();
        NodeText node;
        Dependence place;
        const ParserContext context(in_, "node");
        object("a node", [&](std::string_view key) { return readNodeField(key, node, place); });
        json_.pointAt(start);
        place.node = makeNode(node);
        if (place.node != nullptr) {
            place.identity = node.identity;
            relations_.push_back(std::move(place));
        }
        in_.setPos(json_.place());
        in_.checkError();
    }

    bool readNodeField(std::string_view key, NodeText& node, Dependence& place) {
        if (key == "name") {
            node.name = text("name");
        } else if (key == "title") {
            node.title = text("title");
        } else if (key == "comment") {
            node.comment = text("comment");
        } else if (key == "kind") {
            readKind(node.kind);
        } else if (key == "discrete") {
            node.discrete = boolean("discrete", true);
        } else if (key == "states") {
            list("states", [&] { readState(node.states.emplace_back()); });
        } else if (key == "levels") {
            node.levels = numbers("levels");
        } else if (key == "position") {
            readPosition(node.position);
        } else if (key == "groups") {
            node.groups = texts("groups");
        } else if (key == "userFields") {
            object("userFields", [&](const std::string& field) {
                if (Text value = text("userFields")) node.fields.emplace_back(field, *value);
                return true;
            });
        } else if (key == "identity") {
            node.identity = text("identity");
        } else if (key == "titlesAreIds") {
            node.titlesAreIds = boolean("titlesAreIds", false);
        } else if (key == "parents") {
            place.parents = json_.place();
            json_.skip();
        } else if (key == "relation") {
            in_.structName = node.name ? node.name->c_str() : nullptr;
            place.relation = readRelation();
            in_.structName = nullptr;
        } else {
            return false;
        }
        return true;
    }

    void readKind(NodeKindEN& kind) {
        const Text word = text("kind");
        for (const NodeKindEN known : {NatureNode, DecisionNode, UtilityNode}) {
            if (word != KindName(known)) continue;
            kind = known;
            return;
        }
        json_.pointAt(json_.keyPlace());
        in_.report(msg::json.wrongValue, "kind", "nature, decision or utility");
    }

    void readState(StateText& state) {
        object("a state", [&](std::string_view key) {
            if (key == "name") {
                state.name = text("name");
            } else if (key == "title") {
                state.title = text("title");
            } else if (key == "comment") {
                state.comment = text("comment");
            } else if (key == "value") {
                state.value = number("value");
            } else {
                return false;
            }
            return true;
        });
    }

    void readPosition(coord_kt& position) {
        const auto at = numbers("position");
        if (!at) return;
        if (at->size() != 2) {
            json_.pointAt(json_.keyPlace());
            return in_.report(msg::json.wrongValue, "position", "two numbers"), void();
        }
        const auto rounded = [](double value) {
            return RoundToInt_kt(std::clamp<double>(value, INT_MIN, INT_MAX));
        };
        position = {rounded((*at)[0]), rounded((*at)[1])};
        isPlaced_ = true;
    }

    Bnode_bn* makeNode(const NodeText& text) {
        rept_kt* refused = Fail_rept_kt;
        Bnode_bn* const node =
            NewNode_ibn(text.name ? text.name->c_str() : nullptr, 0, net_, text.position, &refused);
        if (node == nullptr) {
            in_.setError(refused);
            return nullptr;
        }
        in_.structName = node->name();
        RememberPlace(in_, *node);
        if (text.name) named_.emplace(*text.name, node);
        if (text.title) node->setTitle(NewText(text.title));
        if (text.comment) node->setComment(NewText(text.comment));
        in_.setError(node->setKind(text.kind));
        in_.setError(node->setDiscrete(text.discrete ? DiscreteVar : ContinuousVar));
        makeStates(*node, text);
        node->variable.titlesAreIds = text.titlesAreIds && node->variable.stateTitles != nullptr;
        for (const auto& [name, data] : text.fields)
            node->setUserField(name.c_str(), data.data(), static_cast<int>(data.size()));
        for (const std::string& group : text.groups) members_.emplace_back(node, group);
        return node;
    }

    void makeStates(Bnode_bn& node, const NodeText& text) {
        const auto count = static_cast<int>(text.states.size());
        const auto all = [&](auto is) { return std::ranges::all_of(text.states, is); };
        const bool areLegal =
            all([](const StateText& state) { return !state.name || IsLegalName_kt(*state.name); });
        if (!areLegal) in_.report(msg::json.illegalStates);
        const bool areNamed =
            areLegal && count > 0 && all([](const StateText& state) { return bool(state.name); });
        OwnedStrs names;
        if (areNamed) names = OwnedStrs(new char*[text.states.size()](), count);
        for (int i = 0; areNamed && i < count; ++i)
            names.get()[i] = NewText(text.states[static_cast<std::size_t>(i)].name);
        in_.setError(node.setStates(count, names.release(), newLevels(node, text)));
        if (node.numStates() != count) return;
        for (int i = 0; i < count; ++i) {
            const StateText& state = text.states[static_cast<std::size_t>(i)];
            if (state.name && areLegal && !areNamed)
                in_.setError(node.setStateName(i, NewText(state.name)));
            const Text& title = state.title || areLegal ? state.title : state.name;
            if (title) in_.setError(node.setStateTitle(i, NewText(title)));
            if (state.comment) in_.setError(node.setStateComment(i, NewText(state.comment)));
        }
    }

    /// The levels, or the values of all states; null when they are none, or not as many as needed.
    static double* newLevels(const Bnode_bn& node, const NodeText& text) {
        std::vector<double> levels = text.levels.value_or(std::vector<double>());
        for (const StateText& state : text.states)
            if (!text.levels && state.value) levels.push_back(*state.value);
        const std::size_t wanted = text.states.size() + (node.variable.discrete ? 0 : 1);
        if (levels.size() != wanted || levels.empty()) return nullptr;
        auto* const owned = new double[levels.size()];
        std::ranges::copy(levels, owned);
        return owned;
    }

    /// When all nodes have their names: a text that one node is known by is no other's.
    void setIdentities() {
        for (const Dependence& place : relations_)
            if (place.identity && net_.findNodeLabeled(*place.identity) == nullptr)
                SetNodeIdentity(*place.node, place.identity->c_str());
    }

    // ---- Relations

    std::unique_ptr<RelationText> readRelation() {
        auto relation = std::make_unique<RelationText>();
        object("relation", [&](std::string_view key) { return readRelationField(key, *relation); });
        return relation;
    }

    void makeRelation(Dependence& place) {
        Bnode_bn& node = *place.node;
        in_.structName = node.name();
        if (!readParents(node, place.parents) || place.relation == nullptr) return;
        makeRelation(node, *place.relation);
        place.relation.reset();
        in_.checkError();
    }

    /// False when some are no nodes, or no parents.
    bool readParents(Bnode_bn& node, const char* place) {
        if (place == nullptr) return true;
        json_.moveTo(place);
        const std::vector<std::string> names = texts("parents");
        json_.pointAt(place);
        BndList_bn parents;
        for (const std::string& name : names) {
            const auto found = named_.find(name);
            if (found == named_.end())
                in_.report(msg::json.unknownParent, node.name(), name.c_str());
            else
                parents.append(found->second);
        }
        in_.setError(node.changePreds(parents));
        return node.parents.N == static_cast<int>(names.size());
    }

    bool readRelationField(std::string_view key, RelationText& relation) {
        json_.peek();
        const char* const start = json_.place();
        if (key == "kind") {
            relation.kind = text("kind").value_or("none");
        } else if (key == "table") {
            relation.tablePlace = start;
            relation.table = table("table");
        } else if (key == "experience") {
            relation.experiencePlace = start;
            relation.experience = table("experience");
        } else if (key == "parameters") {
            relation.parametersPlace = start;
            relation.parameters = numbers("parameters");
        } else if (key == "order") {
            relation.orderPlace = start;
            relation.order = numbers("order");
        } else if (key == "fromCounts") {
            relation.fromCounts = boolean("fromCounts", false);
        } else if (key == "declared") {
            relation.declared = boolean("declared", false);
        } else {
            return false;
        }
        return true;
    }

    void makeRelation(Bnode_bn& node, RelationText& text) {
        const long long rows = NumProduct(node.parents);
        const long long entries = rows * std::max(node.numStates(), 1);
        if (text.kind == "noisy-max" && text.parameters) {
            if (!hasCount(node, "parameters", std::ssize(*text.parameters), NumCIParams(node),
                          text.parametersPlace))
                return;
            const std::optional<std::vector<int>> order = orderOf(node, text);
            if (order.has_value() == text.order.has_value())
                in_.setError(node.makeIntoNoisyMax(text.parameters->data(),
                                                   order ? order->data() : nullptr,
                                                   !text.table.has_value()));
        } else if (text.table) {
            makeTable(node, text, entries);
        }
        Reln_bn& relation = node.relation;
        if (text.experience && relation.kind != RelnKindEN::none &&
            hasCount(node, "experience", text.experience->count, rows, text.experiencePlace)) {
            relation.setExperTable(text.experience->floats.release(),
                                   text.experience->exact.release());
        }
        relation.experFromCounts = text.fromCounts;
        relation.saidDeterministic = text.declared;
    }

    /// The states in the order that parameters have them in; none, with a report, for a wrong one.
    std::optional<std::vector<int>> orderOf(const Bnode_bn& node, const RelationText& text) {
        if (!text.order || !hasCount(node, "order", std::ssize(*text.order), NumFamilyStates(node),
                                     text.orderPlace))
            return std::nullopt;
        std::vector<int> order;
        for (const double number : *text.order)
            order.push_back(number >= 0 && number < MaxStates ? static_cast<int>(number) : -1);
        if (IsFamilyOrder(node, order)) return order;
        in_.report(msg::json.wrongValue, "order", "each state of the node, then of each parent");
        return std::nullopt;
    }

    bool hasCount(const Bnode_bn& node, const char* what, long long count, long long wanted,
                  const char* place) {
        json_.pointAt(place);
        if (count != wanted) in_.report(msg::json.wrongCount, what, node.name(), wanted, count);
        return count == wanted;
    }

    void makeTable(Bnode_bn& node, RelationText& text, long long entries) {
        if (!hasCount(node, "table", text.table->count, entries, text.tablePlace)) return;
        if (entries == 0) return;
        auto& [floats, exact, count] = *text.table;
        if (text.kind == "real")
            in_.setError(node.relation.setReals(std::move(floats), std::move(exact)));
        else
            in_.setError(node.setTable(std::move(floats), std::move(exact)));
        if (node.relation.exact != nullptr) node.relation.keepPossible();
        if (text.kind == "deterministic") node.relation.makeDeterminFromProbs();
        node.checkRowSums();
    }

    // ---- Groups and the drawing

    void readGroup() {
        Text name, color;
        object("a group", [&](std::string_view key) {
            if (key == "name")
                name = text("name");
            else if (key == "color")
                color = text("color");
            else
                return false;
            return true;
        });
        if (name) groups_.emplace_back(*name, color.value_or(""));
    }

    /// In the order of the document, whatever that of their nodes.
    void makeGroups() {
        vect_kt<NodesetStyle> styles;
        for (const auto& [name, color] : groups_) {
            if (net_.newNodeset(name.c_str()) == nullptr) break;
            const std::optional<RGB> rgb = ColorOf(color);
            if (!rgb || IsDefaultColor(*rgb)) continue;
            NodesetStyle style;
            style.setName(name.c_str());
            std::tie(style.red, style.green, style.blue) =
                std::tie(rgb->red, rgb->green, rgb->blue);
            styles.append(style);
        }
        drawing_.setNodesetStyles(styles, nullptr);
        for (const auto& [node, group] : members_)
            in_.setError(AddNodeToNodeset_ibn(*node, group.c_str()));
    }

    /// Of "#rrggbb".
    static std::optional<RGB> ColorOf(std::string_view text) {
        constexpr std::string_view digits = "0123456789abcdef";
        if (text.size() != 7 || text[0] != '#') return {};
        unsigned char parts[3] = {};
        for (std::size_t i = 0; i < 6; ++i) {
            const std::size_t digit = digits.find(static_cast<char>(text[i + 1] | 0x20));
            if (digit == digits.npos) return {};
            parts[i / 2] = static_cast<unsigned char>(parts[i / 2] * 16 + digit);
        }
        return RGB{parts[0], parts[1], parts[2]};
    }

    void readDrawing() {
        object("drawing", [&](std::string_view key) {
            if (key == "drawStyle") {
                drawing_.drawStyle = integer("drawStyle", drawing_.drawStyle);
            } else if (key == "labelStyle") {
                drawing_.labelStyle = integer("labelStyle", drawing_.labelStyle);
            } else if (key == "zoom") {
                readZoom();
            } else if (key == "font") {
                readFont();
            } else if (key == "grid") {
                readGrid();
            } else if (key == "laidOut") {
                drawing_.laidOut = boolean("laidOut", false);
            } else if (key == "extent") {
                json_.skip();  // follows from the places of the nodes
            } else {
                return false;
            }
            return true;
        });
    }

    void readZoom() {
        const double zoom = number("zoom").value_or(1);
        if (zoom > 0 && std::isfinite(zoom)) {
            drawing_.zoomFactor = zoom;
            return;
        }
        json_.pointAt(json_.keyPlace());
        in_.report(msg::json.wrongValue, "zoom", "a positive number");
    }

    void readFont() {
        fontspec_kt font;
        const auto style = [&](const char* key, int flag) {
            if (boolean(key, false)) font.styleFlags |= flag;
        };
        object("font", [&](std::string_view key) {
            if (key == "face") {
                font.face = text("face").value_or(font.face);
            } else if (key == "size") {
                font.size = integer("size", font.size);
            } else if (key == "bold") {
                style("bold", fontspec_kt::Bold);
            } else if (key == "italic") {
                style("italic", fontspec_kt::Italic);
            } else {
                return false;
            }
            return true;
        });
        FreeFont_fc(std::exchange(drawing_.font, NewFont_fc(nullptr, -1, &font)));
    }

    void readGrid() {
        object("grid", [&](std::string_view key) {
            if (key == "x") {
                drawing_.grid.x = number("x").value_or(drawing_.grid.x);
            } else if (key == "y") {
                drawing_.grid.y = number("y").value_or(drawing_.grid.y);
            } else if (key == "show") {
                drawing_.showGrid = boolean("show", false);
            } else if (key == "snap") {
                drawing_.snapToGrid = boolean("snap", false);
            } else {
                return false;
            }
            return true;
        });
    }

    Parser_CString_kt& in_;
    JsonScanner json_;
    Bnet_bn& net_;
    Vnet_kt& drawing_;
    bool isPlaced_ = false;  // some node is
    std::vector<Dependence> relations_;
    std::unordered_map<std::string, Bnode_bn*> named_;
    std::vector<std::pair<std::string, std::string>> groups_;  // names and colors
    std::vector<std::pair<Bnode_bn*, std::string>> members_;
};

}  // namespace

rept_kt* ParseJsonFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing, const ReadOptions&) {
    const std::unique_ptr<short[]> charProps(MakeStdCharProps_kt());
    const ParserOptions_kt options{.charProps = charProps.get()};
    const OwnedParser parser(channel.makeParser(&options));
    Parser_CString_kt& in = TextParser(*parser);
    const ParserContext context(in, "JSON file");
    ReadToTheEnd(in, [&] { JsonReader(in, net, drawing).read(); });
    JudgeNodes(in, net);
    in.checkError();
    return in.curReport;
}

}  // namespace lumo
