// One import, for the service and the published entry.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "formats/ForeignFile.h"

namespace lumo {

/// Runs one import: whatever escapes it is shown, and the result is null. The caller deletes the
/// net.
Bnet_bn* RunImport(const char* fileName, const std::function<OwnedNet()>& work);

enum class TurnsEN : unsigned char { published, free };

/// Reads a text that two zeros end, or one that is the first in it, in the course of an import.
/// Throws what RunImport catches.
OwnedNet ReadLoadedText(std::string_view text, const char* fileName, int format,
                        const ReadOptions& options, TurnsEN turns);

/// Where the file is.
std::string FolderOf(const char* fileName);

}  // namespace lumo
