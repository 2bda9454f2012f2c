// Fans of leaves in automatic pictures.
#pragma once

#include <optional>

#include "library/layout/diagram.h"

namespace lumo {

/// The automatic drawing with the leaves of every wide fan in two rows, where links to the lower
/// run between the leaves of the upper. A leaf has no children and one parent, whose fan it is in.
/// None where there is no such fan, or one with something between it and its parent.
std::optional<layout::Drawing> DrawFansInRows(const layout::Diagram& diagram);

}  // namespace lumo
