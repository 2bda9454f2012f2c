#include "formats/shared/commas.h"

#include <string_view>

#include "formats/shared/messages.h"

namespace lumo {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsOfNumber(char c) { return IsDigit(c) || c == '.' || c == ','; }

/// Whether the text is digits, a comma, and digits; a comma at its end separates.
bool IsDecimal(std::string_view text) {
    if (text.ends_with(',')) text.remove_suffix(1);
    const std::size_t comma = text.find(',');
    return comma != text.npos && comma > 0 && comma + 1 < text.size() &&
           text.find_first_not_of("0123456789") == comma &&
           text.find_first_not_of("0123456789", comma + 1) == text.npos;
}

}  // namespace

void TellDecimalCommas(Parser_CString_kt& in, ParserPos_kt list, const char* nodeName,
                       long long wanted, long long count) {
    constexpr long long bytesOfNumber = 64, bytesBefore = 4096;
    if (count != 2 * wanted || list == nullptr) return;
    const char* const end = list + count * bytesOfNumber + bytesBefore;  // or the text's end
    long long found = 0;
    for (const char* p = list; *p != '\0' && p < end && found < wanted;) {
        const char* const number = p;
        while (IsOfNumber(*p)) ++p;
        found += IsDecimal({number, p}) ? 1 : 0;
        if (p == number) ++p;
    }
    if (found == wanted) in.report(msg::import.decimalCommas, nodeName);
}

}  // namespace lumo
