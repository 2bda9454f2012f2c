// Links that go round the nodes in their way.
#pragma once

#include "export/picture.h"

namespace lumo {

/// Bends every straight link that runs through a node which is not its end, where there is a way
/// round; other links stay. Courses run from centre to centre before and after. Near-linear: in
/// huge pictures the last links stay straight when the work is used up.
void BendRoundNodes(Picture& picture);

}  // namespace lumo
