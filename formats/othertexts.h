// What is certainly no net.
#pragma once

#include <string>
#include <string_view>

#include "library/utilities/language.h"

namespace LUMO_API lumo {

class Bnet_bn;

/// What the file is, when its start, or its name, shows that it is no net of a format that is read
/// here: "an HTML page"; empty when that cannot be told.
std::string OtherText(std::string_view start, std::string_view fileName);

/// Whether there is nothing of a net in it: no node, or neither a table nor a link.
bool IsBare(const Bnet_bn* net);

}  // namespace lumo
