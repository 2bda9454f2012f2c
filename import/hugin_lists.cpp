// Hugin files: what is told once, at the end, for all nodes and objects that it concerns.
#include <map>
#include <string>
#include <unordered_set>

#include "import/hugin_messages.h"
#include "import/hugin_state.h"

namespace lumo::hugin {

namespace {

/// Names, of which the first are told.
struct NameList {
    int count = 0;
    std::string text;
    ParserPos_kt place = nullptr;  ///< of the first

    void add(ParserPos_kt where, std::string_view name) {
        constexpr int mostNames = 20;
        if (count == 0) place = where;
        if (++count > mostNames) return;
        if (count > 1) text += ", ";
        text += name;
        if (count == mostNames) text += " ...";
    }
};

std::map<const ListMessage*, NameList> Lists;
std::map<std::string, NameList, std::less<>> PassedOver;  // objects, by the words that start them
std::unordered_set<std::string> PassedOverNames;          // words of their headers

}  // namespace

void EmptyLists() {
    Lists = {};
    PassedOver = {};
    PassedOverNames = {};
}

void ListNode(Parser_CString_kt& in, const ListMessage& message, std::string_view name) {
    Lists[&message].add(in.tokenStart(), name);
}

void ListPassedOver(Parser_CString_kt& in, const char* kind, std::string_view name) {
    PassedOver[kind].add(in.tokenStart(), name);
}

void AddPassedOverName(std::string_view name) { PassedOverNames.emplace(name); }

bool IsPassedOver(const char* name) { return PassedOverNames.contains(name); }

void ReportLists(Parser_CString_kt& in, const Bnet_bn& net) {
    for (const auto& [kind, list] : PassedOver) {
        in.setTokenStart(list.place);
        const ParserContext context(in, kind.c_str());
        in.report(msg::hugin.objectsPassedOver, list.count, kind.c_str(), list.text.c_str());
    }
    for (const auto& [message, list] : Lists) {
        in.setTokenStart(list.place);
        in.report(*message, list.count, list.text.c_str());
    }
    if (net.nodes.N > 0 || PassedOver.empty()) return;
    in.setTokenStart(in.getPos());
    in.report(msg::hugin.noNodeRead);
}

}  // namespace lumo::hugin
