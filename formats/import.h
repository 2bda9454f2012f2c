// The import service: finds out the format of a file or of bytes, unpacks them when they are
// compressed, reads the net, and hands over all that was reported as values.
//
//     const lumo::ImportResult result = lumo::Import(lumo::FromFile("asia.net.gz"));
//     for (const lumo::ReportRecord& report : result.reports) std::puts(report.message.c_str());
//     if (result.net != nullptr)
//         for (const lumo::Bnode_bn* node : result.net->nodes) std::puts(node->name());
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "formats/formats.h"
#include "formats/shared/options.h"
#include "formats/shared/result.h"

namespace LUMO_API lumo {

/// What is read (a file, also one in a zip archive, "a.zip/asia.net"), and the name under which
/// reports have it and from which the net is named.
struct ImportSource {
    std::string name;                       ///< the file's path, or what stands for it
    std::optional<std::string_view> bytes;  ///< instead of the file of that name
    int descriptor = -1;                    ///< likewise: an open file or pipe
};
/// The file of that path.
inline ImportSource FromFile(std::string path) { return {std::move(path), {}, -1}; }
/// A file's bytes, compressed or not, which live until Import has returned.
inline ImportSource FromBytes(std::string_view bytes, std::string name) {
    return {std::move(name), bytes, -1};
}
/// What an open file or pipe has from its position on; it stays open, and the caller's.
inline ImportSource FromDescriptor(int descriptor, std::string name) {
    return {std::move(name), {}, descriptor};
}

/// Hears of an import while it runs, on its thread. What it throws ends the import with the fatal
/// report -5005. It may import itself.
class ImportWatcher {
public:
    virtual ~ImportWatcher() = default;
    /// One was made; false keeps it out of the result.
    virtual bool report(const ReportRecord&) { return true; }
    virtual void note(const std::string&) {}         ///< what a reader prints, a line
    virtual void done(const std::string&) {}         ///< "read as Hugin, by its content"
    virtual bool ask(const char*) { return false; }  ///< a question; true is yes
    virtual void begin(const std::string&) {}        ///< "reading file asia.net"
    virtual void progress(long long, long long) {}   ///< bytes done and in all
    virtual void end() {}                            ///< what begin told is over
    virtual bool cancelled() { return false; }       ///< true ends the import
};

/// How Import reads; as it stands: leniently, whatever format it is, at most 2 GB.
struct ImportOptions {
    const FormatInfo* format = nullptr;  ///< null: found out, from the content, then from the name
    bool strict = false;     ///< reads by the letter: nothing beyond a format's definition is kept
    bool normalize = false;  ///< scales rows of nature nodes that do not sum to 1
    bool exact = true;       ///< tables are kept in double precision where single loses something
    bool createStateNames = false;  ///< from titles that are no legal names (DSC, XML BIF)
    /// Whether noisy-max tables of DXPress keep their parameters alone. Without an answer the
    /// watcher is asked, once in the life of the process; without a watcher it is no.
    std::optional<bool> condense;
    std::string className;                     ///< of a Hugin file with several classes
    long long mostMemory = DefaultMostMemory;  ///< bytes, for the file's text and the net's tables
    bool sourceLines = false;                  ///< reports hold the line of the file at their place
    const char* formatOption = "ImportOptions::format";  ///< how users name a format, for reports
    ImportWatcher* watcher = nullptr;  ///< borrowed for the import; null: nobody listens
};

/// The start of the text of a file, also of one in an archive, unpacked: what detection looks at.
/// Empty when it cannot be had.
std::string ReadStart(const std::string& path);

/// Imports; the result's net is null when nothing could be read. Throws nothing but std::bad_alloc.
/// Imports of different threads run side by side.
ImportResult Import(const ImportSource& source, const ImportOptions& options = {});

}  // namespace lumo
