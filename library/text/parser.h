// The input channel and the tokenizer through which every reader sees its file.
//
// A channel owns a position in a text; a tokenizer turns the text into words, numbers, quoted
// strings and punctuation, skips comments and records reports against its place.
//
// Words      A word is the longest run of characters that are neither white space, nor punctuation
//            of the character table, nor the start of a comment. A number is a word that reads as
//            one.
// Strings    A quoted string ends at the next unescaped double quote; \" \\ \n \t \r and octal \ooo
//            (one byte) are decoded, any other backslash stays as written; line breaks are kept.
// Comments   Mode 1: the first comment character starts a comment to the end of the line. Mode 2:
//            /* ... */ always, and // to the end of the line when both comment characters are
//            given; a lone '/' is an ordinary character.
// Lines      CR, LF and CRLF each end one line. A UTF-8 byte-order mark at the start is skipped.
// Place      The place of a report is the start of the token read last; when the last read found
//            nothing, where the next token starts; at the end of the input, the end. Skipping
//            (skipStatement, skipStructure, skipToString) does not move it.
// Numbers    A token that is not a number is an error that names it: the error is recorded, the
//            token is consumed, numberFailed is set, and NaN (readDouble) or 0 (readInt) is
//            returned.
#pragma once

#include <climits>
#include <cstdarg>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "library/reports/message.h"
#include "library/utilities/Utils.h"
#include "library/utilities/exact.h"
#include "library/utilities/geometry.h"

namespace LUMO_API lumo {

class Parser_kt;
class Parser_CString_kt;

// ---- Options -------------------------------------------------------------------------------

/// Whether single commas stand between the numbers of a list.
enum class CommasEN : unsigned char { none, may, must };

/// Property bits of a character.
enum CharPropBitsEN : short {
    CharPropSpace = 0x01,
    CharPropDigit = 0x02,
    CharPropLetter = 0x04,
    CharPropPunct = 0x10,    ///< returned singly by readPunc
    CharPropComment = 0x20,  ///< may start a comment
};

inline constexpr int CharPropCount = 256;  ///< entries of a property table

/// A new[] table with the standard classes, independent of the locale (free with delete[]).
short* MakeStdCharProps_kt();
/// A new[] table for XML text: the punctuation is < > = / ? ! and both quotes; & may start a
/// reference to a white-space character, which counts as white space.
short* MakeXMLCharProps();
/// Adds the bits to every character of the zero-terminated string.
void SetCharProp_kt(const char* characters, CharPropBitsEN bits, short* table);

/// How a tokenizer reads. Kept by pointer: the maker keeps record and table alive while it lives.
struct ParserOptions_kt {
    const short* charProps = nullptr;  ///< CharPropBitsEN of each character, CharPropCount entries
    char commentChar1 = 0;             ///< starts a comment; 0: none does
    char commentChar2 = 0;             ///< that follows it in mode 2; 0: no such comments
    int commentMode = 1;               ///< see Comments above
    int option = 1;                    ///< reserved; every reader sets 1
    bool xmlComments = false;          ///< <!-- --> counts as white space
    bool xmlText = false;              ///< readToChar decodes entities and CDATA and trims
};

// ---- Channels ------------------------------------------------------------------------------

/// A source of text.
class InChannel_kt {
public:
    virtual ~InChannel_kt() = default;
    /// A new tokenizer reading the channel from its current position; the caller deletes it with
    /// DeleteParser. The channel itself does not move.
    virtual Parser_kt* makeParser(const ParserOptions_kt* options) = 0;
};

/// A channel over a zero-terminated text in memory, which it does not own.
class InChannel_CString_kt : public InChannel_kt {
public:
    static constexpr int fileNameSize = 260;  ///< bytes of fileName, its zero included

    char fileName[fileNameSize] = {};  ///< a longer name is cut
    long long length = -1;             ///< reserved for the length of the text; -1: not known
    vect_kt<long long> lineIndex;      ///< reserved for an index of lines; empty
    const char* position = nullptr;    ///< the next character
    const char* start = nullptr;       ///< the first character
    const char* end = nullptr;         ///< the zero behind the last; null: not known
    std::string wholeName;             ///< what fileName holds the beginning of

