#include "formats/detect.h"

#include "formats/shared/start.h"

namespace lumo {

const FormatInfo* CertainFormat(std::string_view start) {
    const TextStart begin(start.substr(0, DetectionWindow));
    for (const FormatInfo& format : Formats())
        if (format.strength(begin) >= strength::certain) return &format;
    return nullptr;
}

const FormatInfo* DetectFormat(std::string_view start, std::string_view fileName) {
    const TextStart begin(start.substr(0, DetectionWindow));
    const FormatInfo* best = nullptr;
    int most = 0;
    for (const FormatInfo& format : Formats()) {
        // The extension weighs less than any difference between two strengths.
        const int strength = format.strength(begin) + (HasExtension(format, fileName) ? 1 : 0);
        if (strength > most) {
            most = strength;
            best = &format;
        }
    }
    return best;
}

}  // namespace lumo
