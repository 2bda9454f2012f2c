// What a report means, and what to do about it.
#pragma once

#include <string>
#include <string_view>

namespace lumo {

/// The number of a report as people copy it: -3028, 3028, [-3028] or E3028; 0 when it is none of
/// the catalogue.
int ReportNumber(std::string_view text);

/// The texts of the reports of that number (its minus may be missing), what they mean, what to do
/// about it, and an example. Empty when there is none of it.
std::string Explain(int number);

}  // namespace lumo
