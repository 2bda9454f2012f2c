#include "formats/formats.h"

#include <algorithm>
#include <array>

#include "formats/packing.h"
#include "formats/shared/start.h"

// One line a format, the name of its folder.
#define LUMO_FORMATS(FORMAT) \
    FORMAT(hugin)            \
    FORMAT(dsc)              \
    FORMAT(dxpress)          \
    FORMAT(ergo)             \
    FORMAT(xmlbif)           \
    FORMAT(bif)              \
    FORMAT(xdsl)             \
    FORMAT(uai)              \
    FORMAT(json)

namespace lumo {

#define DECLARE(name) extern const FormatInfo name##Format;
LUMO_FORMATS(DECLARE)
#undef DECLARE

std::span<const FormatInfo> Formats() {
#define ROW(name) name##Format,
    static const std::array formats = {LUMO_FORMATS(ROW)};
#undef ROW
    return formats;
}

const FormatInfo* FindFormat(std::string_view name) {
    for (const FormatInfo& format : Formats())
        if (format.name == name) return &format;
    return nullptr;
}

const FormatInfo* FindFormat(int code) {
    for (const FormatInfo& format : Formats())
        if (format.code == code) return &format;
    return nullptr;
}

bool HasWord(std::string_view list, std::string_view word) {
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(' '), list.size());
        if (list.substr(0, end) == word) return true;
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return false;
}

std::string_view PlainName(std::string_view fileName) { return WithoutPacking(fileName); }

bool HasExtension(const FormatInfo& format, std::string_view fileName) {
    fileName = PlainName(fileName);
    const std::size_t dot = fileName.rfind('.');
    return dot != std::string_view::npos && HasWord(format.extensions, Lower(fileName.substr(dot)));
}

const FormatInfo* FormatOfExtension(std::string_view fileName) {
    for (const FormatInfo& format : Formats())
        if (HasExtension(format, fileName)) return &format;
    return nullptr;
}

}  // namespace lumo