    /// Over the text, which lives as long as the channel and its tokenizers, shown under that name.
    /// Throws the report of MakeUnicodeError_kt (-4136) for a text with the mark 0xFF 0xFE.
    InChannel_CString_kt(const char* text, const char* shownName);
    /// Another channel over the same text, at the same position.
    InChannel_CString_kt(const InChannel_CString_kt&) = default;
    InChannel_CString_kt& operator=(const InChannel_CString_kt&) = delete;

    Parser_kt* makeParser(const ParserOptions_kt* options) override;

    /// Reads an integer at the current position (white space before it is skipped) and moves past
    /// it. An error report when there is none; nothing moves then.
    rept_kt* readInt(int* out);
};

// ---- The tokenizer -------------------------------------------------------------------------

/// An opaque position of a tokenizer, valid for that tokenizer.
using ParserPos_kt = const char*;

/// What a format's reader keeps of one import, for its own functions, which know more of it.
struct ReaderState {};

/// Abstract tokenizer.
class Parser_kt : public PlaceSource {
public:
    const ParserOptions_kt* options = nullptr;  ///< how it reads; the maker's
    /// The most severe report recorded so far, the latest among equals.
    rept_kt* curReport = Okay_rept_kt;
    char* buffer = nullptr;                ///< the tokenizer's own, from new[]
    int bufferCount = 0;                   ///< bytes of the buffer
    const char* structKind = nullptr;      ///< what is being read, cited by messages
    const char* structName = nullptr;      ///< its name, cited by messages; borrowed
    const char* fieldName = nullptr;       ///< the field being read, cited by messages; borrowed
    char listOpenChar = '(';               ///< opens a list for ReadListStrings
    int structErrors = 0;                  ///< 0 whenever a reader enters or leaves a structure
    long long reserved = 0;                ///< always 0
    int positionCount = 0;                 ///< node positions read (XML BIF)
    std::vector<ParserPos_kt> nodePlaces;  ///< by node: where it is defined, null when not known
    bool lenient = false;          ///< the reader is to keep what reading by the letter loses
    ReaderState* state = nullptr;  ///< of the reader that made it; borrowed
    bool numberFailed = false;     ///< the last number read was none; set and cleared by each read

    virtual int eofChar() const = 0;  ///< what readChar returns at the end of the input
    virtual void skipSpaces() = 0;    ///< past white space and comments
    /// Up to and past the next s outside quoted strings and comments; -1, and no move, when there
    /// is none (which is remembered, so that asking again costs nothing); else 0.
    virtual int skipToString(const char* s) = 0;
    /// The next character after white space and comments, consumed, when it is punctuation; else 0,
    /// and it stays unread.
    virtual char readPunc() = 0;
    /// At most size characters (and a zero) into out; a name (255 and more) that is cut is warned
    /// of.
    virtual void readWord(char* out, int size) = 0;
    /// Likewise, then the punctuation behind the word, as readPunc does.
    virtual char readWordPunc(char* out, int size) = 0;
    /// Appends what stands before the first of the stops, which stays unread, or before the end;
    /// of XML text what it means (see ParserOptions_kt::xmlText).
    virtual void readToChar(const char* stops, strin_kt& out) = 0;
    /// Appends the next string value: a quoted string, or a word.
    virtual void readString(strin_kt& out) = 0;
    /// The next string value as a new[] string, which the caller owns; empty where there is none.
    virtual char* readStringNew() = 0;
    /// Appends a quoted string whose opening quote is consumed, and consumes the closing one. A
    /// string that never ends is an error, recorded, at its opening quote.
    virtual void readQuotedRest(strin_kt& out) = 0;
    virtual int readInt() = 0;           ///< the next token; see Numbers above
    virtual double readDouble() = 0;     ///< likewise
    virtual char readChar() = 0;         ///< the next character, whatever it is; consumes it
    virtual char peekChar() = 0;         ///< the next character, which stays unread
    virtual void skipChar() = 0;         ///< consumes a character; at the end nothing
    virtual void unreadChar(int c) = 0;  ///< puts back the one read last; eofChar is none
    /// Moves back that many characters, not beyond the start of the text.
    virtual void backUp(int n) = 0;
    virtual ParserPos_kt getPos() const = 0;         ///< where the next character is read
    virtual void setPos(ParserPos_kt position) = 0;  ///< goes to a position of getPos
    virtual bool isAtEnd() = 0;  ///< whether only white space and comments are left, which it skips

