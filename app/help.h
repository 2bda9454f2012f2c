// What --help says: of the program, and of each command.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "app/options.h"

namespace lumo::app {

/// A command as the help has it. The summary of files has no name.
struct CommandInfo {
    CommandEN command;
    std::string_view name;
    std::string_view arguments;  ///< behind the name
    std::string_view does;       ///< as a sentence
    std::string_view examples;   ///< lines
};

std::span<const CommandInfo> Commands();

/// The help of the program, or of the command of that name.
std::string Help(std::string_view command);

/// The version, and what this build reads, writes and lacks.
std::string VersionText();

/// What the option takes ("N" of --jobs), by its long or its short name; empty when it takes
/// nothing.
std::string_view ArgumentOf(std::string_view option);

}  // namespace lumo::app
