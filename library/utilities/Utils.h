// Small services that every reader uses: strings, legal names, file names, files, rounding, the
// lock.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "library/utilities/lock.h"
#include "library/utilities/memory.h"
#include "library/utilities/vect.h"
#include "library/utilities/vect3.h"

namespace LUMO_API lumo {

// ---- Strings -------------------------------------------------------------------------------

/// A new[] copy of s (the caller owns it), with one spare byte after the terminating zero, so that
/// the in-place name functions have room for a prefix letter. Null gives null.
char* DupStr_kt(const char* s);
/// Likewise; zero bytes are copied as well.
char* DupStr_kt(std::string_view s);

/// Owning handle of a new[] string, for strings on their way to the model.
using OwnedStr = std::unique_ptr<char[]>;

bool streql_kt(const char* a, const char* b);          ///< equal; null equals only null
bool streqli_kt(const char* a, const char* b);         ///< equal ignoring ASCII letter case
bool HasPrefix_kt(const char* prefix, const char* s);  ///< whether s begins so, case as written

/// True when the strings are equal apart from a run of decimal digits at their ends (which may be
/// empty on either side): "HR_State_" and "HR_State_12".
bool EqualStrsExceptNumericSuffix_kt(const char* a, const char* b);

/// Replaces every `find` in s by `replacement`, in place, never writing beyond `size` bytes (the
/// terminating zero included); an occurrence whose replacement does not fit ends the work.
/// Returns whether anything was replaced.
bool SubstStrWithStr_kt(char* s, int size, const char* find, const char* replacement);

/// The number at the start of text (sign, digits with an optional point, optional exponent,
/// whatever the locale; leading white space is skipped). *end is set to the first character after
/// it, to text when there is none. *error becomes 0, or 1 when there is no number or it is too
/// large for a double (result 0).
double strtod1_kt(const char* text, char** end, int* error);

/// Reads one number at the start of text. Returns 0 and sets *result and *end, or returns -1
/// (nothing set) when there is no number, -2 when it is too large.
int strtodouble2_kt(const char* text, double* result, const char** end);

/// Writes value in decimal, zero-terminated (12 bytes suffice); returns the number of characters.
template <class CHAR, class INT>
int sprint_int_kt(CHAR* buffer, INT value);
/// Its one form.
template <>
int sprint_int_kt<char, int>(char* buffer, int value);

/// Classifies an array by its null and empty strings: 0 no such entry, 1 some empty, 2 some null,
/// 3 some of both, 4 none usable (all null or empty, or count 0).
int StrsNullEmpty_kt(const char* const* array, int count, int = 1);

/// True when the arrays hold equal strings (null equals only null); a null array equals nothing but
/// a null array.
bool EqlArrStrs_kt(const char* const* a, const char* const* b, int count, bool = true);

/// Frees each string and the array (both from new[]); null is allowed.
void FreeArrStrings_kt(char** array, int count);

/// Owning handle of an array of strings from new[].
class OwnedStrs {
public:
    OwnedStrs() = default;
    /// Takes the array and its strings, of which there are n; null is none.
    OwnedStrs(char** strings, int n) : array_(strings), count_(n) {}
    /// Takes the other's.
    OwnedStrs(OwnedStrs&& o) noexcept
        : array_(std::exchange(o.array_, nullptr)), count_(o.count_) {}
    /// Exchanges with the other, which frees what was here.
    OwnedStrs& operator=(OwnedStrs&& o) noexcept {
        std::swap(array_, o.array_);
        std::swap(count_, o.count_);
        return *this;
    }
    ~OwnedStrs() { FreeArrStrings_kt(array_, count_); }
    char** get() const { return array_; }  ///< the array, which stays owned; null when none
    int count() const { return count_; }   ///< how many strings it has
    /// Hands the array over, to be freed with FreeArrStrings_kt.
    char** release() { return std::exchange(array_, nullptr); }

private:
    char** array_ = nullptr;
    int count_ = 0;
};

/// A printable name of the character for messages: 'x' in quotes, "tab", "character 0x07", and
/// "none" for 0 (no punctuation character stood there). The text is constant and lives as long as
/// the process.
const char* CharName_kt(unsigned char c);

/// Formats like printf into buffer, at most size bytes including the terminating zero.
/// Returns the length written. Independent of the locale's decimal comma.
int SPrintf(char* buffer, int size, const char* format, ...) LUMO_PRINTF(3);

/// vsnprintf, independent of the locale.
int VSPrintf(char* buffer, std::size_t size, const char* format, LUMO_VA_LIST arguments);

/// printf formatting into a string of any length; independent of the locale's decimal comma.
std::string VFormat(const char* format, LUMO_VA_LIST arguments);
/// Likewise.
std::string Format(const char* format, ...) LUMO_PRINTF(1);

// ---- Legal names ---------------------------------------------------------------------------
// A legal name is an ASCII letter followed by ASCII letters, digits and underscores, at most
// MaxNameLength characters. Making a name legal turns each run of other characters into one
// underscore and puts a prefix letter before a leading digit or underscore; a text without any
// usable character becomes the prefix letter alone.

inline constexpr int MaxNameLength = 255;  ///< characters of a legal name

/// Whether it is one as it stands.
bool IsLegalName_kt(std::string_view name);

/// Makes the name legal in place and returns it. A leading digit needs one spare byte, which
/// strings from DupStr_kt and readStringNew have. The prefix letter is 'N'; ToLegalName1_kt lets
/// one choose.
char* ToLegalName_kt(char* name);
/// Likewise; grows where it must.
strin_kt& ToLegalName_kt(strin_kt& name);
/// ToLegalName_kt with a prefix letter of the caller's.
char* ToLegalName1_kt(char* name, char prefix);
/// The legal form of a name that is only read.
std::string LegalName(std::string_view name, char prefix = 'N');

/// Makes `name` legal and different from the `count` existing names (null entries are passed over),
/// in place, within `size` bytes, the terminating zero included; 0 means the length of name plus 2.
/// Returns name; null, and nothing is written, when every name that fits is taken, which takes a
/// size below 7.
char* ToLegalUniqueName_kt(char* name, const char* const* existing, int count, char prefix,
                           int size = 0);

/// A new array of `count` new[] strings: the names made legal and mutually distinct.
/// The caller owns array and strings (FreeArrStrings_kt).
char** MakeLegalUniqueNames_kt(const char* const* names, int count, char prefix);

// ---- Files ---------------------------------------------------------------------------------

/// The library's native file extension, with its dot: ".lumo".
extern const char* const LumoFileExtension_sy;

const char* FileNamePtr_kt(const char* path);  ///< the part after the last directory separator
char* FileNamePtr_kt(char* path);              ///< likewise
void RemoveExtension_kt(char* path);  ///< cuts the extension in place; a leading dot is none

/// Appends the extension in place; the buffer must have room. Returns path.
char* AddExtension_kt(char* path, const char* extension, const char* = nullptr);

/// Reads a whole file, at most maxLength bytes (-1: no limit), into a zero-terminated text from the
/// library allocator (free with xfree_kt); *length (may be null) gets the number of bytes read.
/// Regular files, pipes and devices are read; a FIFO that nobody writes to is an empty text.
/// Null when the file cannot be opened or read (a notice tells why); an out-of-memory report is
/// thrown when the file does not fit. A zero byte inside is a warning that gives its offset: the
/// text ends there for its readers.
char* FileToStringThrows_kt(const char* path, long long maxLength, long long* length);

/// The warning about a zero byte at that offset of the file.
void WarnZeroByte(const char* path, long long offset);

// ---- Numbers -------------------------------------------------------------------------------

/// The nearest int, halves up. A result outside the int range fails an assertion
/// ("r >= INT_MIN", "Utils", 319; "r <= INT_MAX", "Utils", 320) and is then clamped; NaN gives 0.
int RoundToInt_kt(double x);

// ---- The import lock -----------------------------------------------------------------------

/// A critical section object. Not recursive.
struct critsec_kt {
    Mutex mutex;  ///< for EnterCriticalSection_fc and LeaveCriticalSection_fc alone
};

/// Serialises the Hugin, DSC, DXPress and Ergo imports of the process.
extern critsec_kt Mut_ReadForeignFile;

/// Waits until no thread is in the section, and enters it.
void EnterCriticalSection_fc(critsec_kt* section);
/// Leaves it, on the thread that entered.
void LeaveCriticalSection_fc(critsec_kt* section);

/// Holds a critical section for a scope.
class CritSecHold {
public:
    /// Waits until no other thread is in the section, and enters it.
    explicit CritSecHold(critsec_kt& section) : section_(section) {
        EnterCriticalSection_fc(&section_);
    }
    ~CritSecHold() { LeaveCriticalSection_fc(&section_); }
    CritSecHold(const CritSecHold&) = delete;
    CritSecHold& operator=(const CritSecHold&) = delete;

private:
    critsec_kt& section_;
};

}  // namespace lumo