    // Further operations.
    /// Reads numbers separated by white space, comments and commas as `commas` says, until `most`
    /// are read, or something that is not the start of a number token follows. Each is stored as
    /// float (rounded from double). Returns how many were stored; stops before a token that is no
    /// number (or too large for a float), or behind a number that lacks its comma, without
    /// recording anything.
    virtual int readFloats(float* out, int most, CommasEN commas) = 0;
    /// Likewise in double precision.
    virtual int readDoubles(double* out, int most, CommasEN commas) = 0;
    /// Past the next word, quoted string or other character, after blanks; the quote of a string
    /// that is never closed is a character. False at the end of the input.
    virtual bool skipToken() = 0;
    /// Bytes of input not read yet: bounds what any count in the file can promise.
    virtual long long bytesLeft() const = 0;
    /// Moves to the end of the input, so that every loop ends by itself.
    virtual void jumpToEnd() = 0;
    /// The text of the next word without consuming it; empty before punctuation and at the end.
    virtual std::string_view peekWord() = 0;
    /// The next character after white space and comments, 0 at the end; nothing is consumed but
    /// them.
    virtual char peekPunc() = 0;
    /// Skips the rest of the statement, see skipStatement.
    virtual void doSkipStatement() = 0;
    /// Skips a structure, see skipStructure.
    virtual bool doSkipStructure(char open, char close, bool opened) = 0;
    /// Where the token read last starts.
    virtual ParserPos_kt tokenStart() const = 0;
    /// Makes later reports point at a place kept.
    virtual void setTokenStart(ParserPos_kt position) = 0;

    /// A quoted string of at most size characters into out (size + 1 bytes); what is longer is cut
    /// with a warning. A value that is not quoted: the raw text up to the statement's ';', trimmed.
    void readQuoted(char* out, int size);

    /// Skips the rest of the statement up to its ';', which stays unread. Quoted strings, comments
    /// and nested brackets are passed over whole. It also stops before a '}' that closes the
    /// enclosing block, and after a braced group that no ';' or ',' follows.
    void skipStatement() { doSkipStatement(); }

    /// Skips through the close character that matches an open one, counting nested pairs, outside
    /// quoted strings and comments (with '<' and '>': XML comments and quoted literals). opened:
    /// the opening character is consumed already; else the next one is looked for first, and when
    /// there is none nothing is skipped. Without a match it ends at the end of the input, and the
    /// result is false. (Braces that are never closed are remembered: asking again costs nothing.)
    bool skipStructure(char open, char close, bool opened) {
        return doSkipStructure(open, close, opened);
    }

    // Reports against the present place. Each is recorded as curReport (the most severe is kept),
    // shown, and returned for the caller to throw or not.

    /// A report of that kind, with the arguments of its text.
    template <class... ARGS>
    rept_kt* report(const Message<ARGS...>& message, std::type_identity_t<ARGS>... arguments) {
        return reportRow(&message, arguments...);
    }
    /// About an unknown word: shown once per number and word, then counted.
    template <class... ARGS>
    rept_kt* reportUnknown(std::string_view word, const Message<ARGS...>& message,
                           std::type_identity_t<ARGS>... arguments) {
        return reportUnknownRow(word, &message, arguments...);
    }

    /// The same by number and text, an error; see reports.h for the severities.
    rept_kt* makeError(int number, const char* format, ...) LUMO_PRINTF(3);
    /// From an existing report: the format's first %s receives its message.
    rept_kt* makeError(rept_kt& inner, const char* format, ...);
    /// Likewise a warning.
    rept_kt* makeWarning(int number, const char* format, ...) LUMO_PRINTF(3);
    /// Likewise a notice.
    rept_kt* makeNotice(int number, const char* format, ...) LUMO_PRINTF(3);
    /// About an unknown word: shown once per number and word, then counted.
    rept_kt* makeWarningUnknown(const char* word, int number, const char* format, ...)
        LUMO_PRINTF(4);
    /// Likewise.
    rept_kt* makeWarningUnknown(const strin_kt& word, int number, const char* format, ...)
        LUMO_PRINTF(4);

    /// Records a caught or returned report (shows it if it was not shown, gives it the present
    /// place if it has none). Null and Okay_rept_kt are nothing.
    void setError(rept_kt* report);

