// What the library and the program need of the machine: nothing but these files includes a header
// of a platform. Paths are UTF-8 everywhere.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "library/utilities/language.h"

namespace LUMO_API lumo {
namespace system {

// ---- Files ---------------------------------------------------------------------------------

/// The last character of the path that separates folders; null when none does.
const char* LastSeparator(const char* path);

/// An open file for reading.
class InputFile {
public:
    enum class PipeEN : unsigned char {
        open,  ///< opens although nobody writes to it
        wait,  ///< opens when somebody does
    };
    explicit InputFile(const char* path, PipeEN pipe = PipeEN::open);
    /// One that is open already, and stays so.
    explicit InputFile(int descriptor) : descriptor_(descriptor), isOurs_(false) {}
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    bool isOpen() const { return descriptor_ >= 0; }

    /// The size of a regular file, 0 for anything else.
    long long size() const;

    /// Reads up to `most` bytes, waiting while a writer has none ready.
    /// Returns 0 at the end and -1, with errno set, on failure.
    long long read(char* out, long long most) const;

    /// Likewise from that place of the file, without moving on; not from a pipe.
    long long readAt(long long offset, char* out, long long most) const;

private:
    int descriptor_;
    bool isOurs_ = true;
};

enum class PathKindEN : signed char { nothing, file, folder, other };

/// What a path leads to, through links.
struct PathStatus {
    PathKindEN kind = PathKindEN::nothing;
    unsigned mode = 0;  ///< the permissions, for CreateNew
    unsigned long long device = 0;
    unsigned long long number = 0;  ///< of the file on the device
};

PathStatus StatusOf(const char* path);
PathStatus StatusOf(int descriptor);

/// Whether the file may be written, and is not marked against that, which stops nobody who may do
/// everything.
bool IsWritable(const char* path);

/// The path that leads there without links; empty when there is nothing.
std::string WithoutLinks(const char* path);

// Descriptors: these return one, or 0, and -1 with errno set on failure.
int OpenForWriting(const char* path, bool emptied);  ///< what exists: a device, a pipe, a file
/// A new file with those permissions, whatever the process's mask says when they are exact; EEXIST
/// when there is one.
int CreateNew(const char* path, unsigned mode, bool exact);
long long Write(int descriptor, const char* text, long long count);
int Close(int descriptor);
/// Gives a file another's place in one step.
int Replace(const char* file, const char* target);
int Remove(const char* path);

int ProcessNumber();

#ifdef __MINGW32__
/// Has the function called with the object when the calling thread ends, the last one first.
void CallAtThreadEnd(void (*function)(void*), void* object);
#endif

/// Has the function called in the children that are forked from now on.
void CallInChildren(void (*function)());

// ---- The process and its terminal ----------------------------------------------------------

constexpr int StandardInput = 0;
constexpr int StandardOutput = 1;
constexpr int StandardError = 2;

/// Keeps the streams that the process was started without from being taken for files that are
/// opened later. Makes a closed pipe, and a file that may not grow, failed writes like any other,
/// and the streams carry bytes; a console shows UTF-8 and colours.
void PrepareProcess();

/// The program's arguments, in UTF-8, its own name first. Where the shell leaves patterns of file
/// names to programs, they are the files.
std::vector<std::string> Arguments(int argc, char** argv);

/// Removes a file when a signal, or the user, ends the program: the one named last, until it is
/// named null. Signals that are ignored, as under nohup, stay so.
void RemoveWhenEnded(const char* path);

/// Ends the process as a closed pipe ends programs that hear of it by its signal.
[[noreturn]] void EndByClosedPipe();

bool IsTerminal(int descriptor);
bool ShowsColors(int descriptor);             ///< a terminal that does
std::size_t TerminalColumns(int descriptor);  ///< 0 when that is not known

/// The columns that a character takes in a terminal, whatever the user's language.
int ColumnsOf(char32_t character);
/// Likewise, as far as names are written, for systems that do not know.
int UsualColumnsOf(char32_t character);

// ---- Memory --------------------------------------------------------------------------------

/// A block on huge pages where the system has them, for std::realloc and std::free; null when there
/// is no memory.
void* NewHuge(std::size_t bytes);

/// Has the system make the pages of a block at once: a fault for each costs five times as much.
void Populate(void* block, std::size_t bytes);

/// The size of a block, where the system tells it; else 0.
std::size_t SizeOf(void* block);

// ---- Numbers and text ----------------------------------------------------------------------

/// vsnprintf, and into a string of any length (empty when the format is none), with decimal points
/// whatever the locale.
int Print(char* buffer, std::size_t size, const char* format, va_list arguments);
std::optional<std::string> Print(const char* format, va_list arguments);

/// The double nearest to a number, which has the form of one, whatever the locale; infinite when it
/// is too large. For standard libraries whose std::from_chars knows no floating numbers.
double NearestDouble(const char* number);

// ---- Libraries -----------------------------------------------------------------------------

/// A shared library that is loaded when it is wanted, and stays.
class Library {
public:
    explicit Library(const char* name);
    bool isLoaded() const { return library_ != nullptr; }

    /// Sets a pointer to the function of that name; false when there is none.
    template <class Function>
    bool find(Function*& function, const char* name) const {
        function = reinterpret_cast<Function*>(address(name));
        return function != nullptr;
    }

private:
    void* address(const char* name) const;
    void* library_;
};

}  // namespace system
}  // namespace lumo
