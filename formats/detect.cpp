#include "formats/detect.h"

#include "formats/shared/start.h"

namespace lumo {

const FormatInfo* CertainFormat(std::string_view start) {
    // Nearly always the first lines do, and looking at all took longer than reading a small net.
    for (const std::size_t window : {DetectionWindow / 32, DetectionWindow}) {
        const TextStart begin(start.substr(0, window));
        for (const FormatInfo& format : Formats())
            if (format.strength(begin) >= strength::certain) return &format;
        if (start.size() <= window) break;
    }
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
