#include "formats/shared/labels.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>

#include "formats/shared/describe.h"
#include "formats/shared/digits.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

const char* TextOf(char* const* texts, int state) {
    return texts == nullptr ? nullptr : texts[state];
}

/// Blanks say nothing, and few programs keep them.
bool SaysSomething(const char* text) {
    return text != nullptr && text[std::strspn(text, " \t\n\v\f\r")] != '\0';
}

std::string Shortest(double value) {
    char text[MostDigits];
    return {text, WriteDigits(text, value)};
}

/// What the state says by its number alone.
std::string NumberLabel(const Varbl_bn& variable, int state) {
    if (variable.levels == nullptr) return "s" + std::to_string(state);
    if (variable.numLevels == variable.numStates) return Shortest(variable.levels[state]);
    return Shortest(variable.levels[state]) + " to " + Shortest(variable.levels[state + 1]);
}

}  // namespace

void StateLabels(const Varbl_bn& variable, Texts& out) {
    out.resize(static_cast<std::size_t>(variable.numStates));
    for (int i = 0; i < variable.numStates; ++i) {
        std::string& label = out[static_cast<std::size_t>(i)];
        const char* name = TextOf(variable.stateNames, i);
        if (const char* title = TextOf(variable.stateTitles, i); SaysSomething(title)) {
            label = ToUtf8(title);
        } else if (HasText(name)) {
            label = name;
        } else {
            label = NumberLabel(variable, i);
        }
    }
}

bool AreDistinct(const Texts& labels) {
    constexpr std::size_t few = 8;  // compared each with each, without a set
    if (labels.size() > few) {
        return std::unordered_set<std::string_view>(labels.begin(), labels.end()).size() ==
               labels.size();
    }
    for (auto label = labels.begin(); label != labels.end(); ++label)
        if (std::find(labels.begin(), label, *label) != label) return false;
    return true;
}

bool AreStateNames(const Texts& labels) {
    return std::all_of(labels.begin(), labels.end(),
                       [](const std::string& label) { return IsLegalName_kt(label); }) &&
           AreDistinct(labels);
}

std::vector<const char*> Pointers(const Texts& texts) {
    std::vector<const char*> pointers;
    pointers.reserve(texts.size());
    for (const std::string& text : texts) pointers.push_back(text.c_str());
    return pointers;
}

bool AreKept(char* const* texts, const Texts& read) {
    for (std::size_t i = 0; texts != nullptr && i < read.size(); ++i)
        if (HasText(texts[i]) && ToUtf8(texts[i]) != read[i]) return false;
    return true;
}

bool AreUnlabelled(const Varbl_bn& variable) {
    for (char** texts : {variable.stateNames, variable.stateTitles}) {
        for (int i = 0; i < variable.numStates; ++i)
            if (SaysSomething(TextOf(texts, i))) return false;
    }
    return true;
}

std::string Quoted(std::string_view text) {
    static constexpr std::string_view plain = "\"\\\n\t\r";
    static constexpr std::string_view escaped = "\"\\ntr";
    std::string out = "\"";
    for (const char c : ToUtf8(text)) {
        const auto byte = static_cast<unsigned char>(c);
        if (const std::size_t at = plain.find(c); at != std::string_view::npos) {
            out += '\\';
            out += escaped[at];
        } else if (byte < 0x20 || byte == 0x7F) {
            out += '\\';
            for (const unsigned shift : {6U, 3U, 0U})
                out += static_cast<char>('0' + (byte >> shift & 7U));
        } else {
            out += c;
        }
    }
    return out += '"';
}

}  // namespace lumo
