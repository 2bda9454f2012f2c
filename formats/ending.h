// Files that are cut off.
#pragma once

#include <string_view>

namespace lumo {

/// Says that the text ends inside a block, when a report of the import was made there.
void TellEnd(std::string_view text);

}  // namespace lumo
