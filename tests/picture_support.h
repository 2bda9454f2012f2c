// What the tests of pictures and reports share: nets built by hand, and a checker of XML.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "export/result.h"
#include "library/model/netmodel.h"

namespace lumo::test {

inline ImportResult NewResult(const char* name = "net") {
    ImportResult result;
    result.file = std::string(name) + ".net";
    result.format = "hugin";
    result.formatCode = 8;
    result.net.reset(NewVBNet(DupStr_kt(name), false));
    return result;
}

inline Bnode_bn& AddNode(Bnet_bn& net, const char* name, coord_kt at,
                         NodeKindEN kind = NatureNode) {
    Bnode_bn* node = NewNode_ibn(name, 2, net, at);
    node->setKind(kind, CheckFull);
    return *node;
}

/// A net whose every text wants to break out of what it is written into.
inline const std::vector<std::string>& HostileTexts() {
    static const std::vector<std::string> texts = {
        "<script>document.title='owned'</script>",
        "\" onload=\"document.title='owned'",
        "' onclick='document.title=1",
        "]]>",
        "</script><script>document.title='owned'</script>",
        "</title><img src=x onerror=\"document.title='owned'\">",
        "&amp;&lt;&#60;",
        "<!--",
        "\x01\x02\x1b[31m\x7f\xc2\x85\xef\xbf\xbf",
        "caf\xe9 \xe2\x82",
        "\\N \\\" \\l",
        "{{constructor}} ${alert} `",
    };
    return texts;
}

inline ImportResult HostileResult() {
    ImportResult result = NewResult("hostile");
    Bnet_bn& net = *result.net;
    SetNetLabel(net, DupStr_kt("</title><script>document.title='owned'</script>"));
    net.setComment(DupStr_kt("]]></style><svg onload=document.title=1>"));
    Bnode_bn* before = nullptr;
    int place = 0;
    for (const std::string& text : HostileTexts()) {
        Bnode_bn* node = NewNode_ibn(nullptr, 2, net, {place % 4 * 150, place / 4 * 90});
        SetNodeLabel(*node, DupStr_kt(text));
        node->setComment(DupStr_kt(text));
        node->setStateTitle(0, DupStr_kt(text), CheckFull);
        node->setUserField("field", text.data(), static_cast<int>(text.size()));
        AddNodeToNodeset_ibn(*node, text.c_str());
        if (before != nullptr) AddLink_ibn(*before, *node);
        before = node;
        ++place;
        ReportRecord report;
        report.severity = SeverityError;
        report.number = -5049;
        report.message = text;
        report.structName = text;
        report.line = place;
        report.column = 1;
        result.reports.push_back(report);
    }
    return result;
}

/// Why the text is not well-formed XML, as far as writers of ours could get it wrong: elements that
/// nest, quoted attributes each once, no stray '<' or '&', no forbidden character. Empty when fine.
inline std::string XmlFault(std::string_view xml) {
    const auto at = [&](std::string_view rest) {
        return " at byte " + std::to_string(xml.size() - rest.size());
    };
    for (const char c : xml)
        if (static_cast<unsigned char>(c) < 0x20 && c != '\n' && c != '\t') return "control byte";
    std::string_view rest = xml;
    if (rest.starts_with("<?xml")) rest.remove_prefix(rest.find("?>") + 2);
    std::vector<std::string> open;
    const auto badText = [](std::string_view text) {
        for (std::size_t i = text.find('&'); i != std::string_view::npos;
             i = text.find('&', i + 1)) {
            const std::string_view entity = text.substr(i, 6);
            bool known = false;
            for (const char* name : {"&amp;", "&lt;", "&gt;", "&quot;", "&#39;"})
                known = known || entity.starts_with(name);
            if (!known) return true;
        }
        return text.find('<') != std::string_view::npos ||
               text.find("]]>") != std::string_view::npos;
    };
    while (!rest.empty()) {
        const std::size_t tag = std::min(rest.find('<'), rest.size());
        if (badText(rest.substr(0, tag))) return "text" + at(rest);
        rest.remove_prefix(tag);
        if (rest.empty()) break;
        const std::size_t nameEnd = rest.find_first_of(" >/", 2);
        std::string name(rest.substr(1, nameEnd - 1));
        rest.remove_prefix(nameEnd);
        if (name.starts_with('/')) {
            if (open.empty() || open.back() != name.substr(1)) return "end tag " + name + at(rest);
            open.pop_back();
            rest.remove_prefix(1);
            continue;
        }
        std::vector<std::string_view> attributes;
        while (rest.starts_with(' ')) {
            const std::size_t equal = rest.find("=\"");
            if (equal == std::string_view::npos) return "attribute" + at(rest);
            const std::size_t end = rest.find('"', equal + 2);
            const std::string_view attribute = rest.substr(1, equal - 1);
            if (attribute.find_first_not_of("abcdefghijklmnopqrstuvwxyzBM-:0123456789") !=
                    std::string_view::npos ||
                end == std::string_view::npos || badText(rest.substr(equal + 2, end - equal - 2)))
                return "attribute" + at(rest);
            for (const std::string_view other : attributes)
                if (other == attribute) return "attribute twice" + at(rest);
            attributes.push_back(attribute);
            rest.remove_prefix(end + 1);
        }
        if (rest.starts_with("/>")) {
            rest.remove_prefix(2);
        } else if (rest.starts_with('>')) {
            open.push_back(name);
            rest.remove_prefix(1);
        } else {
            return "tag " + name + at(rest);
        }
    }
    return open.empty() ? std::string() : "open element " + open.back();
}

}  // namespace lumo::test
