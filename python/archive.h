// Values, texts and arrays as bytes, for the version and the kind of machine that made them.
#pragma once

#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "library/utilities/Utils.h"
#include "python/lumo_python.h"

namespace lumo::python {

inline constexpr std::string_view ArchiveStart = "lumo " LUMO_VERSION " state 1";
inline constexpr std::uint32_t ArchiveByteOrder = 0x01020304;
inline constexpr long long AbsentBlock = -1;  ///< the length of a null text or array

class ArchiveOut {
public:
    ArchiveOut() {
        text(ArchiveStart);
        value(ArchiveByteOrder);
    }
    std::string take() { return std::move(bytes_); }

    template <class T>
    void value(const T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    void text(std::string_view text) { array(text.data(), std::ssize(text)); }
    void text(const char* text) {
        text == nullptr ? value(AbsentBlock) : this->text(std::string_view(text));
    }
    template <class T>
    void array(const T* values, long long count) {
        static_assert(std::is_trivially_copyable_v<T>);
        value(values == nullptr ? AbsentBlock : count);
        if (values != nullptr)
            bytes_.append(reinterpret_cast<const char*>(values),
                          static_cast<std::size_t>(count) * sizeof(T));
    }
    /// The list's length, then each item as the function puts it.
    template <class LIST, class PUT>
    void list(const LIST& list, PUT put) {
        value(static_cast<long long>(std::distance(std::begin(list), std::end(list))));
        for (const auto& item : list) put(item);
    }

private:
    std::string bytes_;
};

/// Gives what an ArchiveOut took, in the same order; a ValueError where the bytes are others.
class ArchiveIn {
public:
    explicit ArchiveIn(std::string_view bytes) : rest_(bytes) {
        if (string() != ArchiveStart || value<std::uint32_t>() != ArchiveByteOrder) refuse();
    }

    [[noreturn]] static void refuse() {
        throw py::value_error("this was not pickled by lumo " LUMO_VERSION " on such a machine");
    }
    template <class T>
    T value() {
        T value;
        std::memcpy(&value, take(sizeof value).data(), sizeof value);
        return value;
    }
    template <class T>
    void value(T& out) {
        out = value<T>();
    }
    /// A number that is at least 0 and below the limit.
    int index(int limit) {
        const int number = value<int>();
        if (number < 0 || number >= limit) refuse();
        return number;
    }
    std::string string() { return std::string(block(1).value_or("")); }
    /// A new[] copy; null for an absent text.
    char* text() {
        const std::optional<std::string_view> bytes = block(1);
        return bytes ? DupStr_kt(*bytes) : nullptr;
    }
    /// An array of exactly so many T, or null.
    template <class T>
    XArray<T> array(long long count) {
        const std::optional<std::string_view> bytes = block(sizeof(T));
        if (!bytes) return nullptr;
        if (bytes->size() != static_cast<std::size_t>(count) * sizeof(T)) refuse();
        XArray<T> array = NewXArray<T>(count);
        if (array == nullptr) throw std::bad_alloc();
        std::memcpy(array.get(), bytes->data(), bytes->size());
        return array;
    }
    /// Calls the function for each item of a list.
    template <class TAKE>
    void list(TAKE take) {
        for (auto count = value<long long>(); count > 0; --count) take();
    }

private:
    std::string_view take(std::size_t size) {
        if (size > rest_.size()) refuse();
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(size);
        return taken;
    }
    std::optional<std::string_view> block(std::size_t size) {
        const auto count = value<long long>();
        if (count == AbsentBlock) return std::nullopt;
        if (count < 0 || static_cast<std::size_t>(count) > rest_.size() / size) refuse();
        return take(static_cast<std::size_t>(count) * size);
    }

    std::string_view rest_;
};

}  // namespace lumo::python
