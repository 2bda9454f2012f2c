// vect3_kt: growable byte array kept as three pointers; strin_kt: growable string on top of it.
#pragma once

#include <string_view>

#include "library/utilities/vect.h"

namespace LUMO_API lumo {

/// Growable array held as three pointers: first, one past the last, one past the storage.
template <class T>
class vect3_kt;

/// Its one form: bytes. Owns its storage, which is from new[] and announced to the memory
/// accounting; the three pointers are null without storage.
template <>
class vect3_kt<char> {
public:
    char* first = nullptr;        ///< the first byte in use
    char* last = nullptr;         ///< one past the last byte in use
    char* capacityEnd = nullptr;  ///< one past the storage

    vect3_kt() = default;
    vect3_kt(const vect3_kt&) = delete;
    vect3_kt& operator=(const vect3_kt&) = delete;

    int num() const { return static_cast<int>(last - first); }              ///< bytes in use
    int capacity() const { return static_cast<int>(capacityEnd - first); }  ///< bytes that fit

    /// Changes the capacity to req_size bytes (0 frees the storage); the count stays.
    /// A req_size below the count is a failed assertion, and then nothing changes.
    void realloc_(int req_size);

    ~vect3_kt() { freeStorage(); }

protected:
    void freeStorage();  ///< leaves the pointers as they are
};

/// Growable byte string, not kept zero-terminated; getCStr terminates it on demand.
/// A string whose first two bytes are 0xFF 0xFE holds 16-bit text.
class strin_kt : public vect3_kt<char> {
public:
    strin_kt() = default;
    ~strin_kt() = default;
    /// Takes the text; the other is empty afterwards.
    strin_kt(strin_kt&& other) noexcept { swap(other); }
    /// Takes the other's text; the other has what was here.
    strin_kt& operator=(strin_kt&& other) noexcept {
        swap(other);
        return *this;
    }

    void swap(strin_kt& other) noexcept;            ///< exchanges texts; nothing is copied
    bool isEmpty() const { return first == last; }  ///< whether there is no byte
    /// The text, until the string changes; zero bytes may be in it.
    std::string_view view() const { return {first, static_cast<std::size_t>(num())}; }
    void clear() { last = first; }  ///< empties the text and keeps the storage

    /// Adds a byte at the end; throws std::bad_alloc when the text cannot grow, and is unchanged.
    void append(char c) {
        if (last == capacityEnd) realloc_(GrownCapacity_kt(num()));
        *last++ = c;  // NOLINT(clang-analyzer-core.NullDereference): there is room now
    }
    /// Likewise a text, which may be a part of this one.
    void append(std::string_view text);

    /// The text, zero-terminated in place (16-bit text: with a 16-bit zero); the count is
    /// unchanged. Valid until the string changes.
    char* getCStr();

    /// A new[] copy of the text, zero-terminated, with one spare byte (see DupStr_kt).
    char* newCopy() const;
};

/// True when the text starts with the bytes 0xFF 0xFE, the mark of 16-bit text.
inline bool Is16Bit_kt(const char* text) {
    return text != nullptr && static_cast<unsigned char>(text[0]) == 0xFF &&
           static_cast<unsigned char>(text[1]) == 0xFE;
}

}  // namespace lumo
