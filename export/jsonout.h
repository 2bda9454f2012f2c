// A writer of JSON, for the exports that are JSON or hold some.
#pragma once

#include <cmath>
#include <ostream>
#include <string>
#include <string_view>

#include "formats/shared/digits.h"
#include "library/utilities/text.h"

namespace lumo {

/// Writes JSON piece by piece; commas come by themselves. Keeps 64 KB, so that tables of any size
/// pass through.
class JsonOut {
public:
    /// Without a stream the text is kept, for take(). inMarkup: '<' is escaped too, so that the
    /// text can stand in a script element of a page.
    explicit JsonOut(std::ostream* out = nullptr, bool inMarkup = false)
        : out_(out), inMarkup_(inMarkup) {}

    JsonOut& open(char bracket) {
        element();
        buffer_ += bracket;
        first_ = true;
        return *this;
    }
    JsonOut& close(char bracket) {
        buffer_ += bracket;
        first_ = false;
        return *this;
    }
    JsonOut& key(std::string_view name) {
        element();
        quoted(name);
        buffer_ += ':';
        first_ = true;  // its value needs no comma
        return *this;
    }
    /// A line break before the next element, which takes its comma along.
    void line() { breakLine_ = true; }

    void null() { literal("null"); }
    void boolean(bool value) { literal(value ? "true" : "false"); }
    void text(std::string_view value) {
        element();
        quoted(ToUtf8(value));
    }
    void textOrNull(const char* value) { value == nullptr ? null() : text(value); }
    void textOrNull(const std::string& value) { value.empty() ? null() : text(value); }

    void number(int value) { digits(value); }
    void number(long long value) { digits(value); }
    void number(float value) {
        if (!std::isfinite(value)) return null();
        digits(value);
    }
    /// A real number keeps a point, so that languages which tell the two apart read it as one.
    void number(double value) {
        if (!std::isfinite(value)) return null();
        const std::size_t from = digits(value);
        if (buffer_.find_first_of(".e", from) == std::string::npos) buffer_ += ".0";
    }

    template <class T>
    void numbers(const T* values, long long count) {
        if (values == nullptr) return null();
        open('[');
        for (long long i = 0; i < count; ++i) number(values[i]);
        close(']');
    }

    /// Numbers in single precision, or in double precision where that says more.
    void numbers(const float* values, const double* exact, long long count) {
        if (exact == nullptr) return numbers(values, count);
        open('[');
        for (long long i = 0; i < count; ++i) digits(exact[i]);
        close(']');
    }

    std::string take() { return std::move(buffer_); }
    void flush() {
        out_->write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        buffer_.clear();
    }

private:
    void element() {
        if (out_ != nullptr && buffer_.size() > bufferLimit) flush();
        if (!first_) buffer_ += ',';
        if (breakLine_) buffer_ += '\n';
        first_ = breakLine_ = false;
    }
    void literal(std::string_view word) {
        element();
        buffer_ += word;
    }
    template <class T>
    std::size_t digits(T value) {
        element();
        char text[MostDigits];
        const std::size_t from = buffer_.size();
        buffer_.append(text, WriteDigits(text, value));
        return from;
    }
    void quoted(std::string_view utf8);

    static constexpr std::size_t bufferLimit = 64 * 1024;
    std::ostream* out_;
    bool inMarkup_;
    std::string buffer_;
    bool first_ = true;
    bool breakLine_ = false;
};

}  // namespace lumo
