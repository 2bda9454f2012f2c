// Hugin files: instances of classes. Classes are read in two rounds: first nodes and the headers of
// instances, class by class, then all potentials, since any of them may name a node of an instance.
#include "formats/hugin/instances.h"

#include <algorithm>
#include <climits>
#include <deque>
#include <map>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "formats/hugin/messages.h"
#include "formats/shared/positions.h"
#include "library/utilities/names.h"
#include "library/utilities/system.h"

namespace lumo::hugin {

namespace {

// A class may hold two instances of one that holds two of another, and so on.
constexpr std::size_t mostInstances = 10'000;
constexpr int mostNested = 30;
constexpr long long mostText = 64LL * 1024 * 1024;  // of all classes, each time they are read

/// A text with classes: the file itself, or one beside it.
struct Source {
    XArray<char> text;  // null for the file itself
    std::string file;   // its name, likewise
    std::unique_ptr<InChannel_CString_kt> channel;
    OwnedParser parser;
    Parser_CString_kt* in = nullptr;
    std::vector<Class> classes;

    const Class* find(std::string_view name) const {
        const auto found = std::ranges::find(classes, name, &Class::name);
        return found == classes.end() ? nullptr : &*found;
    }
};

struct Place {
    long long x = 0, y = 0;
};

}  // namespace

/// An instance, or, as the first, the class that is read itself.
struct Instance {
    /// A name of the class stands for one of another instance.
    struct Alias {
        Instance* instance;
        std::string name;
        bool input;
    };

    Instance* outer = nullptr;
    std::string path;  ///< "S1.S2"
    std::string className;
    int nested = 0;
    Parser_CString_kt* headerIn = nullptr;
    ParserPos_kt header = nullptr;
    Source* source = nullptr;  ///< null: its class was not found
    const Class* is = nullptr;

    std::map<std::string, Alias, std::less<>> aliases;
    std::map<std::string, ParserPos_kt, std::less<>> inputs;  ///< nodes that are bound, behind
                                                              ///< their words
    std::vector<ParserPos_kt> potentials;
    std::vector<Bnode_bn*> nodes;
    std::vector<Instance*> inner;

    // Its frame in the drawing.
    bool placed = false;
    Place at;         ///< as the class around it has it
    Place low, high;  ///< of what it holds, in its own distances
    Place shift;      ///< from there to the class around it