    /// Called after each field, block and object. Returns while reading may go on, after ordinary
    /// errors too. Throws curReport when it is fatal, and an importCancelled report when the
    /// handler says cancelled(). When the error budget is spent it says so once and jumps to the
    /// end.
    void checkError();

    Parser_kt(const Parser_kt&) = delete;
    Parser_kt& operator=(const Parser_kt&) = delete;

protected:
    Parser_kt() = default;
    ~Parser_kt() { delete[] buffer; }
    friend void DeleteParser(Parser_kt* parser);
    virtual long long bytesTotal() const = 0;  ///< of the whole input, for progress

private:
    rept_kt* made(rept_kt* report);  ///< at its place, and recorded
    rept_kt* make(int number, int severity, const char* format, va_list arguments);
    rept_kt* reportRow(const MessageRow* row, ...);
    rept_kt* reportUnknownRow(std::string_view word, const MessageRow* row, ...);
    void record(rept_kt* report);
    void stopWhenBudgetSpent();
    void tellProgress(ReportHandler& handler);
    int progressStep_ = 0;                ///< last hundredth reported
    long long nextProgress_ = LLONG_MAX;  ///< bytes left at which there may be another to report
    bool budgetSaid_ = false;             ///< that the error budget is spent was reported
};

/// The tokenizer over a string channel: reads its own copy of the channel.
class Parser_CString_kt final : public Parser_kt {
public:
    InChannel_CString_kt channel;  ///< a copy, with the position of the next character
    strin_kt work;                 ///< for texts that are put together; readers may use it
    /// What floats do not hold of the numbers that are read into those it is over.
    ExactNumbers exact;

    /// Reads from where the channel stands, which stays there; a byte-order mark is skipped.
    Parser_CString_kt(const ParserOptions_kt* options, const InChannel_CString_kt& from);
    ~Parser_CString_kt();

    int eofChar() const override { return 0; }
    void skipSpaces() override { channel.position = pastBlanks(channel.position); }
    int skipToString(const char* s) override;
    char readPunc() override {
        const char* const p = toToken();
        if (!is(p, BytePunct)) return 0;
        channel.position = p + 1;
        return *p;
    }
    void readWord(char* out, int size) override;
    char readWordPunc(char* out, int size) override;
    void readToChar(const char* stops, strin_kt& out) override;
    void readString(strin_kt& out) override;
    char* readStringNew() override;
    void readQuotedRest(strin_kt& out) override;
    int readInt() override;
    double readDouble() override;
    char readChar() override {
        const char c = *channel.position;
        skipChar();
        return c;
    }
    char peekChar() override { return *channel.position; }
    void skipChar() override {
        tokenStart_ = channel.position;
        if (channel.position < end_) ++channel.position;
    }
    void unreadChar(int c) override {
        if (c != eofChar()) backUp(1);
    }
    void backUp(int n) override;
    ParserPos_kt getPos() const override { return channel.position; }
    void setPos(ParserPos_kt position) override { channel.position = position; }
    bool isAtEnd() override {
        skipSpaces();
        if (channel.position < end_) return false;
        setTokenStart(end_);
        return true;
    }

    int readFloats(float* out, int most, CommasEN commas) override;
    int readDoubles(double* out, int most, CommasEN commas) override;
    bool skipToken() override;
    long long bytesLeft() const override { return end_ - channel.position; }
    void jumpToEnd() override { channel.position = end_; }
    std::string_view peekWord() override {
        skipSpaces();
        const char* const p = channel.position;
        return {p, static_cast<std::size_t>(wordEnd(p) - p)};
    }
    char peekPunc() override {
        skipSpaces();
        return *channel.position;
    }
    void doSkipStatement() override;
    bool doSkipStructure(char open, char close, bool opened) override;
    ParserPos_kt tokenStart() const override { return tokenStart_; }
    void setTokenStart(ParserPos_kt position) override {
        tokenStart_ = position;
        solidStart_ = position;
    }

    void describePlace(rept_kt& report) const override;

    /// Reads integers separated by white space, comments and single commas, as readFloats does.
    int readInts(int* out, int most);
    /// The next string value (see readString), zero-terminated; it lives until the next one is
    /// read.
    const char* readStringText() {
        work.clear();
        readString(work);
        return work.getCStr();
    }
    /// The next string value (see readString): a part of the text, or of `work` when it has
    /// escapes; it lives until the next one is read.
    std::string_view takeString();
    /// The next word, which is consumed: a part of the text.
    std::string_view takeWord() {
        const char* const p = toToken();
        channel.position = wordEnd(p);
        return {p, static_cast<std::size_t>(channel.position - p)};
    }

