// Hugin files of several classes: which of them is the net.
#include <algorithm>
#include <string>
#include <unordered_set>
#include <vector>

#include "formats/hugin/messages.h"
#include "formats/hugin/state.h"
#include "formats/shared/options.h"
#include "formats/shared/positions.h"

namespace lumo::hugin {

namespace {

struct Class {
    std::string name;
    ParserPos_kt place;
};

using Words = std::unordered_set<std::string>;

/// Passes over a class, its name read; the classes that it holds instances of join the words.
void PassClass(Parser_CString_kt& in, Words& instantiated) {
    int depth = 0;
    while (!in.isAtEnd()) {
        const char punc = in.readPunc();
        if (punc == '"') SkipString(in);
        if (punc == '{') ++depth;
        if (punc == '}' && --depth <= 0) return;
        if (punc != 0) continue;
        const bool instance = streqli_kt(std::string(in.peekWord()).c_str(), "instance");
        SkipWord(in);
        if (!instance) continue;
        SkipName(in);
        if (in.peekPunc() != ':') continue;
        in.skipChar();
        instantiated.emplace(ReadName(in));
    }
}

/// The file's classes, in its order.
std::vector<Class> FindClasses(Parser_CString_kt& in, Words& instantiated) {
    std::vector<Class> classes;
    char word[ValueSize + 1];
    while (!in.isAtEnd()) {
        if (in.readPunc() != 0) continue;
        const ParserPos_kt place = in.getPos();
        in.readWord(word, ValueSize);
        if (!streqli_kt(word, "class")) continue;
        classes.push_back({std::string(ReadName(in)), place});
        PassClass(in, instantiated);
    }
    return classes;
}

std::string NamesOf(const std::vector<Class>& classes, const Class* without) {
    std::string names;
    for (const Class& each : classes) {
        if (&each == without) continue;
        if (names.size() > ValueSize) return names + " ...";
        names += (names.empty() ? "" : ", ") + each.name;
    }
    return names.empty() ? "none" : names;
}

}  // namespace

bool ChooseClass(Parser_CString_kt& in, const ReadOptions& options) {
    const ParserPos_kt start = in.getPos();
    Words instantiated;
    const std::vector<Class> classes = FindClasses(in, instantiated);
    const std::string wanted(options.className);
    const auto chosen = std::ranges::find_if(classes, [&](const Class& each) {
        return wanted.empty() ? !instantiated.contains(each.name) : each.name == wanted;
    });
    in.setPos(start);
    in.setTokenStart(start);
    if (chosen == classes.end() && !wanted.empty())
        throw in.report(msg::hugin.unknownClass, wanted.c_str(), NamesOf(classes, nullptr).c_str());
    if (classes.size() < 2) return false;
    const Class& read = chosen == classes.end() ? classes.front() : *chosen;
    in.setPos(read.place);
    in.setTokenStart(read.place);
    in.report(msg::hugin.classChosen, read.name.c_str(), NamesOf(classes, &read).c_str());
    return true;
}

}  // namespace lumo::hugin
