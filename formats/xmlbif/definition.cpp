// DEFINITION elements of XML BIF: the parents and the table of a node.
#include <cmath>

#include "formats/shared/commas.h"
#include "formats/xmlbif/document.h"
#include "library/text/tokens.h"

namespace lumo::xmlbif {

namespace {

class DefinitionReader {
public:
    explicit DefinitionReader(Document& document)
        : elements_(document.elements), document_(document), read_(document.definition) {
        read_.clear();
        read_.place = elements_.tag().place;
        read_.stateSlowest = elements_.tag().name == "PROBABILITY";
    }

    void readAttributes();
    void readContent() { ReadContent(*this, elements_, definition, accepted_); }

private:
    void readFor() { read_.child = reference(msg::xmlbif.unknownFor); }
    void readGiven() { read_.parents.push_back(reference(msg::xmlbif.unknownGiven)); }
    void readTable();
    Reference reference(const Message<const char*>& unknown);

    static constexpr Element<DefinitionReader> accepted_[] = {
        {"FOR", &DefinitionReader::readFor},
        {"GIVEN", &DefinitionReader::readGiven},
        {"TABLE", &DefinitionReader::readTable},
    };

    Elements& elements_;
    Document& document_;
    Definition& read_;
    bool damaged_ = false;  // a table was
};

void DefinitionReader::readAttributes() {
    if (elements_.tag().attributes.empty()) return;
    const std::string name(elements_.tag().attributes[0].name);
    elements_.in.reportUnknown(name, msg::xmlbif.unknownDefinitionAttribute, definition.kind,
                               static_cast<int>(name.size()), name.c_str());
}

/// The node that the element's text names.
Reference DefinitionReader::reference(const Message<const char*>& unknown) {
    Parser_CString_kt& in = elements_.in;
    Reference named;
    named.place = in.getPos();
    const std::string_view text = elements_.readText();
    named.node = document_.net.findNodeLabeled(text);
    if (named.node != nullptr) return named;
    named.name = text;
    if (!elements_.lenient) {
        in.setTokenStart(named.place);
        throw in.report(unknown, named.name.c_str());
    }
    return named;
}

/// Numbers of a further TABLE are appended to those before.
void DefinitionReader::readTable() {
    read_.place = elements_.tag().place;
    try {
        if (!elements_.readNumbers(read_.numbers)) damaged_ = true;
    } catch (rept_kt* report) {
        if (report->number != msg::text.outOfMemoryForNumbers.number) throw;
        elements_.in.setError(report);  // costs this table, also in strict reading
        elements_.leaveNumbers();
        damaged_ = true;
    }
    if (damaged_) read_.numbers.N = 0;
}

/// Applies what was read to the net.
class Applied {
public:
    Applied(Document& document, Definition& read)
        : document_(document), in_(document.in()), read_(read) {
        in_.setTokenStart(read.place);
    }

    void apply();

private:
    void gatherParents();
    void warnWhenDefinedAgain() const;
    bool isStateSlowest() const;
    void installTable();

