// Hugin files: what is told once, at the end, for all nodes and objects that it concerns.
#include <map>
#include <memory>
#include <string>
#include <unordered_set>

#include "formats/hugin/instances.h"
#include "formats/hugin/messages.h"
#include "formats/hugin/state.h"

namespace lumo::hugin {

namespace {

/// Names, of which the first are told.
struct NameList {
    int count = 0;
    std::string text;
    Parser_CString_kt* in = nullptr;  ///< that of the first, which stands there
    ParserPos_kt place = nullptr;

    void add(Parser_CString_kt& reader, std::string_view name) {
        constexpr int mostNames = 20;
        if (count == 0) {
            in = &reader;
            place = reader.tokenStart();
        }
        if (++count > mostNames) return;
        if (count > 1) text += ", ";
        text += name;
        if (count == mostNames) text += " ...";
    }
};

}  // namespace

struct Lists {
    std::map<const ListMessage*, NameList> nodes;
    std::map<std::string, NameList, std::less<>> objects;  // by the words that start them
    std::unordered_set<std::string> settings;
    std::unordered_set<std::string> headerWords;  // of those objects
};

namespace {

Lists& ListsOf(const Parser_CString_kt& in) {
    State& state = StateOf(in);
    if (state.lists == nullptr) state.lists = std::make_shared<Lists>();
    return *state.lists;
}

}  // namespace

void ListNode(Parser_CString_kt& in, const ListMessage& message, std::string_view name) {
    ListsOf(in).nodes[&message].add(in, name);
}

void ListPassedOver(Parser_CString_kt& in, const char* kind, std::string_view name) {
    ListsOf(in).objects[kind].add(in, name);
}

void ListSetting(Parser_CString_kt& in, std::string_view name) {
    if (ListsOf(in).settings.emplace(name).second)
        ListNode(in, msg::hugin.settingsPassedOver, name);
}

void AddPassedOverName(Parser_CString_kt& in, std::string_view name) {
    ListsOf(in).headerWords.emplace(name);
}

bool IsPassedOver(Parser_CString_kt& in, std::string_view name) {
    return ListsOf(in).headerWords.contains(std::string(name));
}

void ReportLists(Parser_CString_kt& in, const Bnet_bn& net) {
    for (const auto& [kind, list] : ListsOf(in).objects) {
        list.in->setTokenStart(list.place);
        const ParserContext context(*list.in, kind.c_str());
        list.in->report(msg::hugin.objectsPassedOver, list.count, kind.c_str(), list.text.c_str());
    }
    for (const auto& [message, list] : ListsOf(in).nodes) {
        list.in->setTokenStart(list.place);
        list.in->report(*message, list.count, list.text.c_str());
    }
    if (net.nodes.N > 0 || (ListsOf(in).objects.empty() && !ReadsInstances(in))) return;
    in.setTokenStart(in.getPos());
    in.report(msg::hugin.noNodeRead);
}

}  // namespace lumo::hugin
