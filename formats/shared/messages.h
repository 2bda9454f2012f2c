// The reports of the entry, and those that several readers share.
#pragma once

#include "library/model/messages.h"
#include "library/reports/messages.h"
#include "library/text/messages.h"

namespace lumo {

struct ImportMessages {
    using enum MessageKind;
    using enum ReadingEN;
    // clang-format off
    Message<const char*> couldNotRead{-3468, error, "couldn't read file '%s' into memory",
        "the file is missing, no file, not readable, or too large. Check its name and permissions; "
        "a file of the web is to be downloaded first"};
    Message<const char*> notOpened{-3468, error, "%s", couldNotRead.cure};
    Message<const char*> unusableFolder{-5431, error, "%s",
        "`-r` reads the files in a folder that have the extension of a format or are certainly of "
        "one; name others by themselves, with `--from`"};
    Message<const char*, const char*> damagedPacking{-5432, error, "'%s' cannot be unpacked to its "
        "end: %s", "a download or a disk broke off, or changed bytes. Get the file again; what "
        "could be unpacked is read"};
    Message<const char*, const char*> refusedPacking{-5433, error, "'%s' cannot be unpacked: %s",
        "its text would have more than 1 GiB, or more than 64 MiB and 250 times the file's size; "
        "or the library that unpacks it is missing. Unpack the file, if it can be trusted, and "
        "read that"};
    Message<const char*, const char*> tooMuchMemory{-5439, error, "'%s' takes more than the %s of "
        "memory that are allowed", "the text is larger than a file may get, lest one file take the "
        "memory of all. Use `--max-memory` to allow more, if the file can be trusted"};
    Message<const char*, long long> bytesAfterPacking{-5434, warning,
        "'%s' has %lld byte[|s] behind its compressed text",
        "they are passed over. Get the file again when something is missing"};
    Message<int> unknownFormatCode{-5004, error, "unknown format code %d",
        "the format was not told from the text nor from the file's name, or is none. Name it with "
        "`--from`, if `lumo-import formats` lists it"};
    Message<const char*, const char*> unknownFormat{-5004, error, "cannot tell the format of '%s'; "
        "name it with %s", unknownFormatCode.cure};
    Message<const char*, const char*> notANet{-5435, error, "'%s' is not a net of a known format: "
        "it is %s", "nothing of it can be read as a net. If it is one nevertheless, name its "
        "format with `--from`"};
    Message<const char*> readAsUtf16{-5438, notice, "'%s' is read as UTF-16",
        "read leniently, a text that begins with a byte order mark of UTF-16 (\"Unicode\" to "
        "editors on Windows) is taken as UTF-8. Nothing needs to be done; to have other programs "
        "read it, save it as UTF-8"};
    Message<const char*> readFromReport{-5448, notice, "'%s' is a report, and the net that it carries "
        "is read", "read leniently, a page that `convert` made of a net, or an application, stands for "
        "the net. Nothing needs to be done"};
    Message<const char*> nothingOfANet{-5435, error, "'%s' is not a net: read as what it looks "
        "like, it has no node, or no table and no link", notANet.cure};
    Message<const char*> outOfMemoryReading{-5000, memoryFatal, "while reading '%s'",
        msg::reports.outOfMemory.cure};
    Message<const char*, long long, int> tableTooLarge{-5087, error, "the table of >-node '%s' "
        "needs %lld entries, the limit is %d", msg::model.tableTooLarge.cure};
    Message<const char*, long long, long long> badTable{-5049, error,
        "the data of >-node '%s' should be %lld number[|s], but %lld [was|were] read", Of{"hugin"},
        "the list has too few or too many numbers for the states of the node and its parents; the "
        "node keeps its parents and gets no table. Correct the list, or the states",
        {"net {} node a { states = (\"x\" \"y\"); } potential (a) { data = (1); }", 1, 65}};
    Message<const char*> tableShape{-5050, warning, "%s; the numbers are taken in their written "
        "order", Of{"hugin"}, "the parentheses contradict the states of the parents in the header. "
        "When the parents are in another order than the data, change the header"};
    Message<int> openBrackets{-5050, warning, "%d '(' of the data list [is|are] not closed",
        Of{"hugin"}, tableShape.cure,
        {"net {} node a { states = (\"x\" \"y\"); } potential (a) { data = ((1 0); }", 1, 62}};
    Message<const char*> positionsClamped{-5225, warning,
        "positions do not fit and are clamped, first that of >-node '%s'",
        "the drawing is wider or higher than 2^31. Correct the positions",
        {"network x node A {position:(2e9,0);} node B {position:(-2e9,0);}", 0, 0, "dsc"}};
    Message<double> badScale{-5098, warning, "positions cannot be scaled by %g, so they keep their "
        "size", "the zoom is zero, negative or beyond all screens. Correct it"};
    Message<const char*> decimalCommas{-5445, notice, "the numbers of >-node '%s' seem to have decimal "
        "commas", "a comma separates numbers. Write `0.5` for `0,5`", {"net { } node a { states = "
        "(\"x\" \"y\"); } potential (a) { data = (0,5 0,5); }", 1, 68, "hugin", leniently}};
    Message<const char*> endsInside{-5446, warning, "the file ends here, inside %s",
        "it was cut off, or what is to close the block is missing. Get the file again, or close it",
        {"net { } node A { label = x;", 1, 28, "hugin", leniently}};
    Message<const char*> tableAgain{-5421, warning, "the table of >-node '%s' is given again, and "
        "the later one counts", Of{"blocks"}, "delete one of the two",
        {"net { } node A { } potential (A) { data = (1 0); } potential (A) { data = (0 1); "
        "}", 1, 68}};
    Message<int, const char*> nodesWithoutTable{-5436, warning, "%d node[ has no table, though "
        "others have theirs|s have no tables, though others have theirs]: %s",
        "the file may be cut off, or a block of it is missing or damaged. Get it again; in a net "
        "of structure alone, without any table, nothing is said",
        {"net { } node A { } node B { } potential (A) { data = (1 0); }", 1, 25}};
    Message<int, const char*> repeatedStates{-5437, warning, "%d node[ has|s have] two states of "
        "the same name: %s", "which of them a row that is given by the name belongs to cannot be "
        "told, so such rows are taken for these states in turn. Give each a name of its own",
        {"net { } node A { states = (\"x\" \"x\"); }", 1, 14}};
    Message<const char*, const char*> tableTurned{-5274, warning, "the rows of node '%s' sum to 1 "
        "only with the state of the node varying %s, so the table is read in that order",
        Of{"tableorder"},
        "the program that wrote the file took the other order. Check the node's rows"};
    Message<int, const char*> tablesFollow{-5440, warning, "%d table[|s] whose order the sums do "
        "not tell [is|are] read in the other order, as all others are: %s", Of{"tableorder"},
        "a file has one order, so a table that sums to 1 in both follows the others. Check the "
        "nodes' rows"};
    Message<int, int> tablesMixed{-5447, warning, "%d table[|s] sum[s|] to 1 only in the other "
        "order, %d in the format's, so those that do in both are read as the format says",
        Of{"tableorder"}, "some tables are damaged, or two programs wrote the file. Check the rows "
        "of the nodes that are named"};
    Message<int, int> rowsScaled{-5420, notice, "scaled to sum to 1: %d row[|s] of %d node[|s]",
        "these rows of nature nodes did not sum to 1, and `--normalize` was given. Rows of zeros "
        "stay as they are. Nothing needs to be done"};
    Message<int, int, const char*> tooSmall{-5429, warning, "%d probabilit[y|ies] of %d node[|s] "
        "(the first: '%s') [is|are] too small for single precision, where the smallest number "
        "stands for [it|them]", "what is possible stays so; the double-precision table and all "
        "that is written have the file's number. Nothing needs to be done", {"net {} node a { "
        "states = (\"x\" \"y\"); } potential (a) { data = (1e-50 1); }", 0, 0, "hugin", leniently}};
    // clang-format on
};

namespace msg {
inline constexpr ImportMessages import;
}

}  // namespace lumo
