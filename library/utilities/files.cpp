// File names, and reading a whole file.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "library/utilities/Utils.h"
#include "library/utilities/problems.h"
#include "library/utilities/system.h"

namespace lumo {

namespace {

constexpr long long FirstPipeBlock = 64 * 1024;
constexpr long long TerminatorBytes = 2;  // ends 16-bit text too

/// The dot that begins the extension, or the end of the path. Leading dots begin none.
char* ExtensionPtr(char* path) {
    char* name = FileNamePtr_kt(path);
    name += std::strspn(name, ".");
    char* const dot = std::strrchr(name, '.');
    return dot != nullptr ? dot : name + std::strlen(name);
}

/// The text being read, with room for its terminator.
class GrowingText {
public:
    GrowingText(const char* path, long long size) : path_(path) { resize(size); }

    void makeRoom() {
        if (length_ == size_) resize(std::max(2 * size_, FirstPipeBlock));
    }
    char* end() const { return text_.get() + length_; }
    long long room() const { return size_ - length_; }
    void extend(long long bytes) { length_ += bytes; }
    long long length() const { return length_; }

    /// The text, zero-terminated, in a block of its size.
    char* finish() {
        if (size_ > length_ + 1) resize(length_);
        std::fill_n(end(), TerminatorBytes, '\0');
        return text_.release();
    }

private:
    void resize(long long size) {
        const long long bytes = size + TerminatorBytes;
        char* const old = text_.get();
        auto* const block =
            static_cast<char*>(old == nullptr ? xmallocf_kt(bytes) : xreallocf_kt(old, bytes));
        if (block == nullptr) {
            TellProblem.noMemoryForFile(path_, size);
        }
        static_cast<void>(text_.release());
        text_.reset(block);
        size_ = size;
    }

    const char* path_;
    XArray<char> text_;
    long long size_ = 0;  ///< bytes of text that fit
    long long length_ = 0;
};

/// Whether the file was read; at most maxLength bytes.
bool ReadAll(const system::InputFile& file, GrowingText& text, long long maxLength) {
    while (text.length() < maxLength) {
        text.makeRoom();
        const long long got =
            file.read(text.end(), std::min(text.room(), maxLength - text.length()));
        if (got <= 0) return got == 0;
        text.extend(got);
    }
    return true;
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
    // One byte more than the file's size, so that the end is seen without growing.
    GrowingText text(path, std::min(file.size(), maxLength - 1) + 1);
    if (!ReadAll(file, text, maxLength)) {
        TellProblem.cannotReadFile(path, errno);
        return nullptr;
    }
    const long long count = text.length();
    XArray<char> whole(text.finish());
    if (length != nullptr) *length = count;
    const void* const zero = std::memchr(whole.get(), '\0', static_cast<std::size_t>(count));
    if (zero != nullptr && !Is16Bit_kt(whole.get())) {
        WarnZeroByte(path, static_cast<const char*>(zero) - whole.get());
    }
    return whole.release();
}

}  // namespace lumo
