// One node's table, for people and for spreadsheets.
#pragma once

#include <span>
#include <string>

#include "app/options.h"
#include "formats/shared/result.h"

namespace lumo::app {

/// Finds the node by its name, the file's text or its title; null when there is none or more than
/// one, and the mistake says so, and which nodes there are.
const Bnode_bn* FindNode(const Bnet_bn& net, const std::string& text, std::string& mistake);

/// Writes tables to standard output, one below the other: a row per combination of the parents'
/// states, with these at the left and the node's own states as columns. On a terminal, states that
/// do not fit beside each other follow below. Empty when it worked, else what went wrong.
std::string WriteTables(std::span<const Bnode_bn* const> nodes, const Options& options);

}  // namespace lumo::app
