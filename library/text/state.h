// What the tokenizer's own files share; not for its users.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "library/text/parser.h"

namespace lumo {

/// Finds line and line start of places in a text. Marks are kept on the way, so that a report costs
/// at most one stride of counting wherever it lies, also within a single line of 100 MB.
class LineCounter {
public:
    struct Mark {
        const char* position;
        const char* lineStart;
        int line;  ///< from 1
    };

    explicit LineCounter(const char* start) : marks_{{start, start, 1}} {}
    Mark at(const char* place);

private:
    static constexpr std::ptrdiff_t Stride = 4096;
    std::vector<Mark> marks_;  ///< ascending, about one a stride
};

/// The texts that end what they close: found, or known not to come any more.
enum CloserEN { CloseComment, CloseXMLComment, CloseCData, CloseInstruction, CloserCount };

struct Parser_CString_kt::State {
    explicit State(const char* start) : lines(start) {}

    LineCounter lines;
    const char* emptyElement = nullptr;  ///< the '/' of the last <X/>: </X> stands there
    std::string_view emptyName;          ///< its X

    // Searches that found nothing, by the place they started from: none succeeds from there on.
    const char* noCloser[CloserCount] = {};
    const char* noQuote = nullptr;
    const char* noLiteral[2] = {};  ///< for the double, the single quote
    std::unordered_map<std::string, const char*> notFound;
    const char* bareLess = nullptr;            ///< behind the last '<' that was taken as text
    std::vector<const char*> unclosed;         ///< XML elements found to be never closed, ascending
    std::vector<const char*> unclosedBraces;   ///< ascending: the texts behind them,
    const char* unclosedBracesFrom = nullptr;  ///< all from here on
    const char* commentWarned = nullptr;       ///< the unterminated comment, once it was reported
    const char* commentsUpTo = nullptr;        ///< comments up to here were looked through
    /// Up to here skipStatement looked for closing brackets in vain.
    const char* unbalancedUpTo = nullptr;

    /// Past the closer's next occurrence, null when there is none.
    const char* pastCloser(CloserEN which, const char* from, const char* end);
    /// Past the literal whose quote stands at p; null when it is not closed.
    const char* pastLiteral(const char* p, const char* end);
};

/// True when the zero-terminated text at p starts with `text`.
inline bool StartsWith(const char* p, std::string_view text) {
    for (const char c : text) {
        if (*p++ != c) return false;
    }
    return true;
}

}  // namespace lumo
