// The columns of characters where the system does not tell them.
#include "library/utilities/system.h"

namespace lumo::system {

int UsualColumnsOf(char32_t character) {
    struct Range {
        char32_t first, last;
        int columns;
    };
    // Combining marks and what is wide in East Asian scripts, as far as names are written in them.
    static constexpr Range ranges[] = {
        {0x300, 0x36F, 0},     {0x483, 0x489, 0},   {0x591, 0x5BD, 0},     {0x610, 0x61A, 0},
        {0x64B, 0x65F, 0},     {0x1100, 0x115F, 2}, {0x200B, 0x200F, 0},   {0x2E80, 0x303E, 2},
        {0x3041, 0x33FF, 2},   {0x3400, 0x4DBF, 2}, {0x4E00, 0x9FFF, 2},   {0xA000, 0xA4CF, 2},
        {0xAC00, 0xD7A3, 2},   {0xF900, 0xFAFF, 2}, {0xFE00, 0xFE0F, 0},   {0xFE30, 0xFE6F, 2},
        {0xFF00, 0xFF60, 2},   {0xFFE0, 0xFFE6, 2}, {0x1F300, 0x1F64F, 2}, {0x1F900, 0x1F9FF, 2},
        {0x20000, 0x3FFFD, 2},
    };
    for (const Range& range : ranges)
        if (character >= range.first && character <= range.last) return range.columns;
    return 1;
}

}  // namespace lumo::system
