// Paths as the standard library has them, of and to UTF-8: elsewhere a path is a string.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lumo {

inline std::filesystem::path PathOf(std::string_view utf8) {
    return std::u8string_view(reinterpret_cast<const char8_t*>(utf8.data()), utf8.size());
}

inline std::string Utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {reinterpret_cast<const char*>(text.data()), text.size()};
}

}  // namespace lumo
