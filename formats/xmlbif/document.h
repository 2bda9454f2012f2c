// What the files of the XML BIF reader share.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "formats/shared/options.h"
#include "formats/shared/positions.h"
#include "formats/shared/readers.h"
#include "formats/shared/tableorder.h"
#include "formats/xmlbif/messages.h"
#include "library/text/xml.h"

namespace lumo::xmlbif {

/// A structure's name and the reports about what stands in it.
struct Structure {
    const char* kind;
    const Message<const char*, const char*>* mustCloseFirst;
    const Message<const char*>* unknownElement;
};
inline constexpr Structure network = {"NETWORK", &msg::xmlbif.networkOpen,
                                      &msg::xmlbif.unknownInNetwork};
inline constexpr Structure variable = {"VARIABLE", &msg::xmlbif.variableOpen,
                                       &msg::xmlbif.unknownInVariable};
inline constexpr Structure definition = {"DEFINITION", &msg::xmlbif.definitionOpen,
                                         &msg::xmlbif.unknownInDefinition};

/// The elements of a document. Strictly read, the first damage is thrown; read leniently, damage is
/// reported and costs what is damaged.
class Elements {
public:
    Elements(Parser_CString_kt& parser, bool readLeniently)
        : in(parser), lenient(readLeniently), walk(parser) {}

    Parser_CString_kt& in;
    const bool lenient;
    XMLReader walk;  ///< in lenient reading

    /// Reads the start tag of the next element in the structure into tag(). False behind its end
    /// tag, and at the end of the text.
    bool next(const Structure& what);
    const XMLTag& tag() const { return lenient ? walk.tag() : tag_; }

    /// The text of the element, and through its end tag. It lives until the next one is read.
    std::string_view readText();
    /// Likewise its numbers. False (lenient) after an error.
    bool readNumbers(FloatList& numbers);
    /// Passes over what is left of the numbers, when strict reading of them was broken off.
    void leaveNumbers();
    /// Passes over the element with the structure's warning.
    void skipUnknown(const Structure& what);

    /// Reads the element. In lenient reading an error in it is reported, and reading goes on behind
    /// the element.
    template <class READ>
    void guarded(READ read) {
        if (!lenient) return read();
        const int around = walk.depth() - 1;
        try {
            read();
        } catch (rept_kt* report) {
            in.setError(report);
            in.checkError();
            while (walk.depth() > around) walk.skipElement();
        }
    }

    /// A start tag that was read already.
    void setTag(const XMLTag& tag) { tag_ = tag; }

    /// A notice that is enough once a document for the word.
    template <class... ARGS>
    void noteOnce(std::string_view word, const Message<ARGS...>& message,
                  std::type_identity_t<ARGS>... arguments) {
        if (std::ranges::find(noted_, word) != noted_.end()) return;
        noted_.emplace_back(word);
        in.report(message, arguments...);
    }

private:
    XMLTag tag_;
    strin_kt room_;  // of a text that had to be decoded
    std::vector<std::string> noted_;
};

/// An element that a structure accepts, with the member function that reads its content. Older
/// generations and people write some names in other ways, which are read leniently.
template <class READER>
struct Element {
    std::string_view name;
    void (READER::*read)();
    std::string_view readAs = {};
};

/// The content loop of every structure: each element goes to its reader.
template <class READER, std::size_t count>
void ReadContent(READER& reader, Elements& elements, const Structure& what,
                 const Element<READER> (&accepted)[count]) {
    while (elements.next(what)) {
        const std::string_view name = elements.tag().name;
        const auto* known = std::ranges::find(accepted, name, &Element<READER>::name);
        if (known == std::end(accepted) || (!known->readAs.empty() && !elements.lenient)) {
            elements.skipUnknown(what);
            continue;
        }
        if (!known->readAs.empty()) {
            elements.noteOnce(name, msg::xmlbif.otherElement, known->name.data(),
                              known->readAs.data());
        }
        elements.guarded([&] { (reader.*known->read)(); });
    }
}

/// A variable named in a definition.
struct Reference {
    Bnode_bn* node = nullptr;
    ParserPos_kt place = nullptr;
    std::string name;  ///< when no variable above has it
};

/// A definition as the file gives it.
struct Definition {
    Reference child;
    std::vector<Reference> parents;
    FloatList numbers;
    XArray<double> exact;          // where floats do not hold the numbers
    bool stateSlowest = false;     ///< the table's order
    ParserPos_kt place = nullptr;  ///< of the table, else of the element

    void clear() {
        child = {};
        parents.clear();
        numbers.N = 0;
        exact.reset();
        stateSlowest = false;
    }
};

/// A document being read.
struct Document {
    Elements elements;
    Bnet_bn& net;
    const ReadOptions& options;

    // Kept from one element to the next: a file of many small ones does not allocate them for each.
    std::vector<std::string> outcomes;  ///< in file order
    Definition definition;
    BndList_bn parents;

    // In lenient reading: what waits for variables that are declared below, and the nodes that were
    // defined meanwhile.
    std::vector<Definition> waiting;
    std::unordered_set<const Bnode_bn*> defined;
    TableOrder order;
    bool orderIsKnown = false;  ///< the file was written by this library

    Document(Parser_CString_kt& in, Bnet_bn& itsNet, const ReadOptions& itsOptions)
        : elements(in, itsOptions.lenient), net(itsNet), options(itsOptions) {}
    Parser_CString_kt& in() { return elements.in; }
};

/// The element whose start tag was read last.
void ReadVariable(Document& document);
void ReadDefinition(Document& document);
/// Applies the definitions that waited for variables declared below them.
void ReadWaiting(Document& document);

}  // namespace lumo::xmlbif
