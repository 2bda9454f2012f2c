#include "formats/shared/commas.h"

#include <string_view>

#include "formats/shared/messages.h"
#include "library/text/tokens.h"

namespace lumo {
namespace {

bool IsOfNumber(char c) { return (c >= '0' && c <= '9') || c == '.' || c == ','; }

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
        std::string_view word(number, static_cast<std::size_t>(p - number));
        if (word.ends_with(',')) word.remove_suffix(1);  // which separates
        found += HasDecimalComma(word) ? 1 : 0;
        if (p == number) ++p;
    }
    if (found == wanted) in.report(msg::import.decimalCommas, nodeName);
}

}  // namespace lumo
