// Lumo import: the one door into the importer.
//
//     lumo::OwnedNet net(lumo::ReadForeignNetFile_kt("asia.net", lumo::FormatHugin, false));
//     if (net != nullptr)
//         for (const lumo::Bnode_bn* node : net->nodes) std::puts(node->name());
//
// Problems reach the application's ReportHandler (library/reports/reports.h) while the call runs.
#pragma once

#include <memory>
#include <string_view>

#include "formats/shared/options.h"
#include "formats/shared/positions.h"

namespace LUMO_API lumo {

/// Reads the file as that format and returns the new net, which the caller deletes; null when the
/// file cannot be loaded, the code is unknown, or the reader ended with an error before any node
/// was made. A net read with errors is returned with what could be read. The last argument has no
/// effect. Never throws a report; thread-safe (four of the formats take turns under a lock).
Bnet_bn* ReadForeignNetFile_kt(const char* fileName, int format, bool);

/// The same for a text in memory (copied; a zero byte ends it, with a warning), shown in reports
/// under fileName, from which the net is named.
Bnet_bn* ReadForeignNetText_kt(std::string_view text, const char* fileName, int format);

/// The same with options.
Bnet_bn* ReadForeignNetFile(const char* fileName, int format, const ReadOptions& options);
/// Likewise.
Bnet_bn* ReadForeignNetText(std::string_view text, const char* fileName, int format,
                            const ReadOptions& options);

/// Owning handle of a net.
using OwnedNet = std::unique_ptr<Bnet_bn>;

}  // namespace lumo
