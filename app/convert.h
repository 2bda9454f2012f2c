// Writing an imported net.
#pragma once

#include <string>

#include "app/console.h"
#include "app/options.h"
#include "export/output.h"

namespace lumo::app {

/// What went wrong after reading; nothing when the text is empty.
struct Failure {
    std::string text;
    int exitCode = ExitWriteFailed;
};

/// Writes the net in the format and to the place asked for, and says what the format does not keep.
Failure Convert(const ImportResult& result, const InputFile& file, const Options& options,
                Console& console);

/// Writes to the file, with force a read-only one as well, or to standard output ("-"). Empty when
/// it worked, else what went wrong. Says whether the file was written in place.
std::string WriteOutput(const std::string& output, const WriteFunction& write, bool force = false,
                        bool* isInPlace = nullptr);

/// Writes to standard output; likewise.
std::string WriteStandardOutput(const WriteFunction& write);
std::string WriteStandardOutput(const std::string& text);

/// The file that is read under that name, and the one that is written: "-" is standard input or
/// output.
std::optional<FileIdentity> InputIdentity(const std::string& file);
std::optional<FileIdentity> OutputIdentity(const std::string& output);

/// The errno of the first write to standard output that failed; 0 when none did.
int StandardOutputError();

}  // namespace lumo::app
