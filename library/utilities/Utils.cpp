// Strings, formatting, rounding and the import lock.
#include "library/utilities/Utils.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <new>

#include "library/utilities/numbers.h"
#include "library/utilities/system.h"

namespace lumo {

namespace {

// Not the C library's: it asks the locale.
char LowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string_view WithoutNumericSuffix(std::string_view s) {
    while (!s.empty() && s.back() >= '0' && s.back() <= '9') s.remove_suffix(1);
    return s;
}

/// The texts of CharName_kt, all made when compiling, so that they are constant.
struct CharNames {
    static constexpr int size = 20;
    std::array<std::array<char, size>, 256> texts{};

    constexpr void set(unsigned c, std::string_view name) {
        texts[c].fill(0);
        std::copy(name.begin(), name.end(), texts[c].begin());
    }
};

constexpr CharNames MakeCharNames() {
    constexpr char hex[] = "0123456789ABCDEF";
    CharNames names;
    for (unsigned c = 0; c < 256; ++c) {
        const char quoted[] = {'\'', static_cast<char>(c), '\''};
        const char coded[] = {'c', 'h', 'a', 'r', 'a', 'c',         't',
                              'e', 'r', ' ', '0', 'x', hex[c / 16], hex[c % 16]};
        const bool printable = c > ' ' && c < 0x7F;
        names.set(c, printable ? std::string_view(quoted, 3) : std::string_view(coded, 14));
    }
    names.set(0, "none");
    names.set('\t', "tab");
    names.set('\n', "line feed");
    names.set('\r', "carriage return");
    names.set(' ', "space");
    return names;
}

constexpr CharNames charNames = MakeCharNames();

}  // namespace

// ---- Strings -------------------------------------------------------------------------------

char* DupStr_kt(const char* s) { return s == nullptr ? nullptr : DupStr_kt(std::string_view(s)); }

char* DupStr_kt(std::string_view s) {
    // Two zeros: the spare byte, and the end of 16-bit text.
    char* const copy = new char[s.size() + 2];
    std::copy(s.begin(), s.end(), copy);
    copy[s.size()] = copy[s.size() + 1] = '\0';
    return copy;
}

bool streql_kt(const char* a, const char* b) {
    if (a == nullptr || b == nullptr) return a == b;
    return std::strcmp(a, b) == 0;
}

bool streqli_kt(const char* a, const char* b) {
    if (a == nullptr || b == nullptr) return a == b;
    for (; *a == *b || LowerCase(*a) == LowerCase(*b); ++a, ++b)
        if (*a == '\0') return true;
    return false;
}

bool HasPrefix_kt(const char* prefix, const char* s) {
    if (prefix == nullptr || s == nullptr) return false;
    return std::strncmp(prefix, s, std::strlen(prefix)) == 0;
}

bool EqualStrsExceptNumericSuffix_kt(const char* a, const char* b) {
    if (a == nullptr || b == nullptr) return a == b;
    return WithoutNumericSuffix(a) == WithoutNumericSuffix(b);
}

bool SubstStrWithStr_kt(char* s, int size, const char* find, const char* replacement) {
    if (s == nullptr || find == nullptr || *find == '\0' || replacement == nullptr) return false;
    if (std::strstr(s, find) == nullptr) return false;
    const std::string_view from(find);
    const std::string_view to(replacement);
    const std::string text(s);
    std::string result;
    std::size_t done = 0;  // of the text; what was put into the result is not searched again
    bool replaced = false;
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, done)) {
        const std::size_t after = at + from.size();
        const std::size_t length = result.size() + (at - done) + to.size() + text.size() - after;
        if (size <= 0 || length >= static_cast<std::size_t>(size)) break;
        result.append(text, done, at - done).append(to);
        done = after;
        replaced = true;
    }
    if (!replaced) return false;
    result.append(text, done);
    std::memcpy(s, result.c_str(), result.size() + 1);
    return true;
}

template <>
int sprint_int_kt<char, int>(char* buffer, int value) {
    char* const end = std::to_chars(buffer, buffer + 11, value).ptr;
    *end = '\0';
    return static_cast<int>(end - buffer);
}

int StrsNullEmpty_kt(const char* const* array, int count, int) {
    constexpr int noneUsable = 4;
    int usable = 0;
    int some = 0;
    for (int i = 0; array != nullptr && i < count; ++i) {
        if (array[i] == nullptr) {
            some |= 2;
        } else if (*array[i] == '\0') {
            some |= 1;
        } else {
            ++usable;
        }
    }
    return usable == 0 ? noneUsable : some;
}

bool EqlArrStrs_kt(const char* const* a, const char* const* b, int count, bool) {
    if (a == nullptr || b == nullptr) return a == b;
    return std::equal(a, a + std::max(count, 0), b, streql_kt);
}

void FreeArrStrings_kt(char** array, int count) {
    if (array == nullptr) return;
    for (int i = 0; i < count; ++i) delete[] array[i];
    delete[] array;
}

const char* CharName_kt(unsigned char c) { return charNames.texts[c].data(); }

// ---- Formatting ----------------------------------------------------------------------------

int VSPrintf(char* buffer, std::size_t size, const char* format, va_list arguments) {
    return system::Print(buffer, size, format, arguments);
}

int SPrintf(char* buffer, int size, const char* format, ...) {
    if (buffer == nullptr || size <= 0) return 0;
    *buffer = '\0';
    va_list arguments;
    va_start(arguments, format);
    const int wanted = VSPrintf(buffer, static_cast<std::size_t>(size), format, arguments);
    va_end(arguments);
    return std::clamp(wanted, 0, size - 1);
}

std::string VFormat(const char* format, va_list arguments) {
    return system::Print(format, arguments).value_or(format);
}

std::string Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = VFormat(format, arguments);
    va_end(arguments);
    return text;
}

// ---- Rounding, the lock --------------------------------------------------------------------

int RoundToInt_kt(double x) {
    if (std::isnan(x)) return 0;
    const double r = std::floor(x + 0.5);
    // Converting a double outside the range would be undefined.
    if (r < INT_MIN) {
        FailAssert_kt("r >= INT_MIN", "Utils", 319);
        return INT_MIN;
    }
    if (r > INT_MAX) {
        FailAssert_kt("r <= INT_MAX", "Utils", 320);
        return INT_MAX;
    }
    return static_cast<int>(r);
}

critsec_kt Mut_ReadForeignFile;

namespace {

thread_local bool holdsImportLock = false;

/// What another thread holds while a process is forked, no thread of the child would ever leave.
[[maybe_unused]] const bool childrenAreFree = [] {
    system::CallInChildren([] {
        if (!holdsImportLock) new (&Mut_ReadForeignFile.mutex) Mutex;
    });
    return true;
}();

}  // namespace

void EnterCriticalSection_fc(critsec_kt* section) {
    section->mutex.lock();
    if (section == &Mut_ReadForeignFile) holdsImportLock = true;
}

void LeaveCriticalSection_fc(critsec_kt* section) {
    if (section == &Mut_ReadForeignFile) holdsImportLock = false;
    section->mutex.unlock();
}

}  // namespace lumo
