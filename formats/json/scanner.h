// JSON, value by value. What is no JSON is a report that is thrown.
#pragma once

#include <optional>
#include <string>

#include "formats/json/messages.h"
#include "library/text/parser.h"
#include "library/utilities/exact.h"

namespace lumo {

class JsonScanner {
public:
    explicit JsonScanner(Parser_CString_kt& in);

    /// The next character after blanks, 0 at the end; it is not consumed.
    char peek();
    const char* place() const { return at_; }
    void moveTo(const char* place) { at_ = place; }
    bool isAtEnd() { return peek() == 0 && at_ >= last_; }

    /// Calls field(key) for each member of an object; field reads the value.
    template <class FIELD>
    void object(FIELD field) {
        take('{', "'{'");
        for (bool first = true; more('}', first); first = false) {
            key_ = at_;
            std::string key = text();
            take(':', "':'");
            field(key);
        }
    }
    /// Calls item() for each element of an array; item reads it.
    template <class ITEM>
    void array(ITEM item) {
        take('[', "'['");
        for (bool first = true; more(']', first); first = false) item();
    }

    std::string text();
    double number();
    /// How many items the array that comes next has if they are numbers; else any number.
    long long countItems() const;
    /// Reads the number that comes next and those that follow it behind commas, up to `most`, as
    /// floats, and what these do not hold as doubles. Returns how many.
    long long floats(float* out, long long most, ExactNumbers& exact);
    /// Passes over a value of any depth.
    void skip();
    /// Consumes the word ("null", "true") if it comes next.
    bool takeWord(std::string_view word);

    /// Where the key read last stands.
    const char* keyPlace() const { return key_; }
    /// Makes reports point at the place.
    void pointAt(const char* place) { in_.setTokenStart(place); }
    [[noreturn]] void fail(const char* expected);

private:
    void take(char c, const char* expected);
    bool more(char close, bool first);
    void escape(std::string& out);
    unsigned hexDigits();

    Parser_CString_kt& in_;
    const char* at_;
    const char* last_;
    const char* key_ = nullptr;
};

}  // namespace lumo
