// The formats that an imported net can be written in.
#pragma once

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

#include "formats/shared/losses.h"
#include "formats/shared/result.h"

namespace lumo {

struct Picture;  // export/picture.h

/// One format: of those that are read, as its row says, or a view of nets in the table of
/// writers.cpp.
struct Writer {
    const char* name;            ///< for --to
    const char* title;           ///< for people
    std::string_view extension;  ///< with its dot
    bool withoutNet;             ///< writes something useful when nothing was read
    /// Writes UTF-8 (pictures: bytes) to the stream, whose state tells of trouble; throws nothing
    /// but std::bad_alloc. Without a net only where withoutNet says so.
    void (*write)(const ImportResult& result, std::ostream& out);
    Losses (*losses)(const Bnet_bn& net) = nullptr;  ///< null: what it writes is no net to be read
    const char* (*unavailable)() = nullptr;  ///< says why it cannot write here; null when it can
    /// Of pictures: draws one that was made as somebody wished.
    void (*draw)(const Bnet_bn& net, const Picture& picture, std::ostream& out) = nullptr;
    std::string (*lacking)(const Picture& picture) = nullptr;  ///< what it cannot draw; empty
};

/// All, in the order in which they are listed for people: the views of nets, then the formats.
std::span<const Writer> Writers();

/// The writer of that name or extension ("hugin", "net", ".net"), or of the file's extension
/// ("x.JSON"); null when there is none.
const Writer* FindWriter(std::string_view name);
/// Likewise.
const Writer* FindWriterForFile(std::string_view fileName);

}  // namespace lumo
