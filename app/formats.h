// What is read and what is written.
#pragma once

#include <string>

namespace lumo::app {

/// A table of the formats of the tables of readers and writers: names, extensions, read, written.
std::string FormatTable();

}  // namespace lumo::app
