// File names, and reading a whole file.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "library/utilities/Utils.h"
#include "library/utilities/loading.h"
#include "library/utilities/problems.h"
#include "library/utilities/system.h"

namespace lumo {

namespace {

/// The dot that begins the extension, or the end of the path. Leading dots begin none.
char* ExtensionPtr(char* path) {
    char* name = FileNamePtr_kt(path);
    name += std::strspn(name, ".");
    char* const dot = std::strrchr(name, '.');
    return dot != nullptr ? dot : name + std::strlen(name);
}

}  // namespace

const char* const LumoFileExtension_sy = ".lumo";

// ---- File names ----------------------------------------------------------------------------

const char* FileNamePtr_kt(const char* path) {
    if (path == nullptr) return nullptr;
    const char* const separator = system::LastSeparator(path);
    return separator != nullptr ? separator + 1 : path;
}

char* FileNamePtr_kt(char* path) {
    return const_cast<char*>(FileNamePtr_kt(static_cast<const char*>(path)));
}

void RemoveExtension_kt(char* path) {
    if (path != nullptr) *ExtensionPtr(path) = '\0';
}

char* AddExtension_kt(char* path, const char* extension, const char*) {
    return path == nullptr || extension == nullptr ? path : std::strcat(path, extension);
}

// ---- Reading -------------------------------------------------------------------------------

void WarnZeroByte(const char* path, long long offset) { TellProblem.zeroByte(path, offset); }

char* FileToStringThrows_kt(const char* path, long long maxLength, long long* length) {
    if (path == nullptr) path = "";
    if (maxLength < 0) maxLength = LLONG_MAX;
    const system::InputFile file(path);
    if (!file.isOpen()) {
        TellProblem.cannotOpenFile(path, errno);
        return nullptr;
    }
    GrowingText text(path, std::min(file.size(), maxLength), maxLength);
    if (!ReadUpTo(file, text)) {
        TellProblem.cannotReadFile(path, errno);
        return nullptr;
    }
    const long long count = std::ssize(text.text());
    XArray<char> whole = text.finish();
    if (length != nullptr) *length = count;
    const void* const zero = std::memchr(whole.get(), '\0', static_cast<std::size_t>(count));
    if (zero != nullptr && !Is16Bit_kt(whole.get())) {
        WarnZeroByte(path, static_cast<const char*>(zero) - whole.get());
    }
    return whole.release();
}

}  // namespace lumo
