// Hugin classes that hold instances of other classes, read leniently: `instance S1 : Sub (I = A;
// S1_O = O) { ... }` puts the nodes of Sub into the net once more, as `S1.X`; A stands for its
// input I, and S1_O for its output O. Instances hold instances in turn.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "formats/hugin/state.h"

namespace lumo::hugin {

struct Instance;

/// For the time of one import: instances are read, from here on. `whole`, one of the file's
/// classes, is the one that is read; `folder` is where files with further classes are looked for;
/// empty: nowhere.
void StartInstances(Parser_CString_kt& in, std::vector<Class> classes, const Class& whole,
                    std::string_view folder);
bool ReadsInstances(const Parser_CString_kt& in);

/// Reads what the class just read has put off: the classes of its instances, then all potentials.
void FinishClass(Parser_CString_kt& in, Vnet_kt& drawing);

void PlaceInstances(Parser_CString_kt& in);  ///< makes room for them in the drawing
void MakeInstanceSets(Parser_CString_kt& in, Bnet_bn& net, Vnet_kt& drawing);  ///< each a node set

Instance* ReadInstanceHeader(Parser_CString_kt& in, Vnet_kt& drawing);
FieldHandler<Instance> ReadInstanceFunc(Parser_CString_kt& in, const char* name);

/// Leaves a potential, its word read, for later; false when it is to be read now.
bool PutOffPotential(Parser_CString_kt& in);

// ---- Names ---------------------------------------------------------------------------------

/// What the net calls the node that the class being read calls so.
std::string LabelOf(Parser_CString_kt& in, std::string_view name);

/// Whether the node, its name read, stands for one of the class around the instance.
bool IsBoundInput(Parser_CString_kt& in, std::string_view name);
bool IsBoundChild(Parser_CString_kt& in,
                  std::string_view name);                  ///< the same for a potential's child
void JoinInstance(Parser_CString_kt& in, Bnode_bn& node);  ///< a new node of the class being read
std::string PathOf(Parser_CString_kt& in,
                   std::string_view text);  ///< the text behind the names of the instances around
bool IsInInstance(const Parser_CString_kt& in);  ///< whether the class being read is an instance's

}  // namespace lumo::hugin
