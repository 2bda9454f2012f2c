// Reader of XML BIF version 0.3 files, and, read leniently, 0.2.
//
// A document is one BIF element with one NETWORK, which holds a NAME, a VARIABLE element for every
// node and a DEFINITION element for every table, in any order as long as a variable comes before
// the definitions that name it. Elements of other kinds are passed over with a warning. Strictly
// read, broken structure is an error, and the first error ends the parse; what was read before it
// stays in the net. Read leniently, damage costs the damaged element, and variables may come later.
//
// Unlike the other formats this one is read without the import lock: nothing here is written that
// belongs to more than one import.
#include "formats/xmlbif/xmlbif.h"

#include <memory>
#include <string>

#include "formats/shared/judging.h"
#include "formats/shared/readers.h"
#include "formats/xmlbif/document.h"

namespace lumo {

bool Read_XMLBif_creates_state_names_if_titles_not_legal_IDnames_pref = false;

namespace xmlbif {

namespace {

constexpr double positionScale = 1.5;  // of positions given by the file

// ---- The network ---------------------------------------------------------------------------

/// What stands in NETWORK.
class NetworkReader {
public:
    NetworkReader(Document& document, Vnet_kt& drawing) : document_(document), drawing_(drawing) {}

    void readAttributes();
    void readContent();

private:
    void setLabel(std::string_view label);
    void readName();
    void readVariable();
    void readDefinition();

    static constexpr Element<NetworkReader> accepted_[] = {
        {"NAME", &NetworkReader::readName},
        {"VARIABLE", &NetworkReader::readVariable},
        {"DEFINITION", &NetworkReader::readDefinition},
        {"PROBABILITY", &NetworkReader::readDefinition, "DEFINITION"},
    };

