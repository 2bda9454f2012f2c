// The nodes of a net as a list.
#pragma once

#include <string>

#include "formats/shared/result.h"

namespace lumo::app {

/// Writes a line for each node to standard output: its name, kind, states, parents and title; on a
/// terminal as much of them as fits. Empty when it worked, else what went wrong.
std::string WriteNodes(const Bnet_bn& net);

}  // namespace lumo::app
