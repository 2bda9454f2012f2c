// Hugin files of several classes: which of them is the net.
#include <algorithm>
#include <functional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "formats/hugin/instances.h"
#include "formats/hugin/messages.h"
#include "formats/hugin/state.h"
#include "formats/shared/options.h"
#include "formats/shared/positions.h"

namespace lumo::hugin {

namespace {

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
        instantiated.emplace(in.takeName(ValueSize));
    }
}

/// The file's classes, in its order.
std::vector<Class> FindClassesAndInstances(Parser_CString_kt& in, Words& instantiated) {
    std::vector<Class> classes;
    char word[ValueSize + 1];
    while (!in.isAtEnd()) {
        if (in.readPunc() != 0) continue;
        const ParserPos_kt place = in.getPos();
        in.readWord(word, ValueSize);
        if (!streqli_kt(word, "class")) continue;
        classes.push_back({std::string(ReadName(in)), place, 0});
        PassClass(in, instantiated);
        classes.back().size = in.getPos() - place;
    }
    return classes;
}

std::string NamesOf(const std::vector<Class>& classes, const Class& without = {}) {
    std::string names;
    for (const Class& each : classes) {
        if (each.place == without.place) continue;
        if (names.size() > ValueSize) return names + " ...";
        names += (names.empty() ? "" : ", ") + each.name;
    }
    return names.empty() ? "none" : names;
}

}  // namespace

std::vector<Class> FindClasses(Parser_CString_kt& in) {
    Words instantiated;
    return FindClassesAndInstances(in, instantiated);
}

bool ChooseClass(Parser_CString_kt& in, const ReadOptions& options) {
    const ParserPos_kt start = in.getPos();
    Words instantiated;
    const std::vector<Class> classes = FindClassesAndInstances(in, instantiated);
    const std::string wanted(options.className);
    const auto chosen = std::ranges::find_if(classes, [&](const Class& each) {
        return wanted.empty() ? !instantiated.contains(each.name) : each.name == wanted;
    });
    in.setPos(start);
    in.setTokenStart(start);
    if (chosen == classes.end() && !wanted.empty())
        throw in.report(msg::hugin.unknownClass, wanted.c_str(), NamesOf(classes).c_str());
    if (classes.empty()) return false;
    const Class read = chosen == classes.end() ? classes.front() : *chosen;
    const bool several = classes.size() > 1;
    if (several) {
        in.setPos(read.place);
        in.setTokenStart(read.place);
        // Where one class alone is part of no other, the others are read with it.
        const auto isPart = [&](const Class& each) { return instantiated.contains(each.name); };
        const auto wholes = std::ranges::count_if(classes, std::not_fn(isPart));
        if (!options.lenient || wholes != 1 || isPart(read))
            in.report(msg::hugin.classChosen, read.name.c_str(), NamesOf(classes, read).c_str());
    }
    if (options.lenient && !instantiated.empty())
        StartInstances(in, std::move(classes), read, options.folder);
    return several;
}

}  // namespace lumo::hugin
