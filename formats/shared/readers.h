// What readers share on their way from text to net.
#pragma once

#include "formats/shared/options.h"
#include "formats/shared/positions.h"
#include "library/model/messages.h"
#include "library/text/parser.h"

namespace lumo {

/// Places the nodes when a file is read: positions that it gave are normalised with the scale
/// (FixNodePositions); without any the nodes are laid out in a rectangle twice as wide as high,
/// whose sides grow with the root of the number of nodes.
void PlaceNodes(Vnet_kt& drawing, bool given, double scale);

/// Gives the node the file's position moved by `safety`, with a warning where an int cannot hold
/// it.
void SetSafePosition(Bnode_bn& node, coord_kt inFile);

/// Reads a file, and records the error that ends that.
template <class READ>
void ReadToTheEnd(Parser_CString_kt& in, READ read) {
    try {
        read();
    } catch (rept_kt* report) {
        in.setError(report);
    }
}

inline void ThrowIfError(rept_kt* report) {
    if (IsError(report)) throw report;
}

/// Counts work that a short text can ask for, in numbers. A file may have MaxTableEntries of it
/// beyond its own length (Parser_CString_kt::reserved); more is an error, which is thrown.
inline void Charge(Parser_CString_kt& in, long long entries, const Message<int>& tooMuch) {
    in.reserved -= entries;
    if (in.reserved >= 0) return;
    in.reserved = 0;
    throw in.report(tooMuch, MaxTableEntries);
}

inline rept_kt* NoMemoryForTable(double bytes, const char* node) {
    return NewMemoryReport(msg::model.outOfMemoryForTable, bytes, node);
}

/// A table of a node; an error is thrown when there is no memory for it.
template <class NUMBER>
XArray<NUMBER> NewTable(long long entries, const Bnode_bn& node) {
    XArray<NUMBER> table = NewXArray<NUMBER>(entries);
    if (table != nullptr) return table;
    throw NoMemoryForTable(static_cast<double>(entries) * sizeof(NUMBER), node.name());
}

/// The same where the lack costs the table alone: null then, and the error is recorded.
template <class NUMBER>
XArray<NUMBER> TryNewTable(Parser_CString_kt& in, long long entries, const Bnode_bn& node) try {
    return NewTable<NUMBER>(entries, node);
} catch (rept_kt* report) {
    in.setError(report);
    return nullptr;
}

/// A character as messages name it.
inline const char* CharName(char c) { return CharName_kt(static_cast<unsigned char>(c)); }

}  // namespace lumo
