// Compressing what is written.
#pragma once

#include <string>

#include "export/output.h"

namespace lumo::app {

/// Whether the name says that the file is compressed (.gz).
bool IsNamedPacked(const std::string& path);

/// Why nothing can be compressed; null when it can.
const char* WhyNotPacked();

/// A function that writes compressed with gzip what the other writes.
WriteFunction Packed(const WriteFunction& write);

}  // namespace lumo::app