    Document& document_;
    Parser_CString_kt& in_;
    Definition& read_;
    Bnode_bn* child_ = nullptr;
};

void Applied::apply() {
    child_ = read_.child.node;
    if (child_ == nullptr) throw in_.report(msg::xmlbif.noFor, definition.kind);
    gatherParents();
    warnWhenDefinedAgain();
    ThrowIfError(child_->changePreds(document_.parents));
    if (read_.numbers.N == 0) return;
    const int wanted = NumProduct(child_->family);
    if (read_.numbers.N == wanted) return installTable();
    strin_kt names;
    NodeNamesToStr(child_->parents, ", ", 60, names);
    if (document_.elements.lenient)
        TellDecimalCommas(in_, read_.place, child_->name(), wanted, read_.numbers.N);
    in_.report(msg::xmlbif.wrongCount, read_.numbers.N, wanted, names.getCStr());
}

void Applied::gatherParents() {
    document_.parents.N = 0;
    for (const Reference& parent : read_.parents) {
        if (parent.node == child_ && document_.elements.lenient) {
            in_.report(msg::xmlbif.selfParent, child_->name());
            continue;
        }
        document_.parents.append(parent.node);
    }
}

/// When something of an earlier definition is lost.
void Applied::warnWhenDefinedAgain() const {
    const bool table = child_->relation.kind != RelnKindEN::none;
    const bool sameParents = std::ranges::equal(child_->parents, document_.parents) ||
                             (!table && child_->parents.N == 0);
    if (!sameParents || (table && read_.numbers.N > 0))
        in_.report(msg::xmlbif.definedAgain, child_->name());
}

/// Generations differ in the order of the numbers, and not all programs keep to theirs.
bool Applied::isStateSlowest() const {
    const bool slowest = read_.stateSlowest;
    if (!document_.elements.lenient || document_.orderIsKnown) return slowest;
    return slowest !=
           document_.order.isTurned(in_, *child_, read_.numbers.begin(), read_.numbers.N, slowest);
}

/// Hands the numbers over in the model's order: the child's state fastest, the first parent
/// slowest.
void Applied::installTable() {
    FloatList& numbers = read_.numbers;
    const int states = child_->numStates(), count = numbers.N;
    const bool isTurned = states > 1 && isStateSlowest();
    XArray<float> table = isTurned ? nullptr : numbers.takeLong();
    if (table == nullptr) {
        table = TryNewTable<float>(in_, count, *child_);
        if (table == nullptr) return;
        if (isTurned)
            TurnTable(numbers.begin(), states, count, table.get());
        else
            std::copy_n(numbers.begin(), count, table.get());
    }
    XArray<double> exact = std::move(read_.exact);
    if (isTurned && exact != nullptr) {
        XArray<double> turned = NewXArray<double>(count);
        if (turned != nullptr) TurnTable(exact.get(), states, count, turned.get());
        exact = std::move(turned);
    }
    ThrowIfError(child_->setTable(std::move(table), std::move(exact)));
    child_->checkRowSums();
}

bool IsUnknown(const Reference& reference) {
    return reference.node == nullptr && reference.place != nullptr;
}

/// Finds the variable by now.
void Resolve(Document& document, Reference& reference, const Message<const char*>& unknown) {
    if (!IsUnknown(reference)) return;
    reference.node = document.net.findNodeLabeled(reference.name.c_str());
    document.in().setTokenStart(reference.place);
    if (reference.node == nullptr) throw document.in().report(unknown, reference.name.c_str());
}

void ApplyWaiting(Document& document, Definition& waiting) {
    Resolve(document, waiting.child, msg::xmlbif.unknownFor);
    for (Reference& parent : waiting.parents) Resolve(document, parent, msg::xmlbif.unknownGiven);
    document.in().setTokenStart(waiting.place);
    const Bnode_bn* child = waiting.child.node;
    if (child != nullptr && document.defined.contains(child)) {
        document.in().report(msg::xmlbif.definedAgain, child->name());
        return;
    }
    if (child != nullptr) document.in().report(msg::xmlbif.declaredLater, child->name());
    Applied(document, waiting).apply();
}

}  // namespace

void ReadDefinition(Document& document) {
    const ParserContext context(document.in(), definition.kind);
    DefinitionReader reader(document);
    reader.readAttributes();
    reader.readContent();
    Definition& read = document.definition;
    if (read.numbers.N > 0) read.exact = document.in().exact.take(read.numbers.N);
    if (IsUnknown(read.child) || std::ranges::any_of(read.parents, IsUnknown)) {
        document.waiting.push_back(std::move(read));
        return;
    }
    document.in().setTokenStart(read.place);
    if (read.stateSlowest && read.numbers.N > 0)
        document.elements.noteOnce("old tables", msg::xmlbif.oldTables);
    Applied(document, read).apply();
    if (!document.waiting.empty()) document.defined.insert(read.child.node);
}

void ReadWaiting(Document& document) {
    const ParserContext context(document.in(), definition.kind);
    for (Definition& waiting : document.waiting) {
        try {
            ApplyWaiting(document, waiting);
        } catch (rept_kt* report) {
            document.in().setError(report);
            document.in().checkError();
        }
    }
    document.waiting.clear();
}

}  // namespace lumo::xmlbif
