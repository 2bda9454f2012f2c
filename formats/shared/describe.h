// Words and colours for the parts of a net, shared by the writers.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "formats/shared/result.h"

namespace LUMO_API lumo {

const char* StatusName(StatusEN status);        ///< "ok", "warnings", "errors", "failed"
const char* KindName(NodeKindEN kind);          ///< "nature", "decision", "utility"
const char* RelationName(RelnKindEN relation);  ///< "none", "table", "deterministic" ...

/// Whether there is a text that says something.
inline bool HasText(const char* text) { return text != nullptr && *text != '\0'; }

/// What was being read where the report arose, as the end of a line: " (in node 'a', field
/// 'states')"; empty when that is not known. Bytes as in the file.
std::string ContextText(const ReportRecord& report);

/// What a person calls the node or net: its title, else its name. Bytes as in the file.
const char* TitleOrName(const Bnode_bn& node);
/// Likewise.
const char* TitleOrName(const Bnet_bn& net);

/// Whether the node has a title that says more than its name.
bool HasOwnTitle(const Bnode_bn& node);

/// What a person calls the state: its title, else its name, value or interval, else "#k". Bytes as
/// in the file.
std::string StateLabel(const Varbl_bn& variable, int state);

/// The user field's data without the zero byte at its end.
std::string_view FieldText(const UserField& field);

/// A few lines about the node for a tooltip: title and name, kind, states, node sets. UTF-8;
/// bounded for nodes with many states or sets.
std::string NodeSummary(const Bnode_bn& node);

/// The display colours of the net's node sets, in their order.
std::vector<RGB> NodesetColors(const Bnet_bn& net);

/// The same for pictures, where sets to which the net gives no colour get one each, of a few.
std::vector<RGB> DrawnNodesetColors(const Bnet_bn& net);

/// "#rrggbb".
std::string ColorText(RGB color);

}  // namespace lumo
