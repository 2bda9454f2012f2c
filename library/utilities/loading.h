// A whole text on its way into memory, piece by piece, and never more of it than it may have.
#pragma once

#include <climits>
#include <string_view>

#include "library/utilities/memory.h"

namespace lumo {

/// A growing text in one block of xmallocf_kt, with room for the zeros that end it.
class GrowingText {
public:
    /// `size` is what is expected; the path is named when there is no memory, with the report that
    /// UtilityProblems::noMemoryForFile throws.
    GrowingText(const char* path, long long size, long long most = LLONG_MAX);

    /// Makes room for a byte or more behind the text; false when the text has its most bytes.
    bool makeRoom();
    char* end() const { return text_.get() + length_; }
    long long room() const { return size_ - length_; }
    void extend(long long bytes) { length_ += bytes; }  ///< by what was written at the end

    void append(std::string_view bytes);
    std::string_view text() const { return {text_.get(), static_cast<std::size_t>(length_)}; }

    /// The text, zero-terminated (by two, for 16-bit text), in a block of its size.
    XArray<char> finish();

private:
    void resize(long long size);

    const char* path_;
    long long most_;
    XArray<char> text_;
    long long size_ = 0;  ///< bytes of text that fit
    long long length_ = 0;
};

namespace system {
class InputFile;
}

/// Reads on until the text has so many bytes, or the file ends. False, with errno set, when the
/// file cannot be read.
bool ReadUpTo(const system::InputFile& file, GrowingText& text, long long bytes = LLONG_MAX);

}  // namespace lumo
