// "Did you mean": the word that was probably meant by a mistyped one.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace lumo::app {

/// The one of the words that is nearest to the given one, in letters that are missing, too many,
/// wrong or exchanged, whatever their case; empty when none is near. Time is linear in the words.
std::string_view Nearest(std::string_view word, std::span<const std::string> words);

/// "; did you mean 'x'?", or nothing.
std::string DidYouMean(std::string_view word, std::span<const std::string> words);

}  // namespace lumo::app
