#include "app/suggest.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "library/utilities/text.h"

namespace lumo::app {
namespace {

constexpr std::size_t longestWord = 64;  ///< longer ones are compared with their starts

/// The word in lower case.
std::string Folded(std::string_view word) {
    std::string folded(word.substr(0, longestWord));
    for (char& c : folded)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return folded;
}

/// Letters to insert, delete, replace, or exchange with their neighbours until a is b; more than
/// the limit when that is reached.
std::size_t Distance(std::string_view a, std::string_view b, std::size_t limit) {
    if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > limit) return limit + 1;
    std::vector<std::size_t> last, row(b.size() + 1), next(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        next[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            next[j] = std::min({row[j] + 1, next[j - 1] + 1, row[j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                next[j] = std::min(next[j], last[j - 2] + 1);
        }
        last = row;
        row.swap(next);
        if (std::ranges::min(row) > limit) return limit + 1;
    }
    return row.back();
}

}  // namespace

std::string_view Nearest(std::string_view word, std::span<const std::string> words) {
    const std::string wanted = Folded(word);
    std::size_t limit = std::max<std::size_t>(1, wanted.size() / 3);
    std::string_view nearest;
    for (const std::string& other : words) {
        const std::size_t distance = Distance(wanted, Folded(other), limit);
        if (distance > limit || distance >= std::max<std::size_t>(other.size(), 1)) continue;
        nearest = other;
        if (distance == 0) break;
        limit = distance - 1;
    }
    return nearest;
}

std::string DidYouMean(std::string_view word, std::span<const std::string> words) {
    const std::string_view nearest = Nearest(word, words);
    return nearest.empty() ? "" : "; did you mean '" + Visible(nearest) + "'?";
}

}  // namespace lumo::app
