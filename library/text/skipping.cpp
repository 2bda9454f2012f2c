// Skipping: whole statements, bracketed structures, and up to a text. Nothing here recurses, and
// every search that fails is remembered, so that all skipping of an import together stays linear.
#include <algorithm>
#include <string>

#include "library/text/parser.h"
#include "library/text/state.h"

namespace lumo {

/// Past the quoted string or comment that starts at p (in XML: comment, CDATA section or processing
/// instruction); p when none does. What never ends is taken as ordinary text.
const char* Parser_CString_kt::pastShielded(const char* p) {
    if (commentAt(p)) return pastComment(p);
    const char* past = nullptr;
    if (!options->xmlText) {
        if (*p == '"' && (past = closingQuote(p + 1)) != nullptr) ++past;
    } else if (StartsWith(p, "<![CDATA[")) {
        past = state_->pastCloser(CloseCData, p, end_);
    } else if (StartsWith(p, "<?")) {
        past = state_->pastCloser(CloseInstruction, p, end_);
    }
    return past != nullptr ? past : p;
}

bool Parser_CString_kt::skipToken() {
    const char* const p = pastBlanks(channel.position);
    channel.position = wordEnd(p);
    if (channel.position > p || p == end_) return p != end_;
    const char* const past = pastShielded(p);
    channel.position = past != p ? past : p + 1;
    return true;
}

// ---- Up to a text --------------------------------------------------------------------------

int Parser_CString_kt::skipToString(const char* s) {
    const std::string_view text(s);
    if (text.empty()) return 0;
    if (!state_->notFound.empty()) {
        const auto known = state_->notFound.find(std::string(text));
        if (known != state_->notFound.end() && channel.position >= known->second) return -1;
    }
    for (const char* p = channel.position; p < end_;) {
        if (StartsWith(p, text)) {
            channel.position = p + text.size();
            return 0;
        }
        const char* const past = pastShielded(p);
        p = past != p ? past : p + 1;
    }
    state_->notFound[std::string(text)] = channel.position;
    return -1;
}

const char* Parser_CString_kt::State::pastLiteral(const char* p, const char* end) {
    const char*& none = noLiteral[*p == '"' ? 0 : 1];
    if (none != nullptr && p >= none) return nullptr;
    const void* const close = std::memchr(p + 1, *p, static_cast<std::size_t>(end - p - 1));
    if (close != nullptr) return static_cast<const char*>(close) + 1;
    none = p;
    return nullptr;
}

// ---- Structures ----------------------------------------------------------------------------

bool Parser_CString_kt::doSkipStructure(char open, char close, bool opened) {
    const char opener[] = {open, 0};
    if (!opened && skipToString(opener) == -1) return true;
    if (open == '<' && close == '>') {
        skipXMLMarkup();
        return true;
    }
    if (open == '{' && knownUnclosedBrace(channel.position)) {
        channel.position = end_;
        return false;
    }
    const char* p = channel.position;
    int depth = 1;
    while (p < end_ && depth > 0) {
        const char* const past = pastShielded(p);
        if (past != p) {
            p = past;
            continue;
        }
        if (*p == close)
            --depth;
        else if (*p == open)
            ++depth;
        ++p;
    }
    if (depth > 0 && open == '{') findUnclosedBraces(channel.position);
    channel.position = p;
    return depth == 0;
}

bool Parser_CString_kt::knownUnclosedBrace(const char* p) const {
    return state_->unclosedBracesFrom != nullptr && p >= state_->unclosedBracesFrom &&
           std::binary_search(state_->unclosedBraces.begin(), state_->unclosedBraces.end(), p);
}

/// Notes, once in an import, all braces from the open one before p on that are never closed.
void Parser_CString_kt::findUnclosedBraces(const char* p) {
    if (state_->unclosedBracesFrom != nullptr && p >= state_->unclosedBracesFrom) return;
    state_->unclosedBracesFrom = p;
    std::vector<const char*>& open = state_->unclosedBraces;
    open = {p};
    while (p < end_) {
        const char* const past = pastShielded(p);
        if (past != p) {
            p = past;
            continue;
        }
        ++p;
        if (p[-1] == '{') open.push_back(p);
        if (p[-1] == '}' && !open.empty()) open.pop_back();
    }
}

/// The rest of a declaration whose "<!" (or another markup whose '<') was consumed: up to its '>',
/// counting nested pairs, outside quoted literals, comments and instructions.
void Parser_CString_kt::skipXMLMarkup() {
    const char* p = channel.position;
    const char before = p - channel.start >= 2 && p[-2] == '<' ? p[-1] : '\0';
    const char* whole = nullptr;
    if (before == '?')
        whole = state_->pastCloser(CloseInstruction, p, end_);
    else if (before == '!' && StartsWith(p, "--"))
        whole = pastComment(p - 2);
    else if (before == '!' && StartsWith(p, "[CDATA["))
        whole = state_->pastCloser(CloseCData, p, end_);
    if (whole != nullptr) {
        channel.position = whole;
        return;
    }
    const bool literals = *p != '-';  // "<!- it's none ->"
    for (int depth = 1; p < end_ && depth > 0;) {
        const bool quote = literals && (*p == '"' || *p == '\'');
        const char* const past = quote       ? state_->pastLiteral(p, end_)
                                 : *p == '<' ? pastShielded(p)
                                             : nullptr;
        if (past != nullptr && past != p) {
            p = past;
            continue;
        }
        if (*p == '>')
            --depth;
        else if (*p == '<')
            ++depth;
        ++p;
    }
    channel.position = p;
}

// ---- Statements ----------------------------------------------------------------------------

void Parser_CString_kt::doSkipStatement() { channel.position = statementEnd(); }

/// Where the statement at the position ends. Round and square brackets are counted outside braces
/// only. A ';' within them ends the statement after all when they are not closed before the
/// enclosing block ends: `x = (1 2; y = 3; }` has lost a ')'. The text looked through in vain for
/// such brackets is remembered; a ';' in it is taken as an end at once.
const char* Parser_CString_kt::statementEnd() {
    const char* inBrackets = nullptr;  // the first ';' within open brackets
    int braces = 0;
    int brackets = 0;
    const char* p = channel.position;
    while (p < end_) {
        const char* const past = pastShielded(p);
        if (past != p) {
            p = past;
            continue;
        }
        const char c = *p;
        if (c == '{') {
            ++braces;
        } else if (c == '}') {
            if (braces == 0) break;
            if (--braces == 0 && brackets == 0) {
                const char next = *pastBlanks(p + 1);
                if (next != ';' && next != ',') return p + 1;
            }
        } else if (braces > 0) {
            // only braces count within braces
        } else if (c == ';') {
            if (brackets == 0 || p < state_->unbalancedUpTo) return p;
            if (inBrackets == nullptr) inBrackets = p;
        } else if (c == '(' || c == '[') {
            ++brackets;
        } else if ((c == ')' || c == ']') && brackets > 0 && --brackets == 0) {
            inBrackets = nullptr;
        }
        ++p;
    }
    if (inBrackets == nullptr) return p;
    state_->unbalancedUpTo = p;
    return inBrackets;
}

}  // namespace lumo
