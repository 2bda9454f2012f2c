// Nodes: their states and attributes.

#include <algorithm>
#include <cstring>
#include <new>

#include "library/model/access.h"
#include "library/model/messages.h"
#include "library/model/netmodel.h"
#include "library/utilities/names.h"

namespace lumo {

namespace {

/// A node has at most this many user fields before they are hashed.
constexpr std::size_t FewFields = 16;

/// Frees an array of texts of that many states, when it has a block of its own.
void FreeTexts(char** texts, int count) {
    if (count > FewEntries) std::free(texts);
}

/// Frees the array of the variable's states and takes the new one.
void Assign(const Varbl_bn& variable, char**& place, char** texts) {
    FreeTexts(place, variable.numStates);
    place = texts;
}

bool AllLegal(char* const* names, int count) {
    return std::all_of(names, names + count,
                       [](const char* name) { return name != nullptr && IsLegalName_kt(name); });
}

/// The first name that an earlier entry has too, null when all are distinct. Null entries are none.
const char* FirstRepeated(char* const* names, int count) {
    constexpr int few = 8;  // compared each with each, without a set
    if (count <= few) {
        for (int i = 1; i < count; ++i)
            for (int j = 0; j < i; ++j)
                if (names[i] != nullptr && streql_kt(names[i], names[j])) return names[i];
        return nullptr;
    }
    std::unordered_set<std::string_view> seen;
    seen.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        if (names[i] != nullptr && !seen.insert(names[i]).second) return names[i];
    }
    return nullptr;
}

rept_kt* CheckStateNames(const Bnode_bn& node, char* const* names, int count) {
    for (int i = 0; i < count; ++i) {
        if (names[i] == nullptr || IsLegalName_kt(names[i])) continue;
        return NewReport(msg::model.badStateName, names[i], i, node.name());
    }
    if (const char* name = FirstRepeated(names, count)) {
        return NewReport(msg::model.equalStateNames, node.name(), name);
    }
    return Okay_rept_kt;
}

/// Warns when the node has no such state.
bool HasState(const Bnode_bn& node, int state, const char* what) {
    if (state >= 0 && state < node.numStates()) return true;
    NewReport(msg::model.badStateIndex, what, state, node.name(), node.numStates());
    return false;
}

}  // namespace

// ---- Life ----------------------------------------------------------------------------------

Varbl_bn::~Varbl_bn() {
    for (char** texts : {stateNames, stateTitles, stateComments}) FreeTexts(texts, numStates);
    delete[] levels;
}

Bnode_bn::~Bnode_bn() {
    for (BndList_bn* list : {&parents, &family}) {  // the arena has their storage
        list->array = nullptr;
        list->N = list->capacity = 0;
    }
    delete[] comment;
}

Bnode_bn::Extras& ModelAccess::extras(Bnode_bn& node) {
    if (node.extras_ == nullptr) node.extras_ = std::make_unique<Bnode_bn::Extras>();
    return *node.extras_;
}

// ---- States --------------------------------------------------------------------------------

char* statetostr1(int state, const Varbl_bn& variable, char* buffer) {
    const auto textOf = [&](char* const* texts) {
        const bool has = texts != nullptr && state >= 0 && state < variable.numStates;
        return has ? Printable(texts[state]) : nullptr;
    };
    const char* text = textOf(variable.stateNames);
    if (text == nullptr) text = textOf(variable.stateTitles);
    if (text != nullptr) {
        const std::size_t length = std::min(std::strlen(text), std::size_t{StateTextSize - 1});
        std::memcpy(buffer, text, length);
        buffer[length] = '\0';
    } else if (state < 0 || state >= variable.numLevels) {
        SPrintf(buffer, StateTextSize, "#%d", state);
    } else if (variable.numLevels == variable.numStates) {
        SPrintf(buffer, StateTextSize, "%.15g", variable.levels[state]);
    } else if (state + 1 < variable.numLevels) {
        SPrintf(buffer, StateTextSize, "%.15g to %.15g", variable.levels[state],
                variable.levels[state + 1]);
    } else {
        SPrintf(buffer, StateTextSize, "#%d", state);
    }
    return buffer;
}

