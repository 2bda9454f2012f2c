// The states of a node for formats that give a state one text.
#pragma once

#include <string>
#include <vector>

#include "library/model/netmodel.h"

namespace LUMO_API lumo {

/// Name and title that a reader makes of a state; "" for null.
using Texts = std::vector<std::string>;

/// One text a state, valid UTF-8, never empty or blank: its title, else its name, else its value or
/// interval, else one made of its number. `out` is refilled.
void StateLabels(const Varbl_bn& variable, Texts& out);

bool AreDistinct(const Texts& labels);

/// Whether a list of labels gives the states their names: all legal and distinct.
bool AreStateNames(const Texts& labels);

/// The texts as an array of strings of C.
std::vector<const char*> Pointers(const Texts& texts);

/// Whether every text that is not empty is equal, as UTF-8, to the one in the same place.
bool AreKept(char* const* texts, const Texts& read);

/// Whether a variable has no text at all for any of its states.
bool AreUnlabelled(const Varbl_bn& variable);

/// The text in double quotes, quotes, backslashes and control characters escaped with a backslash,
/// as the Hugin and DSC readers decode it; valid UTF-8.
std::string Quoted(std::string_view text);

}  // namespace lumo
