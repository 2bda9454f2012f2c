// How a file is read: the codes of the formats and the options of an import.
#pragma once

#include <optional>
#include <string_view>

#include "library/utilities/language.h"

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
    FormatJSON = 17,     ///< the JSON that this library's nets are written as, lumo-import/1
};

/// Preference of the process: when state titles of DSC files are no legal names, make state names
/// from them as well. The default of ReadOptions; set it while nothing is read.
extern bool Read_BNIF_creates_state_names_if_titles_not_legal_IDnames_pref;
/// Likewise of XML BIF files.
extern bool Read_XMLBif_creates_state_names_if_titles_not_legal_IDnames_pref;

/// What a file's text and its net's tables may take, unless something else is said: 2 GB.
inline constexpr long long DefaultMostMemory = 2LL << 30;

/// How a file is read. What the defaults leave out is lost as the format's definition wants it.
struct ReadOptions {
    /// Keeps what reading by the letter loses: each leniency taken is a report of its own, and what
    /// strict reading keeps is kept unchanged.
    bool lenient = false;
    /// Scales the rows of nature nodes that do not sum to 1, and says how many.
    bool normalize = false;
    /// Keeps tables in double precision where single precision does not hold what the file says;
    /// else the net is smaller.
    bool exact = true;
    /// Make state names of DSC files from titles that are no legal names.
    bool createStateNamesDsc = Read_BNIF_creates_state_names_if_titles_not_legal_IDnames_pref;
    /// Likewise of XML BIF.
    bool createStateNamesXMLBIF = Read_XMLBif_creates_state_names_if_titles_not_legal_IDnames_pref;
    /// Whether noisy-max tables of DXPress keep their parameters alone; without an answer the
    /// application's handler is asked, once in the life of the process.
    std::optional<bool> condense;
    /// Bytes that the file's text and the tables of its net may take; what is beyond is an error,
    /// and the rest is kept.
    long long mostMemory = DefaultMostMemory;
    /// The class of a Hugin file with several to read; empty: in strict reading the first, in
    /// lenient reading the one that no other instantiates.
    std::string_view className;
    /// The folder in which lenient reading looks for classes of Hugin files that the file has
    /// instances of; empty: nowhere. ReadForeignNetFile knows it by itself.
    std::string_view folder;
};

}  // namespace lumo
