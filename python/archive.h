// Values as bytes and back, for the version and the kind of machine that made them. What a struct
// consists of is said once, for both directions, by the function EachField(object, archive), which
// hands its fields to the archive.
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "python/lumo_python.h"

namespace lumo::python {

inline constexpr std::string_view ArchiveStart = "lumo " LUMO_VERSION " state 2";
inline constexpr std::uint32_t ArchiveByteOrder = 0x01020304;

template <class T>
concept PlainValue = std::is_arithmetic_v<T> || std::is_enum_v<T>;

class ArchiveOut {
public:
    ArchiveOut() { (*this)(std::string(ArchiveStart), ArchiveByteOrder); }
    std::string take() { return std::move(bytes_); }

    template <class... FIELDS>
    void operator()(const FIELDS&... fields) {
        (put(fields), ...);
    }

private:
    template <PlainValue T>
    void put(const T& value) {
        bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    void put(const std::string& text) {
        put(text.size());
        bytes_ += text;
    }
    template <class T>
    void put(const std::optional<T>& value) {
        put(value.has_value());
        if (value) put(*value);
    }
    template <class A, class B>
    void put(const std::pair<A, B>& both) {
        (*this)(both.first, both.second);
    }
    template <class T>
    void put(const std::vector<T>& list) {
        put(list.size());
        if constexpr (PlainValue<T>)
            bytes_.append(reinterpret_cast<const char*>(list.data()), list.size() * sizeof(T));
        else
            for (const T& item : list) put(item);
    }
    template <class T>
    void put(const T& object) {
        EachField(object, *this);
    }

    std::string bytes_;
};

/// Gives what an ArchiveOut took, in the same order; a ValueError where the bytes are others.
class ArchiveIn {
public:
    explicit ArchiveIn(std::string_view bytes) : rest_(bytes) {
        std::string start;
        std::uint32_t order = 0;
        (*this)(start, order);
        require(start == ArchiveStart && order == ArchiveByteOrder);
    }

    static void require(bool isRight) {
        if (!isRight)
            throw py::value_error("this was not pickled by lumo " LUMO_VERSION
                                  " on such a machine");
    }
    template <class... FIELDS>
    void operator()(FIELDS&... fields) {
        (take(fields), ...);
    }
    /// To be called when all is taken.
    void end() const { require(rest_.empty()); }

private:
    template <PlainValue T>
    void take(T& value) {
        const std::string_view bytes = next(1, sizeof value);
        if constexpr (std::is_same_v<T, bool>) {
            require(bytes[0] == 0 || bytes[0] == 1);
            value = bytes[0] == 1;
        } else {
            std::memcpy(&value, bytes.data(), sizeof value);
        }
    }
    void take(std::string& text) { text = next(count(), 1); }
    template <class T>
    void take(std::optional<T>& value) {
        bool has = false;
        take(has);
        if (has) take(value.emplace());
    }
    template <class A, class B>
    void take(std::pair<A, B>& both) {
        (*this)(both.first, both.second);
    }
    template <class T>
    void take(std::vector<T>& list) {
        const std::size_t items = count();
        if constexpr (PlainValue<T>) {
            const std::string_view bytes = next(items, sizeof(T));
            list.resize(items);
            if (items > 0) std::memcpy(list.data(), bytes.data(), bytes.size());
        } else {
            require(items <= rest_.size());  // each takes a byte at least
            for (std::size_t i = 0; i < items; ++i) take(list.emplace_back());
        }
    }
    template <class T>
    void take(T& object) {
        EachField(object, *this);
    }

    std::size_t count() {
        std::size_t count = 0;
        take(count);
        return count;
    }
    std::string_view next(std::size_t items, std::size_t size) {
        require(items <= rest_.size() / size);
        const std::string_view taken = rest_.substr(0, items * size);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    std::string_view rest_;
};

}  // namespace lumo::python
