// What a report means, and what to do about it.
#pragma once

#include <string>

namespace lumo::app {

/// The catalogue's entry for the number as a person writes it, with or without its minus; empty
/// when there is none.
std::string Explain(const std::string& number);

}  // namespace lumo::app