/// An array for the texts of that many states, with room for more bytes behind it.
char** ModelAccess::newTexts(const Bnode_bn& node, int count, std::size_t bytes) {
    const std::size_t size = static_cast<std::size_t>(count) * sizeof(char*) + bytes;
    if (count <= FewEntries) {
        constexpr std::size_t pointer = sizeof(char*);
        char** const texts = index(node).arena.take<char*>((size + pointer - 1) / pointer);
        std::fill_n(texts, count, nullptr);
        return texts;
    }
    // Zeroed by the system: an array of a million states that are never named costs no memory.
    auto* const texts = static_cast<char**>(std::calloc(1, size));
    if (texts == nullptr) throw std::bad_alloc();
    return texts;
}

/// Copies the texts behind the array of them.
char** ModelAccess::storeTexts(const Bnode_bn& node, char** texts, int count) {
    if (texts == nullptr) return nullptr;
    std::size_t bytes = 0;
    for (int i = 0; i < count; ++i) bytes += texts[i] == nullptr ? 0 : std::strlen(texts[i]) + 1;
    char** const stored = newTexts(node, count, bytes);
    char* place = reinterpret_cast<char*>(stored + count);
    for (int i = 0; i < count; ++i) {
        if (texts[i] == nullptr) continue;
        stored[i] = place;
        const std::size_t size = std::strlen(texts[i]) + 1;
        std::memcpy(place, texts[i], size);
        place += size;
    }
    return stored;
}

void ModelAccess::dropTables(Bnode_bn& node) {
    node.relation.clear();
    ChildWalk children(node);
    while (Bnode_bn* child = children.next()) child->relation.clear();
}

/// The names of the node's states, hashed. Kept for the node that was asked for last: readers name
/// the states of one node after the other.
UniqueNames_kt& ModelAccess::stateNames(Bnode_bn& node) {
    Bnet_bn::Index& at = index(node);
    if (at.stateNamesOf == &node) return *at.stateNames;
    at.stateNamesOf = nullptr;
    at.stateNames = std::make_unique<UniqueNames_kt>();
    const Varbl_bn& variable = node.variable;
    for (int i = 0; variable.stateNames != nullptr && i < variable.numStates; ++i) {
        if (variable.stateNames[i] != nullptr) at.stateNames->add(variable.stateNames[i]);
    }
    at.stateNamesOf = &node;
    return *at.stateNames;
}

/// Whether no other state has the name. Asks nodes of few states that have no set of names yet:
/// making one takes longer than reading a state.
bool ModelAccess::isFreeAmongFew(const Bnode_bn& node, int state, const char* name) {
    constexpr int few = Bnode_bn::FewStates;
    const Varbl_bn& variable = node.variable;
    if (variable.numStates > few || index(node).stateNamesOf == &node) return false;
    for (int i = 0; name != nullptr && i < variable.numStates; ++i) {
        const char* const other = variable.stateNames[i];
        if (i != state && other != nullptr && streql_kt(other, name)) return false;
    }
    return true;
}

void ModelAccess::forgetStateNames(Bnode_bn& node) {
    if (index(node).stateNamesOf == &node) index(node).stateNamesOf = nullptr;
}

rept_kt* ModelAccess::takeStates(const Bnet_bn& net, const Bnode_bn* node, int count) {
    if (count < 0 || count > MaxStates)
        return node != nullptr ? NewReport(msg::model.tooManyStates, node->name(), count, MaxStates)
                               : NewReport(msg::model.badStateCount, count, MaxStates);
    long long& states = index(net).states;
    const long long wanted = states + count - (node != nullptr ? node->numStates() : 0);
    if (wanted > MaxNetStates)
        return NewReport(msg::model.tooManyNetStates, count, wanted, MaxNetStates);
    states = wanted;
    return Okay_rept_kt;
}

/// Gives the node that many states with these names, which are stored, and nothing else.
void ModelAccess::replaceStates(Bnode_bn& node, int count, char** names) {
    Varbl_bn& variable = node.variable;
    if (count != variable.numStates) dropTables(node);
    forgetStateNames(node);
    Assign(variable, variable.stateNames, names);
    Assign(variable, variable.stateTitles, nullptr);
    Assign(variable, variable.stateComments, nullptr);
    variable.numStates = count;
    delete[] std::exchange(variable.levels, nullptr);
    variable.numLevels = 0;
    variable.titlesAreIds = false;
    changed(node);
}

