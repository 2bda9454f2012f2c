// Private to the Hugin reader: the module state and the readers that its two files share.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "library/model/netmodel.h"
#include "library/reports/message.h"
#include "library/text/keywords.h"
#include "library/text/parser.h"

namespace lumo {
struct ReadOptions;
}

namespace lumo::hugin {

// ---- Module state --------------------------------------------------------------------------
// One set for the program, guarded by the import lock; empty between imports.

extern vect_kt<char*> GroupNames;   ///< by group index; owned, null for a group without a name
extern vect_kt<int> GroupColors;    ///< by group index: red * 65536 + green * 256 + blue
extern int NumGroups;               ///< the count that the file declares
extern const char* GroupAttribute;  ///< what follows "HR_Group_" in the name of the field read
extern std::vector<ParserPos_kt> GroupPlaces;  ///< by node: where its group is given

inline constexpr int Version5 = 5;  ///< a file that starts with "net"
inline constexpr int Version6 = 6;  ///< a file that starts with "class"
extern int HuginVersion;
extern bool Lenient;  ///< what is passed over by default is read as well as can be

/// Empties what display fields and groups have collected.
void EmptyGroups();

// ---- Fields --------------------------------------------------------------------------------

/// Reads a field's value, the '=' before it consumed and the ';' after it not.
template <class OBJECT>
using FieldHandler = void (*)(Parser_CString_kt& in, OBJECT& object);

template <class OBJECT>
struct Field {
    std::string_view name;
    FieldHandler<OBJECT> handler;
};

/// The handler of the field in the table, its name compared ignoring letter case; null when none.
template <class OBJECT, std::size_t N>
FieldHandler<OBJECT> FindField(const Field<OBJECT> (&table)[N], const char* name) {
    const Field<OBJECT>* const field = FindKeyword(table, name);
    return field == nullptr ? nullptr : field->handler;
}

/// Reads one object; ReadNode and ReadPotential one whose word was read.
void ReadObject(Parser_CString_kt& in, Vnet_kt& drawing);
void ReadNode(Parser_CString_kt& in, Vnet_kt& drawing, const char* kind);
void ReadPotential(Parser_CString_kt& in, Vnet_kt& drawing, const char* kind);

/// Handlers of the fields of a net or class, in hugin_display.cpp.
FieldHandler<Vnet_kt> read_net_func(const char* name);

NodesetStyle DefaultStyle(const std::string& name);  ///< of a node set without a colour of its own

/// Makes node sets of the groups and puts the nodes into theirs.
void BuildGroups(Parser_CString_kt& in, Bnet_bn& net, Vnet_kt& drawing);

// ---- Objects, each in its own file ---------------------------------------------------------
// A header reader gives what the fields apply to; null after an error.

struct Class {
    std::string name;
    ParserPos_kt place = nullptr;  ///< of the word "class"
    std::ptrdiff_t size = 0;       ///< in bytes
};
std::vector<Class> FindClasses(Parser_CString_kt& in);  ///< the file's classes, in its order

/// For a file of several classes: goes to the one that the options name, or else to the first that
/// no other holds an instance of, and says so. False when there are not several. Throws when there
/// is none of the name.
bool ChooseClass(Parser_CString_kt& in, const ReadOptions& options);

void EmptyNodes();  ///< forgets what the nodes of the last file left to be done
Bnode_bn* read_node_header(Parser_CString_kt& in, Vnet_kt& drawing);
FieldHandler<Bnode_bn> read_node_func(const char* name);
void FinishNode(Parser_CString_kt& in, Bnode_bn& node);

/// Gives the time-slice nodes read so far the states of the nodes that they repeat.
void RepeatNodes(Parser_CString_kt& in, const Bnet_bn& net);

Bnode_bn* read_potential_header(Parser_CString_kt& in, Vnet_kt& drawing);
FieldHandler<Bnode_bn> read_potential_func(const char* name);
void FinishPotential(Parser_CString_kt& in, Bnode_bn& node);

/// Reads a name. The arguments in parentheses that some programs write right behind it
/// (father(tom)) are part of it.
std::string_view ReadName(Parser_CString_kt& in);

// ---- Reports at the end, in hugin_lists.cpp ------------------------------------------------

using ListMessage = Message<int, const char*>;  ///< of how many nodes, and which

/// Remembers a node that the message, one of msg::hugin, is to name, at the present place.
void ListNode(Parser_CString_kt& in, const ListMessage& message, std::string_view name);

/// The same for an object that is passed over.
void ListPassedOver(Parser_CString_kt& in, const char* kind, std::string_view name);
/// The same for a display or compile setting, which is named once.
void ListSetting(Parser_CString_kt& in, std::string_view name);
void AddPassedOverName(std::string_view name);  ///< a word of the header of such an object
bool IsPassedOver(std::string_view name);       ///< whether it is such a word

void EmptyLists();
void ReportLists(Parser_CString_kt& in, const Bnet_bn& net);

// ---- Recovery, in hugin_recovery.cpp --------------------------------------------------------

/// Forgets what was learnt about the last file.
void StartRecovery(const Parser_CString_kt& in);

void SkipWord(Parser_CString_kt& in);    ///< the next word, however long it is
void SkipName(Parser_CString_kt& in);    ///< the same with its arguments
void SkipString(Parser_CString_kt& in);  ///< the rest of a quoted string, in silence

/// The arguments in parentheses right behind a name, as in father(tom); empty when there are none.
std::string_view PeekArguments(const Parser_CString_kt& in);

bool AtObject(Parser_CString_kt& in);  ///< whether an object starts here
bool AtField(Parser_CString_kt& in);   ///< whether a field does, its name and a '='

/// Passes over a body whose '{' was read, or, when its own '}' is missing, up to the next object.
void SkipBody(Parser_CString_kt& in);

/// Passes over a value, or what is left of it, up to its ';', but not beyond its object: it stops
/// before the '}' that ends the object, and, outside brackets, before the next field and object.
/// `value` is where the value began.
void SkipField(Parser_CString_kt& in, ParserPos_kt value);

/// Passes over the rest of an object whose header is damaged: its body, or, when the '{' is
/// missing, its fields up to the '}'.
void SkipObject(Parser_CString_kt& in);

/// For a value at its opening quote: when the quote does not close on its line and the string that
/// it opens ends in the middle of something, goes on at the end of the line, with an error.
bool StringRunsOn(Parser_CString_kt& in);

// ---- Value readers -------------------------------------------------------------------------
// Those of numbers throw the error that they record, the target unchanged.

inline constexpr int ValueSize = 255;  ///< most characters of a value that is no free text

bool HasValue(Parser_CString_kt& in);  ///< false, with a warning, when the field ends here already

void read_quoted_text(Parser_CString_kt& in, strin_kt& text);  ///< a quoted text of any length
void read_int_string(Parser_CString_kt& in, int& value);
void read_double_string(Parser_CString_kt& in, double& value);
void read_bool_string(Parser_CString_kt& in, bool& value);

/// A value of one line as text: a quoted string, or what stands up to the end of the field.
void ReadValue(Parser_CString_kt& in, char* text);

/// The integer at the start of the text, 0 when there is none; `rest` is what follows it. False
/// when it does not fit an int.
bool LeadingInt(const char* text, int& value, const char*& rest);

/// The integer that is the whole text, an empty text counting as 0; false when it is none.
bool WholeInt(const char* text, int& value);

}  // namespace lumo::hugin
