// What a format is: the row by which all the rest knows it. A format's folder defines its row in
// format.cpp, and formats/formats.cpp lists them.
#pragma once

#include <iosfwd>
#include <span>
#include <string_view>

#include "library/reports/message.h"

namespace LUMO_API lumo {

class Bnet_bn;
class InChannel_CString_kt;
class Vnet_kt;
struct ImportResult;
struct Losses;
struct ReadOptions;
struct TextStart;  ///< the start of a text, cut into tokens (start.h)

struct FormatInfo {
    int code;                     ///< ForeignFormatEN
    const char* name;             ///< its key, in arguments and JSON, and its folder's name
    const char* title;            ///< for people
    const char* details;          ///< its version or kind; may be empty
    const char* users;            ///< who uses it
    std::string_view extensions;  ///< with their dots, blanks between; the first when written
    /// What its reader shares with some others, as their messages name it (Of): "xml", "tuples" of
    /// parents' states at rows, "blocks" of tables apart from their nodes.
    std::string_view services;
    const char* lineComment;  ///< what starts one; empty: there is none
    bool blockComments;       ///< as in C; in XML formats ("xml") as there
    bool hasPositions;        ///< whether its files can say where nodes are drawn
    /// How much a text looks like it, 0 to 100.
    int (*strength)(const TextStart& start);
    /// Reads the channel's text into an empty net: Okay_rept_kt, or the most severe report that was
    /// recorded.
    rept_kt* (*read)(InChannel_CString_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                     const ReadOptions& options);
    /// The reports that its reader alone makes.
    std::span<const MessageRow> (*messages)();
    /// Writes the net; null when it is only read.
    void (*write)(const ImportResult& result, std::ostream& out);
    const char* written;  ///< how, as Markdown
    /// What of the net would not be written.
    Losses (*losses)(const Bnet_bn& net);
};

/// Whether a list with blanks between them has the word.
bool HasWord(std::string_view list, std::string_view word);

/// FormatInfo::read of a reader that takes any channel.
template <auto PARSE>
rept_kt* ReadAny(InChannel_CString_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                 const ReadOptions& options) {
    return PARSE(channel, net, drawing, options);
}

/// The rows of a struct of messages, in the order of its members: FormatInfo::messages.
template <const auto& MESSAGES>
std::span<const MessageRow> RowsIn() {
    static const auto rows = RowsOf(MESSAGES);
    return rows;
}

}  // namespace lumo
