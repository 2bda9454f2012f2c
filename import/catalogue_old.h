#pragma once

#include <span>

#include "library/reports/message.h"

namespace lumo {

std::span<const MessageRow> OldXMLBIFRows();

}  // namespace lumo