    /// The next word, cut to the size; a name (255 and more) that is cut is warned of.
    std::string_view takeName(int size);

    /// True at the end of an empty element, `<X/>`, which stands for `</X>`.
    bool atEmptyElement() const;

protected:
    long long bytesTotal() const override { return end_ - channel.start; }

private:
    friend struct XMLMarkup;  // the reader of tags, xmlmarkup.h
    struct State;

    /// What scanning asks of a byte: one look-up in a table of this tokenizer's own.
    enum ByteClassEN : unsigned char {
        ByteSpace = 0x01,
        BytePunct = 0x02,
        ByteComment = 0x04,  ///< may start a comment
        ByteEnd = 0x08,      ///< the zero behind the text
        ByteLetter = 0x10,
        ByteListCloser = 0x20,  ///< ends a number of a list, whatever the options say
        ByteNumber = 0x40,      ///< may start a number
    };
    void classifyBytes();
    bool is(const char* p, int classes) const {
        return (bytes_[static_cast<unsigned char>(*p)] & classes) != 0;
    }

    // Scanning, which consumes nothing: each takes a place in the text and gives another.
    bool commentAt(const char* p) const {
        return is(p, ByteComment) && (*p != '<' || p[1] == '!') && startsComment(p);
    }
    bool startsComment(const char* p) const;
    const char* pastComment(const char* p);
    void lookThroughComment(const char* p, const char* past);
    /// Past white space and comments. The text ends in a zero byte, which is neither.
    const char* pastBlanks(const char* p) {
        while (is(p, ByteSpace)) ++p;
        return commentAt(p) ? pastComments(p) : p;
    }
    const char* pastComments(const char* p);
    const char* pastShielded(const char* p);
    const char* pastSeparator(const char* p, bool& comma);
    const char* wordEnd(const char* p) const {
        for (;; ++p) {
            while (!is(p, ByteSpace | BytePunct | ByteComment | ByteEnd)) ++p;
            if (is(p, ByteSpace | BytePunct | ByteEnd) || startsComment(p)) return p;
        }
    }
    const char* closingQuote(const char* p) const;

    // Reading, which moves the position and the token's start.

    /// Moves to the next token, which becomes the place of reports.
    const char* toToken() {
        skipSpaces();
        setTokenStart(channel.position);
        return channel.position;
    }
    template <class T>
    bool numberAt(const char* p, bool inList, T& out, const char*& after);
    template <class T>
    int readNumbers(T* out, int most, CommasEN commas);
    void unterminatedString(const char* quote);
    const char* toText();
    bool takePlainText(strin_kt& out);
    void readXMLText(const char* stops, strin_kt& out);
    const char* pastTextMarkup(const char* p, strin_kt& out);

    // Skipping.
    void skipXMLMarkup();
    bool knownUnclosedBrace(const char* p) const;
    void findUnclosedBraces(const char* p);
    const char* statementEnd();

