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

#include "library/model/netmodel.h"
#include "library/text/parser.h"

namespace LUMO_API lumo {

/// Format codes.
enum ForeignFormatEN : int {
    FormatHugin = 8,     ///< Hugin .net, versions 4 to 6
    FormatDsc = 9,       ///< DSC, the Bayes Net Interchange Format
    FormatDXPress = 10,  ///< DXPress diagnostic knowledge bases
    FormatErgo = 11,     ///< the older, numeric Ergo format
    FormatXMLBIF = 13,   ///< XML BIF 0.3
    FormatBIF = 14,      ///< BIF 0.15, the Bayesian Networks Interchange Format as text
    FormatXDSL = 15,     ///< XDSL
    FormatUAI = 16,      ///< UAI, the text of the inference competitions, Bayes nets alone
};

/// Reads the file as that format and returns the new net, which the caller deletes; null when the
/// file cannot be loaded, the code is unknown, or the reader ended with an error before any node
/// was made. A net read with errors is returned with what could be read. The last argument has no
/// effect. Never throws a report; thread-safe (four of the formats take turns under a lock).
Bnet_bn* ReadForeignNetFile_kt(const char* fileName, int format, bool);

/// The same for a text in memory (copied; a zero byte ends it, with a warning), shown in reports
/// under fileName, from which the net is named.
Bnet_bn* ReadForeignNetText_kt(std::string_view text, const char* fileName, int format);

/// Preferences: when state titles are no legal names, make state names from them as well.
extern bool Read_BNIF_creates_state_names_if_titles_not_legal_IDnames_pref;
extern bool Read_XMLBif_creates_state_names_if_titles_not_legal_IDnames_pref;

/// How a file is read. What the defaults leave out is lost as the format's definition wants it.
struct ReadOptions {
    /// Keeps what reading by the letter loses: each leniency taken is a report of its own, and what
    /// strict reading keeps is kept unchanged.
    bool lenient = false;
    /// Scales the rows of nature nodes that do not sum to 1, and says how many.
    bool normalize = false;
    /// Make state names from titles that are no legal names (DSC, XML BIF).
    bool createStateNamesDsc = Read_BNIF_creates_state_names_if_titles_not_legal_IDnames_pref;
    bool createStateNamesXMLBIF = Read_XMLBif_creates_state_names_if_titles_not_legal_IDnames_pref;
    /// The class of a Hugin file with several to read; empty: in strict reading the first, in
    /// lenient reading the one that no other instantiates.
    std::string_view className;
};

/// The same with options.
Bnet_bn* ReadForeignNetFile(const char* fileName, int format, const ReadOptions& options);
Bnet_bn* ReadForeignNetText(std::string_view text, const char* fileName, int format,
                            const ReadOptions& options);

/// Owning handle of a net.
using OwnedNet = std::unique_ptr<Bnet_bn>;

/// Moves all visual nodes so that the drawing starts 40 units from its top left corner, its
/// distances multiplied by scale; turnOver turns it upside down. Positions stay within int: a scale
/// that is not finite or not positive counts as 1, an offset outside is clamped.
void FixNodePositions(Vnet_kt& drawing, double scale, bool turnOver);

/// Position given to new Hugin nodes, and added to Hugin and XML BIF file positions.
inline constexpr coord_kt safety{400, 400};

}  // namespace lumo