    std::string pathOf(const std::string& name) const {
        return path.empty() ? name : path + "." + name;
    }
};

struct Everything {
    std::string folder;
    std::deque<Source> sources;
    std::deque<Instance> instances;
    std::unordered_map<std::string, Source*> beside;  // by the name of the class
    Instance* current = nullptr;
    bool puttingOff = true;
    bool full = false;
    long long textLeft = mostText;
};

namespace {

/// Null unless instances are read.
Everything* AllOf(const Parser_CString_kt& in) { return StateOf(in).instances.get(); }

// ---- Names ---------------------------------------------------------------------------------

/// What the net calls a node of the instance; a name that stands for itself has none.
std::string Resolved(Parser_CString_kt& in, const Instance* instance, std::string name) {
    for (std::size_t steps = 0; steps <= AllOf(in)->instances.size(); ++steps) {
        const auto alias = instance->aliases.find(name);
        if (alias == instance->aliases.end()) return instance->pathOf(name);
        instance = alias->second.instance;
        name = std::string(alias->second.name);
    }
    return {};
}

}  // namespace

std::string LabelOf(Parser_CString_kt& in, std::string_view name) {
    return AllOf(in) == nullptr ? std::string(name)
                                : Resolved(in, AllOf(in)->current, std::string(name));
}

bool IsBoundChild(Parser_CString_kt& in, std::string_view name) {
    if (AllOf(in) == nullptr) return false;
    const auto alias = AllOf(in)->current->aliases.find(name);
    return alias != AllOf(in)->current->aliases.end() && alias->second.input;
}

bool IsBoundInput(Parser_CString_kt& in, std::string_view name) {
    if (IsBoundChild(in, name)) {
        AllOf(in)->current->inputs.emplace(name, in.getPos() - name.size());
        return true;
    }
    if (AllOf(in) != nullptr) AllOf(in)->current->aliases.erase(std::string(name));  // its own node
    return false;
}

void JoinInstance(Parser_CString_kt& in, Bnode_bn& node) {
    if (AllOf(in) != nullptr) AllOf(in)->current->nodes.push_back(&node);
}

std::string PathOf(Parser_CString_kt& in, std::string_view text) {
    return IsInInstance(in) ? AllOf(in)->current->pathOf(std::string(text)) : std::string(text);
}

bool IsInInstance(const Parser_CString_kt& in) {
    return AllOf(in) != nullptr && AllOf(in)->current->outer != nullptr;
}

// ---- The headers of instances --------------------------------------------------------------

void StartInstances(Parser_CString_kt& in, std::vector<Class> classes, const Class& whole,
                    std::string_view folder) {
    StateOf(in).instances = std::make_shared<Everything>();
    AllOf(in)->folder = folder;
    Source& file = AllOf(in)->sources.emplace_back();
    file.in = &in;
    file.classes = std::move(classes);
    Instance& outermost = AllOf(in)->instances.emplace_back();
    outermost.source = &file;
    outermost.is = file.find(whole.name);
    outermost.headerIn = &in;
    outermost.header = whole.place;
    AllOf(in)->current = &outermost;
}

bool ReadsInstances(const Parser_CString_kt& in) { return AllOf(in) != nullptr; }

bool PutOffPotential(Parser_CString_kt& in) {
    if (AllOf(in) == nullptr || !AllOf(in)->puttingOff) return false;
    AllOf(in)->current->potentials.push_back(in.getPos());
    SkipObject(in);
    return true;
}

namespace {

/// Reads the pairs of names up to the ')': inputs of the instance's class, each with the node that
/// stands for it, and, behind a ';', names for its outputs.
void ReadBindings(Parser_CString_kt& in, Instance& instance) {
    bool input = true;
    while (const char punc = in.peekPunc()) {
        const ParserPos_kt start = in.getPos();
        if (punc == '{' || punc == '}') return;
        if (in.readPunc() != 0) {
            if (punc == ')') return;
            input = input && punc != ';';
            continue;
        }
        const std::string left(ReadName(in));
        if (in.peekPunc() != '=') {
            in.setTokenStart(start);
            in.report(msg::hugin.instanceBinding, left.c_str());
            continue;
        }
        in.skipChar();
        const std::string right(ReadName(in));
        if (input)
            instance.aliases.insert_or_assign(left, Instance::Alias{instance.outer, right, true});
        else
            instance.outer->aliases.try_emplace(left, Instance::Alias{&instance, right, false});
    }
}

}  // namespace

Instance* ReadInstanceHeader(Parser_CString_kt& in, Vnet_kt&) {
    if (AllOf(in)->instances.size() > mostInstances) {
        if (!std::exchange(AllOf(in)->full, true))
            in.report(msg::hugin.tooManyInstances, static_cast<int>(mostInstances));
        return nullptr;
    }
    const ParserPos_kt place = in.tokenStart();
    const std::string name(ReadName(in));
    if (name.empty()) {
        in.report(msg::hugin.missingName, in.structKind);
        return nullptr;
    }
    Instance& outer = *AllOf(in)->current;
    Instance& instance = AllOf(in)->instances.emplace_back();
    outer.inner.push_back(&instance);
    instance.outer = &outer;
    instance.path = outer.pathOf(name);
    instance.nested = outer.nested + 1;
    instance.headerIn = &in;
    instance.header = place;
    if (in.peekPunc() == ':') in.skipChar();
    instance.className = in.takeName(ValueSize);
    if (in.peekPunc() == '(') {
        in.skipChar();
        ReadBindings(in, instance);
    }
    return &instance;
}

namespace {

void ParseInstancePosition(Parser_CString_kt& in, Instance& instance) {
    coord_kt at;
    ReadCoord(in, at);
    instance.at = {at.x, at.y};
    instance.placed = true;
}

// Names of instances stand in the titles of their nodes.
void PassInstanceField(Parser_CString_kt& in, Instance&) { SkipField(in, in.getPos()); }

}  // namespace

FieldHandler<Instance> ReadInstanceFunc(Parser_CString_kt&, const char* name) {
    return IsKeyword(name, "position") ? ParseInstancePosition : PassInstanceField;
}

// ---- Classes -------------------------------------------------------------------------------

namespace {

/// The text of the file in the folder, not of a link that leads out of it; null when there is none.
XArray<char> TextIn(const std::string& folder, const char* path) {
    const std::string place = system::WithoutLinks(path);
    const std::string around = system::WithoutLinks(folder.c_str());
    const char* const end = system::LastSeparator(place.c_str());
    if (end == nullptr || around != std::string_view(place.c_str(), end) ||
        system::StatusOf(place.c_str()).kind != system::PathKindEN::file ||
        system::InputFile(place.c_str()).size() > mostText)
        return nullptr;
    return XArray<char>(FileToStringThrows_kt(place.c_str(), -1, nullptr));
}

/// The file beside this one that is named after the class and holds it.
Source* FindBeside(Parser_CString_kt& in, const std::string& name) {
    const bool plain = !name.empty() && name.find_first_of("/\\:") == std::string::npos;
    if (AllOf(in)->folder.empty() || !plain) return nullptr;
    const auto [known, isNew] = AllOf(in)->beside.try_emplace(name, nullptr);
    if (!isNew) return known->second;
    const char* const end = system::LastSeparator(AllOf(in)->folder.c_str());
    const bool ends = end != nullptr && end[1] == '\0';
    const std::string folder = ends ? AllOf(in)->folder : AllOf(in)->folder + '/';
    for (const char* extension : {".oobn", ".net"}) {
        const std::string file = folder + name + extension;
        XArray<char> text = TextIn(AllOf(in)->folder, file.c_str());
        if (text == nullptr || Is16Bit_kt(text.get())) continue;
        Source& source = AllOf(in)->sources.emplace_back();
        source.text = std::move(text);
        source.file = name + extension;
        source.channel = std::make_unique<InChannel_CString_kt>(source.text.get(), file.c_str());
        source.parser.reset(source.channel->makeParser(in.options));
        source.in = &TextParser(*source.parser);
        source.in->state = in.state;
        source.classes = FindClasses(*source.in);
        if (source.find(name) == nullptr) continue;
        return known->second = &source;
    }
    return nullptr;
}

/// The text that holds the instance's class: that of the class around it, the file, or one beside.
Source* FindSource(const Instance& instance) {
    const Parser_CString_kt& in = *instance.headerIn;
    for (Source* source : {instance.outer->source, &AllOf(in)->sources.front()})
        if (source != nullptr && source->find(instance.className) != nullptr) return source;
    return FindBeside(*instance.headerIn, instance.className);
}

bool HoldsItself(const Instance& instance) {
    for (const Instance* outer = instance.outer; outer != nullptr; outer = outer->outer)
        if (outer->is == instance.is) return true;
    return false;
}

/// Finds the class of the instance. False when the instance is passed over, which was told.
bool FindClass(Instance& instance) {
    Parser_CString_kt& in = *instance.headerIn;
    const ParserContext context(in, "instance", instance.path.c_str());
    in.setTokenStart(instance.header);
    instance.source = FindSource(instance);
    std::string told = instance.path + " : " + instance.className;
    if (instance.source == nullptr) {
        ListNode(in, msg::hugin.instancesWithoutClass, told);
        for (const auto& [name, alias] : instance.outer->aliases)
            if (alias.instance == &instance) AddPassedOverName(in, name);
        return false;
    }
    instance.is = instance.source->find(instance.className);
    if (HoldsItself(instance)) {
        in.report(msg::hugin.classInItself, instance.className.c_str(), instance.path.c_str());
        return false;
    }
    AllOf(in)->textLeft -= instance.is->size;
    if (instance.nested > mostNested || AllOf(in)->textLeft < 0) {
        if (!std::exchange(AllOf(in)->full, true))
            in.report(msg::hugin.tooManyInstances, static_cast<int>(mostInstances));
        return false;
    }
    const bool beside = instance.source != &AllOf(in)->sources.front();
    if (beside) told += " (" + instance.source->file + ")";
    ListNode(in, beside ? msg::hugin.instancesBeside : msg::hugin.instancesRead, told);
    return true;
}

/// Reads the nodes and the headers of instances of a class, whose own fields are passed over.
void ReadClass(Instance& instance, Vnet_kt& drawing) {
    Parser_CString_kt& in = *instance.source->in;
    AllOf(in)->current = &instance;
    StartRecovery(in);
    in.setPos(instance.is->place);
    if (in.skipToString("{") != 0) return;
    while (!in.isAtEnd()) {
        const ParserPos_kt here = in.getPos();
        const char punc = in.readPunc();
        if (punc == '}') return;
        if (punc != 0) continue;
        in.setPos(here);
        if (AtField(in))
            SkipField(in, here);
        else
            ReadObject(in, drawing);
        in.checkError();
    }
}

/// Reads an object once more, behind its word.
void ReadAgain(Instance& instance, ParserPos_kt place, Vnet_kt& drawing,
               void (*read)(Parser_CString_kt&, Vnet_kt&, const char*), const char* kind) {
    Parser_CString_kt& in = *instance.source->in;
    AllOf(in)->current = &instance;
    in.setPos(place);
    in.setTokenStart(place);
    read(in, drawing, kind);
    in.checkError();
}

/// What the header gives another name, where there is no such node; empty where there is one.
std::string Missing(const Instance& instance, const std::string& name, const Instance::Alias& alias,
                    const Bnet_bn& net) {
    if (alias.input && !instance.inputs.contains(name)) return instance.pathOf(name);
    Parser_CString_kt& in = *instance.headerIn;
    if (net.findNodeLabeled(Resolved(in, &instance, name).c_str()) != nullptr) return {};
    return alias.instance->pathOf(alias.name);
}

/// Holds the names of an instance's header against the nodes there are; inputs whose node is
/// missing are nodes of the instance then.
void CheckAliases(Instance& instance, Vnet_kt& drawing) {
    std::vector<std::string> unbound;
    for (const auto& [name, alias] : instance.aliases) {
        const Instance& header = alias.input ? instance : *alias.instance;
        if (header.source == nullptr) continue;
        const std::string missing = Missing(instance, name, alias, *drawing.getBNet());
        if (missing.empty()) continue;
        header.headerIn->setTokenStart(header.header);
        ListNode(*header.headerIn, msg::hugin.instancesWithoutNode, missing);
        if (alias.input && instance.inputs.contains(name)) unbound.push_back(name);
    }
    for (const std::string& name : unbound) {
        instance.aliases.erase(name);
        StartRecovery(*instance.source->in);
        ReadAgain(instance, instance.inputs.at(name), drawing, ReadNode, "node");
    }
}

}  // namespace

void FinishClass(Parser_CString_kt& in, Vnet_kt& drawing) {
    const ParserPos_kt end = in.getPos();
    for (std::size_t i = 1; i < AllOf(in)->instances.size(); ++i) {
        Instance& instance = AllOf(in)->instances[i];
        if (!FindClass(instance)) {
            instance.source = nullptr;
            continue;
        }
        ReadClass(instance, drawing);
        RepeatNodes(*instance.source->in, *drawing.getBNet());
    }
    for (Instance& instance : AllOf(in)->instances) CheckAliases(instance, drawing);
    for (const Instance& instance : AllOf(in)->instances)
        for (Bnode_bn* node : instance.nodes)
            if (instance.outer != nullptr) node->groupIndex = -1;  // groups are those of the class
    AllOf(in)->puttingOff = false;
    for (Instance& instance : AllOf(in)->instances) {
        if (instance.source != nullptr) StartRecovery(*instance.source->in);
        for (const ParserPos_kt place : instance.potentials)
            ReadAgain(instance, place, drawing, ReadPotential, "potential");
    }
    for (const Source& source : AllOf(in)->sources)
        if (source.in != &in) in.setError(source.in->curReport);
    AllOf(in)->current = &AllOf(in)->instances.front();
    in.setPos(end);
}

// ---- The drawing ---------------------------------------------------------------------------

namespace {

// Room around what an instance holds, for the size of nodes.
constexpr Place margin{120, 80};

Place PlaceOf(const Bnode_bn& node) {
    const coord_kt at = node.vns[0]->position();
    return {static_cast<long long>(at.x) - safety.x, static_cast<long long>(at.y) - safety.y};
}

/// How far things move along one axis, for the frames that stand before them.
class Room {
public:
    void add(long long at, long long size) {
        long long& most = sizes_[at];
        most = std::max(most, size);
    }
    void close() {
        long long sum = 0;
        for (auto& [at, size] : sizes_) sum = size += sum;
    }
    long long before(long long at) const {
        const auto next = sizes_.lower_bound(at);
        return next == sizes_.begin() ? 0 : std::prev(next)->second;
    }

private:
    std::map<long long, long long> sizes_;  // by place; summed up once closed
};

int Clamped(long long value) {
    return static_cast<int>(std::clamp<long long>(value, INT_MIN / 4, INT_MAX / 4));
}

void Move(Bnode_bn& node, Place by) { node.vns[0]->shiftBy({Clamped(by.x), Clamped(by.y)}); }

/// Moves what stands right of the frames of inner instances, or below them, out of their way, and
/// finds the size of the frame around all.
void MakeRoom(Instance& instance) {
    Room across, down;
    for (const Instance* inner : instance.inner) {
        if (inner->nodes.empty() && inner->inner.empty()) continue;
        across.add(inner->at.x, inner->high.x - inner->low.x + margin.x);
        down.add(inner->at.y, inner->high.y - inner->low.y + margin.y);
    }
    across.close();
    down.close();
    bool first = true;
    const auto cover = [&](Place low, Place high) {
        instance.low =
            first ? low : Place{std::min(instance.low.x, low.x), std::min(instance.low.y, low.y)};
        instance.high =
            first ? high
                  : Place{std::max(instance.high.x, high.x), std::max(instance.high.y, high.y)};
        first = false;
    };
    for (Bnode_bn* node : instance.nodes) {
        const Place at = PlaceOf(*node);
        Move(*node, {across.before(at.x), down.before(at.y)});
        cover(PlaceOf(*node), PlaceOf(*node));
    }
    for (Instance* inner : instance.inner) {
        const Place at{inner->at.x + across.before(inner->at.x),
                       inner->at.y + down.before(inner->at.y)};
        inner->shift = {at.x - inner->low.x, at.y - inner->low.y};
        cover(at, {at.x + inner->high.x - inner->low.x, at.y + inner->high.y - inner->low.y});
    }
}

}  // namespace

// An instance stands behind the one that holds it.
void PlaceInstances(Parser_CString_kt& in) {
    if (AllOf(in) == nullptr) return;
    std::deque<Instance>& all = AllOf(in)->instances;
    if (std::ranges::none_of(all, &Instance::placed)) return;
    std::for_each(all.rbegin(), all.rend(), MakeRoom);
    for (Instance& instance : all) {
        if (instance.outer == nullptr) continue;
        instance.shift.x += instance.outer->shift.x;
        instance.shift.y += instance.outer->shift.y;
        for (Bnode_bn* node : instance.nodes) Move(*node, instance.shift);
    }
}

void MakeInstanceSets(Parser_CString_kt& in, Bnet_bn& net, Vnet_kt& drawing) {
    if (AllOf(in) == nullptr) return;
    UniqueNames_kt taken;
    for (const auto& set : net.nodesets()) taken.add(set->name());
    vect_kt<NodesetStyle> styles = drawing.nodesetStyles;
    for (const Instance& instance : AllOf(in)->instances) {
        if (instance.outer == nullptr || instance.nodes.empty()) continue;
        if (std::ssize(net.nodesets()) >= MaxNodesets) break;
        const std::string name = taken.unique(instance.path, 'S');
        taken.add(name);
        BndList_bn list;
        for (Bnode_bn* node : instance.nodes) list.append(node);
        net.newNodeset(name.c_str())->addNodes(list);
        styles.append(DefaultStyle(name));
    }
    drawing.setNodesetStyles(styles, nullptr);
}

}  // namespace lumo::hugin
