// Text on its way to a stream.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "formats/shared/digits.h"

namespace LUMO_API lumo {

/// Gathers text and hands it to the stream in blocks, so that a net of any size passes through.
/// Numbers have the digits of WriteDigits.
class TextOut {
public:
    explicit TextOut(std::ostream& out) : out_(out) {}
    ~TextOut() { flush(); }
    TextOut(const TextOut&) = delete;
    TextOut& operator=(const TextOut&) = delete;

    TextOut& operator<<(std::string_view text) {
        buffer_ += text;
        return drained();
    }
    TextOut& operator<<(char c) {
        buffer_ += c;
        return *this;
    }
    TextOut& operator<<(int value) { return number(value); }
    TextOut& operator<<(float value) { return number(value); }
    TextOut& operator<<(double value) { return number(value); }

    void flush() {
        out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        buffer_.clear();
    }

private:
    static constexpr std::size_t blockSize = 64 * 1024;

    template <class T>
    TextOut& number(T value) {
        char text[MostDigits];
        buffer_.append(text, WriteDigits(text, value));
        return drained();
    }
    TextOut& drained() {
        if (buffer_.size() > blockSize) flush();
        return *this;
    }

    std::ostream& out_;
    std::string buffer_;
};

/// Writes the items with the separator between them; write(item) writes one.
template <class LIST, class WRITE>
void WriteSeparated(TextOut& out, const LIST& list, std::string_view separator, WRITE write) {
    bool first = true;
    for (const auto& item : list) {
        if (!first) out << separator;
        first = false;
        write(item);
    }
}

}  // namespace lumo