    Document& document_;
    Vnet_kt& drawing_;
};

/// In lenient reading: the format knows none.
void NetworkReader::readAttributes() {
    for (const XMLAttribute& attribute : document_.elements.tag().attributes) {
        const std::string name(attribute.name);
        if (name == "NAME") {
            document_.in().report(msg::xmlbif.nameAttribute, network.kind);
            setLabel(attribute.value);
        } else {
            document_.in().report(msg::xmlbif.networkAttribute, name.c_str());
        }
    }
}

void NetworkReader::readContent() {
    ReadContent(*this, document_.elements, network, accepted_);
    ReadWaiting(document_);
    document_.order.finish(document_.in());
    PlaceNodes(drawing_, document_.in().positionCount != 0, positionScale);
}

void NetworkReader::setLabel(std::string_view label) {
    Bnet_bn& net = document_.net;
    SetNetLabel(net, DupStr_kt(label));
    document_.in().structName = Printable(net.title) != nullptr ? net.title : net.name;
}

void NetworkReader::readName() { setLabel(document_.elements.readText()); }

// checkError lets the application see progress and stop a long import between two nodes.
void NetworkReader::readVariable() {
    ReadVariable(document_);
    document_.in().checkError();
}

void NetworkReader::readDefinition() {
    ReadDefinition(document_);
    document_.in().checkError();
}

// ---- Strict reading ------------------------------------------------------------------------

/// Passes over the rest of a declaration or processing instruction that starts there.
void SkipMarkup(Parser_CString_kt& in, ParserPos_kt start) {
    in.skipStructure('<', '>', true);
    if (in.bytesLeft() > 0 || in.getPos()[-1] == '>') return;
    in.setTokenStart(start);
    throw in.report(msg::text.openMarkup);
}

/// Passes over what stands before the root element, and over the root's '<'. False when the text
/// ends before a root.
bool SkipPrologue(Parser_CString_kt& in) {
    for (;;) {
        if (in.isAtEnd()) return false;
        const ParserPos_kt start = in.getPos();
        in.setTokenStart(start);
        if (const char c = in.readChar(); c != '<') {
            throw in.report(msg::xmlbif.noTag, c);
        }
        if (in.peekPunc() == '/') return true;  // an end tag where the root should be
        const char c = in.readPunc();
        if (c == 0) return true;
        if (c != '!' && c != '?') {
            throw in.report(msg::xmlbif.badPunctuation, c);
        }
        SkipMarkup(in, start);
    }
}

[[noreturn]] void ThrowWithoutOpen(Parser_CString_kt& in, const Message<const char*>& message,
                                   const XMLTag& tag) {
    throw in.report(message, std::string(tag.name).c_str());
}

[[noreturn]] void ThrowWrongRoot(Parser_CString_kt& in, const XMLTag& tag) {
    const bool none = tag.attributes.empty();
    throw in.report(msg::xmlbif.wrongRoot, std::string(tag.name).c_str(),
                    none ? "" : std::string(tag.attributes[0].name).c_str(),
                    none ? "" : tag.attributes[0].value.c_str());
}

bool IsVersion03(const XMLTag& root) {
    return !root.attributes.empty() && root.attributes[0].name == "VERSION" &&
           root.attributes[0].value == "0.3";
}

void ReadRootTag(Parser_CString_kt& in) {
    XMLTag tag;
    ReadTag(in, tag);
    if (tag.closes) ThrowWithoutOpen(in, msg::xmlbif.rootWithoutOpen, tag);
    if (tag.name != "BIF" || !IsVersion03(tag)) ThrowWrongRoot(in, tag);
}

void ReadNetworkTag(Parser_CString_kt& in) {
    XMLTag tag;
    ReadTag(in, tag);
    if (tag.closes) ThrowWithoutOpen(in, msg::xmlbif.networkWithoutOpen, tag);
    if (tag.name == network.kind && tag.attributes.empty()) return;
    throw in.report(msg::xmlbif.notNetwork, network.kind, std::string(tag.name).c_str(),
                    tag.attributes.empty() ? "" : std::string(tag.attributes[0].name).c_str());
}

/// What follows the network: the end of BIF, or more than is read.
void ReadEnd(Parser_CString_kt& in) {
    if (in.isAtEnd() && IsError(in.curReport)) return;  // reported where it arose
    XMLTag tag;
    ReadTag(in, tag);
    const bool more = !in.isAtEnd();
    in.setTokenStart(tag.place);
    if (!tag.closes || more) {
        in.report(msg::xmlbif.moreNetworks);
    } else if (tag.name != "BIF") {
        throw in.report(msg::xmlbif.wrongRootEnd, std::string(tag.name).c_str());
    }
}

void ReadStrictly(Document& document, Vnet_kt& drawing) {
    Parser_CString_kt& in = document.in();
    const ParserPos_kt start = in.getPos();
    ReadXMLVersion(in);
    if (in.getPos() != start && in.getPos()[-1] != '>') SkipMarkup(in, start);
    if (!SkipPrologue(in)) {
        // A document without a root is none, but no error of the reader either: it is shown alone.
        in.setTokenStart(in.getPos());
        ShowReport(NewReport(msg::xmlbif.noNetwork));
        return;
    }
    ReadRootTag(in);
    {
        const ParserContext context(in, network.kind);
        in.positionCount = 0;
        ReadNetworkTag(in);
        NetworkReader(document, drawing).readContent();
    }
    ReadEnd(in);
}

// ---- Lenient reading -----------------------------------------------------------------------

void NoteVersion(Parser_CString_kt& in, const XMLTag& root) {
    if (IsVersion03(root)) return;
    const std::string* version = root.find("VERSION");
    const std::string what = version == nullptr  ? "missing"
                             : *version == "0.3" ? "not the first attribute"
                                                 : "'" + *version + "'";
    in.report(msg::xmlbif.otherVersion, what.c_str());
}

void ReadLeniently(Document& document, Vnet_kt& drawing) {
    Parser_CString_kt& in = document.in();
    XMLReader& walk = document.elements.walk;
    const ParserPos_kt start = in.getPos();
    if (!walk.nextChild()) throw in.report(msg::xmlbif.noNetwork);
    const bool bare = walk.tag().name == network.kind;
    if (walk.tag().name != "BIF" && !bare) ThrowWrongRoot(in, walk.tag());
    const XMLTag root = walk.tag();
    document.orderIsKnown =
        std::string_view(start, root.place).find(orderMark) != std::string_view::npos;
    bare ? static_cast<void>(in.report(msg::xmlbif.networkAlone)) : NoteVersion(in, root);
    while (!bare) {
        if (!walk.nextChild()) throw in.report(msg::xmlbif.noNetwork);
        if (walk.tag().name == network.kind) break;
        document.elements.skipUnknown(network);
    }
    {
        const ParserContext context(in, network.kind);
        in.positionCount = 0;
        NetworkReader reader(document, drawing);
        reader.readAttributes();
        reader.readContent();
    }
    if (document.net.nodes.N == 0 && !bare && !IsVersion03(root)) {  // of another vocabulary
        in.setTokenStart(root.place);
        ThrowWrongRoot(in, root);
    }
    if (walk.nextChild()) {
        in.report(msg::xmlbif.moreNetworks);
        in.jumpToEnd();
    } else if (walk.depth() == 0) {
        walk.nextChild();  // says what follows the root
    }
}

}  // namespace

}  // namespace xmlbif

// ---- Entries -------------------------------------------------------------------------------

namespace {

/// One element on its own, with the attribute of its start tag, or with the tag still to be read.
xmlbif::Document& WithTag(xmlbif::Document& document, const xmlbif::Structure& what,
                          const Message<const char*>& withoutOpen,
                          const Message<const char*, const char*>& wrongElement,
                          const strin_kt* attribute, const strin_kt* value) {
    XMLTag tag;
    if (attribute == nullptr) {
        const ParserContext context(document.in(), what.kind);
        ReadTag(document.in(), tag);
        const std::string name(tag.name);
        if (tag.closes) throw document.in().report(withoutOpen, name.c_str());
        if (name != what.kind) throw document.in().report(wrongElement, what.kind, name.c_str());
    } else {
        tag.name = what.kind;
        tag.place = document.in().tokenStart();
        if (!attribute->isEmpty())
            tag.attributes.push_back({attribute->view(), std::string(value->view()), tag.place});
    }
    document.elements.setTag(tag);
    return document;
}

}  // namespace

void ReadVariable(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute,
                  const strin_kt* value) {
    const ReadOptions options;
    xmlbif::Document document(in, net, options);
    xmlbif::ReadVariable(WithTag(document, xmlbif::variable, msg::xmlbif.variableWithoutOpen,
                                 msg::xmlbif.notVariable, attribute, value));
}

void ReadNode(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute,
              const strin_kt* value) {
    const ReadOptions options;
    xmlbif::Document document(in, net, options);
    xmlbif::ReadDefinition(WithTag(document, xmlbif::definition, msg::xmlbif.definitionWithoutOpen,
                                   msg::xmlbif.notDefinition, attribute, value));
}

rept_kt* ParseXMLFile(InChannel_CString_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                      const ReadOptions& options) {
    const std::unique_ptr<short[]> charProps(MakeXMLCharProps());
    ParserOptions_kt parsing;
    parsing.charProps = charProps.get();
    parsing.commentChar1 = parsing.commentChar2 = '/';
    parsing.xmlComments = parsing.xmlText = true;
    Parser_CString_kt in(&parsing, channel);
    ReadToTheEnd(in, [&] {
        xmlbif::Document document(in, net, options);
        if (options.lenient)
            xmlbif::ReadLeniently(document, drawing);
        else
            xmlbif::ReadStrictly(document, drawing);
    });
    JudgeNodes(in, net);
    in.checkError();
    return in.curReport;
}

}  // namespace lumo