rept_kt* Bnode_bn::setStates(int count, char** names, double* levels, const int*, const int*,
                             CheckEN) {
    const OwnedStrs ownedNames(names, std::max(count, 0));
    std::unique_ptr<double[]> ownedLevels(levels);
    if (names != nullptr && count >= 0) {
        if (rept_kt* report = CheckStateNames(*this, names, count); IsError(report)) return report;
    }
    if (rept_kt* report = ModelAccess::takeStates(net(), this, count); IsError(report))
        return report;
    ModelAccess::replaceStates(*this, count, ModelAccess::storeTexts(*this, names, count));
    if (levels != nullptr) variable.numLevels = variable.discrete ? count : count + 1;
    variable.levels = ownedLevels.release();
    return Okay_rept_kt;
}

bool Bnode_bn::setFewStates(std::span<const std::string_view> names) {
    const int count = static_cast<int>(names.size());
    if (names.size() > FewStates || names.empty()) return false;
    std::size_t bytes = 0;
    for (auto name = names.begin(); name != names.end(); bytes += name++->size() + 1)
        if (!IsLegalName_kt(*name) || std::find(names.begin(), name, *name) != name) return false;
    // What is too much for the net is left to setStates, which says so.
    long long& ofNet = ModelAccess::index(*this).states;
    if (ofNet + count - numStates() > MaxNetStates) return false;
    ofNet += count - numStates();
    char** const stored = ModelAccess::newTexts(*this, count, bytes);
    char* place = reinterpret_cast<char*>(stored + count);
    for (int i = 0; i < count; ++i) {
        const std::string_view name = names[static_cast<std::size_t>(i)];
        stored[i] = place;
        place += name.copy(place, name.size());
        *place++ = '\0';
    }
    ModelAccess::replaceStates(*this, count, stored);
    return true;
}

rept_kt* Bnode_bn::setStateNames(char** names, CheckEN) {
    const OwnedStrs owned(names, numStates());
    if (names != nullptr) {
        rept_kt* report = CheckStateNames(*this, names, numStates());
        if (IsError(report)) return report;
    }
    Assign(variable, variable.stateNames, ModelAccess::storeTexts(*this, names, numStates()));
    ModelAccess::forgetStateNames(*this);
    ModelAccess::changed(*this);
    return Okay_rept_kt;
}

rept_kt* Bnode_bn::setStateName(int state, char* name, int, CheckEN) {
    const OwnedStr owned(name);
    if (!HasState(*this, state, "a name")) return Okay_rept_kt;
    if (name != nullptr && !IsLegalName_kt(name)) {
        return NewReport(msg::model.badStateName, name, state, this->name());
    }
    if (variable.stateNames == nullptr)
        variable.stateNames = ModelAccess::newTexts(*this, numStates());
    char*& place = variable.stateNames[state];
    if (ModelAccess::isFreeAmongFew(*this, state, name)) {
        place = name == nullptr ? nullptr : ModelAccess::index(*this).arena.copy(name);
        ModelAccess::changed(*this);
        return Okay_rept_kt;
    }
    UniqueNames_kt& taken = ModelAccess::stateNames(*this);
    if (place != nullptr) taken.remove(place);
    place = nullptr;
    if (name != nullptr) {
        const std::string unique = taken.unique(name, 's');
        place = ModelAccess::index(*this).arena.copy(unique);
        taken.add(unique);
    }
    ModelAccess::changed(*this);
    return Okay_rept_kt;
}

rept_kt* Bnode_bn::setStateTitle(int state, char* text, CheckEN) {
    const OwnedStr owned(text);
    if (!HasState(*this, state, "a title")) return Okay_rept_kt;
    if (variable.stateTitles == nullptr)
        variable.stateTitles = ModelAccess::newTexts(*this, numStates());
    variable.titlesAreIds = false;
    variable.stateTitles[state] =
        text == nullptr ? nullptr : ModelAccess::index(*this).arena.copy(text);
    ModelAccess::changed(*this);
    return Okay_rept_kt;
}

