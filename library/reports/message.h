// Kinds of reports. Each is one row - number, kind, text, cause and cure, an example -
// from which it is made (NewReport, Parser_kt::report) and explained (catalogue.h).
//
// The rows of a room or a format are the members of one struct, whose only object is named after
// it in the namespace msg:
//
//     struct ErgoMessages {
//         Message<const char*, int> parentOutOfBounds{
//             -2316, MessageKind::error, "node %s: parent %d is out-of-bounds",
//             "parents are counted from 1", {"2 2 2\n0\n1 3", 3, 3}};
//     };
//     namespace msg { inline constexpr ErgoMessages ergo; }
//
// and reported with arguments that the compiler has held against the text:
//
//     in.report(msg::ergo.parentOutOfBounds, node.name(), parent);
#pragma once

#include <array>
#include <bit>
#include <cstdarg>
#include <string_view>
#include <type_traits>

#include "library/reports/reports.h"

namespace LUMO_API lumo {

/// What a report is to the one who reads it.
enum class MessageKind : unsigned char {
    question,      ///< asks the user, yes or no
    notice,        ///< says what was done; all is well
    warning,       ///< something in the file is odd; nothing of the net is missing
    error,         ///< something of the file is not in the net
    waitingError,  ///< an error that asks for the user's acknowledgement
    memoryError,   ///< an error that costs what the memory was for; "out of memory (8 bytes
                   ///< wanted) " stands before its text
    memoryFatal,   ///< the same, but fatal: it ends the import
    fatal,         ///< ends the import
};

/// SeverityEN of the reports of that kind; a question has SeverityOkay.
constexpr int SeverityOf(MessageKind kind) {
    constexpr int severities[] = {SeverityOkay,  SeverityNotice, SeverityWarning, SeverityError,
                                  SeverityError, SeverityError,  SeverityFatal,   SeverityFatal};
    return severities[static_cast<int>(kind)];
}

/// How the text of an example is read to provoke its report: ReadOptions::lenient.
enum class ReadingEN : unsigned char { strictly, leniently };

/// The smallest text that provokes a report, and the place where it does.
struct Example {
    constexpr Example() = default;
    /// The reading first, the format mostly left out.
    constexpr Example(const char* aText, int aLine, int aColumn,
                      ReadingEN aReading = ReadingEN::strictly, const char* aFormat = "")
        : text(aText), line(aLine), column(aColumn), reading(aReading), format(aFormat) {}
    /// The format first, for reports that several formats make.
    constexpr Example(const char* aText, int aLine, int aColumn, const char* aFormat,
                      ReadingEN aReading = ReadingEN::strictly)
        : Example(aText, aLine, aColumn, aReading, aFormat) {}

    const char* text = nullptr;               ///< null: there is none
    int line = 0;                             ///< from 1; 0: the report has no place
    int column = 0;                           ///< from 1, in bytes
    ReadingEN reading = ReadingEN::strictly;  ///< the reading that makes the report
    const char* format = "";  ///< its key; empty: the first of those that make the report
};

/// The formats whose readers make a report, where it is not all that have its table: the key of
/// one, or what several share.
struct Of {
    const char* users;  ///< such a key, or "xml" ... as FormatInfo::services has them
};

/// One kind of report. Several rows may share a number, where one cause has several texts.
struct MessageRow {
    int number;         ///< negative; what reports carry and `explain` is asked for
    MessageKind kind;   ///< from which the severity follows: SeverityOf
    const char* text;   ///< a printf format, with the marker ">-" before some nouns, and words that
                        ///< go with its numbers: "%d row[|s] [is|are] missing" (plural.h)
    const char* users;  ///< of Of; empty: all
    const char* cure;   ///< what it means and what to do, as Markdown
    Example example;    ///< a text that makes it; may have none
};

/// Whether the printf format takes arguments of just these types: int, long long, double and
/// const char*.
template <class... ARGS>
constexpr bool TakesArguments(std::string_view format) {
    constexpr char wanted[] = {(std::is_same_v<ARGS, int>           ? 'i'
                                : std::is_same_v<ARGS, long long>   ? 'l'
                                : std::is_same_v<ARGS, double>      ? 'g'
                                : std::is_same_v<ARGS, const char*> ? 's'
                                                                    : '?')...,
                               '\0'};
    std::size_t next = 0;
    const auto takes = [&](char type) { return wanted[next] == type && ++next < sizeof wanted; };
    for (std::size_t at = format.find('%'); at != format.npos; at = format.find('%', at)) {
        const std::size_t end = format.find_first_of("cdigesf%", ++at);
        if (end == format.npos) return false;
        const std::string_view flags = format.substr(at, end - at);
        if (flags.find('*') != flags.npos && !takes('i')) return false;
        const char conversion = format[end];
        at = end + 1;
        if (conversion == '%') continue;
        const bool integer = conversion == 'd' || conversion == 'i' || conversion == 'c';
        if (!takes(integer ? (flags.ends_with("ll") ? 'l' : 'i') : conversion == 's' ? 's' : 'g'))
            return false;
    }
    return wanted[next] == '\0';
}

/// A kind of report whose text takes arguments of the types ARGS.
template <class... ARGS>
struct Message : MessageRow {
    /// A report of all formats that have its table.
    constexpr Message(int aNumber, MessageKind aKind, const char* aText, const char* itsCure,
                      Example anExample = {})
        : Message(aNumber, aKind, aText, Of{""}, itsCure, anExample) {}
    /// A report of some of them. A text that takes other arguments does not compile.
    constexpr Message(int aNumber, MessageKind aKind, const char* aText, Of of, const char* itsCure,
                      Example anExample = {})
        : MessageRow{aNumber, aKind, aText, of.users, itsCure, anExample} {
        if (!TakesArguments<ARGS...>(aText)) throw "the text takes other arguments";
    }
};

/// The rows of a struct of messages, in the order of its members.
template <class MESSAGES>
auto RowsOf(const MESSAGES& messages) {
    return std::bit_cast<std::array<MessageRow, sizeof(MESSAGES) / sizeof(MessageRow)>>(messages);
}

/// What the templates below call, whose arguments the compiler has checked.
rept_kt* NewRowReport(const MessageRow* row, ...);
/// Likewise of memory that could not be had.
rept_kt* NewMemoryRowReport(const MessageRow* row, double bytes, ...);
/// Shows nothing, like VMakeReport.
rept_kt* VMakeRowReport(const MessageRow& row, va_list arguments);

/// Makes a report of that kind. A warning or notice is shown at once, against the budget; an error
/// when it is recorded, or by the import's entry. Never null, see "Making reports" in reports.h.
template <class... ARGS>
rept_kt* NewReport(const Message<ARGS...>& message, std::type_identity_t<ARGS>... arguments) {
    return NewRowReport(&message, arguments...);
}

/// An out-of-memory report; bytes is what could not be obtained (0: unknown).
template <class... ARGS>
rept_kt* NewMemoryReport(const Message<ARGS...>& message, double bytes,
                         std::type_identity_t<ARGS>... arguments) {
    return NewMemoryRowReport(&message, bytes, arguments...);
}

}  // namespace lumo
