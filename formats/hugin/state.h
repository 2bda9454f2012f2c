// Private to the Hugin reader: the state of an import and what its files share.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "library/model/netmodel.h"
#include "library/reports/message.h"
#include "library/text/keywords.h"
#include "library/text/parser.h"
#include "library/utilities/names.h"

namespace lumo {
struct ReadOptions;
}

namespace lumo::hugin {

// ---- The state of one import ---------------------------------------------------------------

inline constexpr int Version5 = 5;  ///< a file that starts with "net"
inline constexpr int Version6 = 6;  ///< a file that starts with "class"

/// What the display fields say of groups, which become node sets at the end.
struct Groups {
    Groups() = default;
    ~Groups() {
        for (char* name : names) delete[] name;
    }
    Groups(const Groups&) = delete;
    Groups& operator=(const Groups&) = delete;

    vect_kt<char*> names;              ///< by group index; owned, null for a group without a name
    vect_kt<int> colors;               ///< by group index: red * 65536 + green * 256 + blue
    int count = 0;                     ///< that the file declares
    const char* attribute = nullptr;   ///< what follows "HR_Group_" in the name of the field read
    std::vector<ParserPos_kt> places;  ///< by node: where its group is given
    std::unique_ptr<UniqueNames_kt> taken;  ///< the names, hashed; made when needed
};

/// A state comment, kept until its node is read, since the states may come after it.
struct StateText {
    int state;
    strin_kt text;
    ParserPos_kt place;
};

/// A time-slice node, which has the states of another node; that one may stand behind it.
struct Repetition {
    Bnode_bn* node;
    std::string of;
    ParserPos_kt place;
};

/// What the node being read says of the numbers that its states stand for.
struct ValuesText {
    std::string subtype, text;
    ParserPos_kt place = nullptr;
};

struct Nodes {
    // The part of the field's name that its handler needs, while that handler runs.
    const char* stateNumber = nullptr;
    const char* userFieldName = nullptr;
    std::vector<StateText> stateTexts;
    TextList labels;  ///< of the states of the node being read
    ValuesText values;
    std::vector<Repetition> repetitions;
};

/// What the potential being read has given so far.
struct Potential {
    XArray<float> experience;
    XArray<double> exactExperience;
    ParserPos_kt experiencePlace = nullptr;
    bool hasData = false;
    ParserPos_kt modelPlace = nullptr;
};

/// What was learnt about the text, so that nothing is looked for in vain twice.
struct Recovery {
    bool wary = false;            ///< a '}' or a quote is known to be missing in a body passed over
    long long bytesToReread = 0;  ///< what may still be read once more
    ParserPos_kt unclosed = nullptr;  ///< up to here a '(' was found not to be closed
};

struct Lists;       ///< of what is told at the end, in lists.cpp
struct Everything;  ///< of instances, in instances.cpp

struct State : ReaderState {
    int version = 0;
    bool lenient = false;    ///< what is passed over by default is read as well as can be
    bool classOpen = false;  ///< the '}' of the class is still to come
    Groups groups;
    Nodes nodes;
    Potential potential;
    int lastChild =
        -1;  ///< its place among the nodes; the next potential's is mostly the next node
    Recovery recovery;
    std::shared_ptr<Lists> lists;
    std::shared_ptr<Everything> instances;  ///< null unless instances are read
};

inline State& StateOf(const Parser_CString_kt& in) { return *static_cast<State*>(in.state); }

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
FieldHandler<Vnet_kt> read_net_func(Parser_CString_kt& in, const char* name);

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

Bnode_bn* read_node_header(Parser_CString_kt& in, Vnet_kt& drawing);
FieldHandler<Bnode_bn> read_node_func(Parser_CString_kt& in, const char* name);
void FinishNode(Parser_CString_kt& in, Bnode_bn& node);

/// Gives the time-slice nodes read so far the states of the nodes that they repeat.
void RepeatNodes(Parser_CString_kt& in, const Bnet_bn& net);

Bnode_bn* read_potential_header(Parser_CString_kt& in, Vnet_kt& drawing);
FieldHandler<Bnode_bn> read_potential_func(Parser_CString_kt& in, const char* name);
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
void AddPassedOverName(Parser_CString_kt& in,
                       std::string_view name);  ///< a word of the header of such an object
bool IsPassedOver(Parser_CString_kt& in, std::string_view name);  ///< whether it is such a word

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

/// A value of any length on one line, without its comments: a quoted text, or what stands up to the
/// end of the field.
std::string ReadText(Parser_CString_kt& in);

/// The integer at the start of the text, 0 when there is none; `rest` is what follows it. False
/// when it does not fit an int.
bool LeadingInt(const char* text, int& value, const char*& rest);

/// The integer that is the whole text, an empty text counting as 0; false when it is none.
bool WholeInt(const char* text, int& value);

}  // namespace lumo::hugin