    const char* end_;
    const char* tokenStart_;
    const char* solidStart_;  ///< of the last token that was not a single raw character
    unsigned char bytes_[CharPropCount];
    std::unique_ptr<State> state_;  ///< line counter, remembered searches, pending empty element
};

/// Deletes a tokenizer made by makeParser (the base has no virtual destructor).
void DeleteParser(Parser_kt* parser);
/// Deleter for owning a tokenizer in a std::unique_ptr.
struct ParserDeleter {
    /// DeleteParser.
    void operator()(Parser_kt* parser) const { DeleteParser(parser); }
};
/// Owning handle of a tokenizer.
using OwnedParser = std::unique_ptr<Parser_kt, ParserDeleter>;

/// The tokenizer by its own class, of which all are: through it the readers call without looking up
/// virtual functions, and the short ones are inlined.
inline Parser_CString_kt& TextParser(Parser_kt& parser) {
    return static_cast<Parser_CString_kt&>(parser);
}

/// Saves a tokenizer's message context, sets a new one, and restores the old one at the end of the
/// scope; structErrors is 0 at both ends.
class ParserContext {
public:
    /// The texts are borrowed for the scope.
    ParserContext(Parser_kt& in, const char* kind, const char* name = nullptr)
        : in_(in), kind_(in.structKind), name_(in.structName), field_(in.fieldName) {
        in.structKind = kind;
        in.structName = name;
        in.fieldName = nullptr;
        in.structErrors = 0;
    }
    ~ParserContext() {
        in_.structKind = kind_;
        in_.structName = name_;
        in_.fieldName = field_;
        in_.structErrors = 0;
    }
    ParserContext(const ParserContext&) = delete;
    ParserContext& operator=(const ParserContext&) = delete;

private:
    Parser_kt& in_;
    const char* kind_;
    const char* name_;
    const char* field_;
};

// ---- Template readers ----------------------------------------------------------------------
// They throw the error they record, unless said otherwise. PARSER is Parser_kt or
// Parser_CString_kt.

/// A pair of integers, separated by blanks or a comma, with or without parentheses. Decimals are
/// rounded, halves up; beyond int is an error.
template <class PARSER>
void ReadCoord(PARSER& in, coord_kt& out);
/// The same without throwing: records the error and returns false, out unchanged.
bool TryReadCoord(Parser_kt& in, coord_kt& out);
/// A pair of numbers, written like ReadCoord's.
template <class PARSER>
void ReadDCoord(PARSER& in, dcoord_kt& out);

inline constexpr int MaxListEntries = 1'000'000;  ///< entries of one list of strings

/// Texts one behind the other in one buffer, which is kept for the next list.
class TextList {
public:
    std::size_t size() const { return ends_.size(); }  ///< how many texts there are
    /// The text of that index, from 0, until the next is added.
    std::string_view operator[](std::size_t i) const {
        const std::size_t start = i == 0 ? 0 : ends_[i - 1];
        return text_.view().substr(start, ends_[i] - start);
    }
    /// Drops the texts; the buffer stays.
    void clear() {
        text_.clear();
        ends_.clear();
    }
    strin_kt& open() { return text_; }  ///< append the next text there, then close it
    /// Ends the text that open began.
    void close() { ends_.push_back(text_.view().size()); }
    /// A new[] array of new[] copies, which the caller owns.
    char** copies() const;

private:
    strin_kt text_;
    std::vector<std::size_t> ends_;
};

/// A list of strings like ReadListStrings', into `out`, which is emptied first.
template <class PARSER>
void ReadListTexts(PARSER& in, TextList& out, bool keepEmpty);

/// A list of strings (quoted, or words; separated by blanks or single commas) opened by
/// in.listOpenChar and closed by its counterpart. Returns a new[] array of new[] strings that the
/// caller owns. With keepEmpty a comma right before the end adds an empty last entry; `most`
/// bounds nothing and is 1. More than MaxListEntries entries are an error.
template <class PARSER, bool quotedOrWord, bool keepEmpty, int most>
char** ReadListStrings(PARSER& in, int& count);

/// A parenthesised list of exactly n numbers of type T, separated by blanks or commas; returns n.
/// The flags say: parentheses needed, and three more that are false.
template <class PARSER, class T, bool parens, bool, bool, bool>
int ReadArray(PARSER& in, T* out, int n);

/// Numbers until the list ends: a parenthesised list when listOpenChar is '(', and with '>' the
/// text of an element up to its next tag. Appends to out.
template <class PARSER, class T, bool, bool>
void ReadList(PARSER& in, vect_kt<T>& out);

// XML, see xml.h for more. Attribute and element names are compared as written; no namespace
// processing.

/// Reads the XML declaration at the start of the text, if there is one.
void ReadXMLVersion(Parser_CString_kt& in);

/// Reads one tag, passing over white space, comments and processing instructions before it; the
/// '<' of the tag is still to come or consumed already. Gives the element's name and its first
/// attribute (name and decoded value, empty when there is none; later attributes are passed over).
/// Returns true for an end tag. `<X/>` is read as `<X>` followed by `</X>`. The input then stands
/// where the content begins. At the end of the input, at other text, or in a malformed tag it
/// throws.
bool ReadElementTag(Parser_CString_kt& in, strin_kt& tag, strin_kt& attribute, strin_kt& value);

/// Reads the end tag of the element named; throws when something else follows.
void ReadClosingTag(Parser_CString_kt& in, const strin_kt& tag);

}  // namespace lumo