void Bnode_bn::setStateTitles(char** texts) {
    const OwnedStrs owned(texts, numStates());
    variable.titlesAreIds = false;
    Assign(variable, variable.stateTitles, ModelAccess::storeTexts(*this, texts, numStates()));
    ModelAccess::changed(*this);
}

rept_kt* Bnode_bn::setStateComment(int state, char* text) {
    const OwnedStr owned(text);
    if (!HasState(*this, state, "a comment")) return Okay_rept_kt;
    if (variable.stateComments == nullptr)
        variable.stateComments = ModelAccess::newTexts(*this, numStates());
    variable.stateComments[state] =
        text == nullptr ? nullptr : ModelAccess::index(*this).arena.copy(text);
    ModelAccess::changed(*this);
    return Okay_rept_kt;
}

rept_kt* SetStatesToLabels(Bnode_bn& node, char** labels, int count, bool createNames) {
    OwnedStrs owned(labels, std::max(count, 0));
    const bool usable = labels == nullptr || count < 0 || count > MaxStates ||
                        (AllLegal(labels, count) && FirstRepeated(labels, count) == nullptr);
    if (usable) {
        return node.setStates(count, owned.release());
    }
    char** names = createNames ? MakeLegalUniqueNames_kt(labels, count, 's') : nullptr;
    rept_kt* report = node.setStates(count, names);
    if (!IsError(report)) node.setStateTitles(owned.release());
    return report;
}

// ---- Attributes ----------------------------------------------------------------------------

void Bnode_bn::setTitle(char* text) {
    const OwnedStr owned(text);
    title = text == nullptr ? nullptr : ModelAccess::index(*this).arena.copy(text);
    ModelAccess::changed(*this);
}

void Bnode_bn::setTitle(std::string_view text) {
    title = ModelAccess::index(*this).arena.copy(text);
    ModelAccess::changed(*this);
}

void Bnode_bn::setComment(char* text) {
    delete[] comment;
    comment = text;
    ModelAccess::changed(*this);
}

rept_kt* Bnode_bn::setKind(NodeKindEN newKind, CheckEN) {
    kind = newKind;
    ModelAccess::changed(*this);
    return Okay_rept_kt;
}

rept_kt* Bnode_bn::setDiscrete(VarDiscreteEN what, bool, CheckEN) {
    variable.discrete = what == DiscreteVar;
    if (variable.discrete) {
        // The bounds of intervals are no values of states.
        delete[] std::exchange(variable.levels, nullptr);
        variable.numLevels = 0;
        ModelAccess::changed(*this);
        return Okay_rept_kt;
    }
    return setStates(0);
}

void Bnode_bn::setUserField(const char* fieldName, const void* data, int length) {
    Extras& extras = ModelAccess::extras(*this);
    std::vector<UserField>& fields = extras.fields;
    std::string bytes;
    if (length > 0) bytes.assign(static_cast<const char*>(data), static_cast<std::size_t>(length));
    ModelAccess::changed(*this);

    if (fields.size() < FewFields) {
        const auto same = [&](const UserField& field) { return field.name == fieldName; };
        const auto found = std::find_if(fields.begin(), fields.end(), same);
        if (found == fields.end()) {
            fields.push_back({fieldName, std::move(bytes)});
        } else {
            found->data = std::move(bytes);
        }
        return;
    }
    auto& places = extras.fieldPlaces;
    for (std::size_t i = places.size(); i < fields.size(); ++i) places.emplace(fields[i].name, i);
    const auto [place, isNew] = places.try_emplace(fieldName, fields.size());
    if (isNew) {
        fields.push_back({fieldName, std::move(bytes)});
    } else {
        fields[place->second].data = std::move(bytes);
    }
}

void Bnode_bn::removeUserFields() {
    if (extras_ == nullptr) return;
    extras_->fields.clear();
    extras_->fieldPlaces.clear();
    ModelAccess::changed(*this);
}

const std::vector<UserField>& Bnode_bn::userFields() const {
    static const std::vector<UserField> none;
    return extras_ == nullptr ? none : extras_->fields;
}

const std::vector<nodeset_bn*>& Bnode_bn::nodesets() const {
    static const std::vector<nodeset_bn*> none;
    return extras_ == nullptr ? none : extras_->nodesets;
}

}  // namespace lumo
