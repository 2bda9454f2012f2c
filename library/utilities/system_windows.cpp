// Windows. Its own functions take UTF-16; the C library's descriptors are used, without translation
// of line ends.
#ifdef _WIN32
#include "library/utilities/system.h"

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <locale.h>
#include <malloc.h>
#include <process.h>
#include <share.h>
#include <shellapi.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include "library/utilities/paths.h"

namespace lumo::system {

namespace {

constexpr long long MostAtOnce = 1 << 30;

std::wstring Wide(const char* utf8) { return PathOf(utf8).native(); }

/// Sets errno and returns -1.
int Fail(DWORD error) {
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
            errno = ENOENT;
            break;
        case ERROR_ALREADY_EXISTS:
        case ERROR_FILE_EXISTS:
            errno = EEXIST;
            break;
        case ERROR_DISK_FULL:
            errno = ENOSPC;
            break;
        case ERROR_NOT_ENOUGH_MEMORY:
            errno = ENOMEM;
            break;
        default:
            errno = EACCES;
    }
    return -1;
}

/// Makes the C locale this thread's for a scope.
class CLocale {
public:
    CLocale() : scope_(_configthreadlocale(_ENABLE_PER_THREAD_LOCALE)) {
        const char* const name = std::setlocale(LC_NUMERIC, nullptr);
        if (std::strcmp(name, "C") == 0) return;
        previous_ = name;
        std::setlocale(LC_NUMERIC, "C");
    }
    ~CLocale() {
        if (!previous_.empty()) std::setlocale(LC_NUMERIC, previous_.c_str());
        _configthreadlocale(scope_);
    }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;

private:
    int scope_;
    std::string previous_;
};

PathStatus StatusFrom(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION known{};
    if (::GetFileType(file) != FILE_TYPE_DISK) return {PathKindEN::other};
    if (::GetFileInformationByHandle(file, &known) == 0) return {};
    const bool folder = (known.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return {folder ? PathKindEN::folder : PathKindEN::file, 0666, known.dwVolumeSerialNumber,
            (static_cast<unsigned long long>(known.nFileIndexHigh) << 32) | known.nFileIndexLow};
}

/// Adds the files that a pattern stands for, in their order; false when it is none or has none.
bool AddMatches(const std::wstring& pattern, std::vector<std::string>& files) {
    if (pattern.find_first_of(L"*?") == std::wstring::npos) return false;
    WIN32_FIND_DATAW found{};
    const HANDLE search = ::FindFirstFileW(pattern.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return false;
    const std::wstring folder = pattern.substr(0, pattern.find_last_of(L"/\\:") + 1);
    const auto before = std::ssize(files);
    do {
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            files.push_back(Utf8(folder + found.cFileName));
    } while (::FindNextFileW(search, &found) != 0);
    ::FindClose(search);
    std::sort(files.begin() + before, files.end());
    return std::ssize(files) > before;
}

HANDLE HandleOf(int descriptor) { return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)); }

}  // namespace

// ---- Files ---------------------------------------------------------------------------------

const char* LastSeparator(const char* path) {
    const char* found = nullptr;
    for (; *path != '\0'; ++path)
        if (*path == '/' || *path == '\\' || *path == ':') found = path;
    return found;
}

InputFile::InputFile(const char* path, PipeEN)
    : descriptor_(_wopen(Wide(path).c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT)) {
    if (descriptor_ < 0 && errno == EINVAL) errno = ENOENT;  // a pattern is no name
}

InputFile::~InputFile() {
    if (isOurs_ && descriptor_ >= 0) _close(descriptor_);
}

long long InputFile::size() const {
    if (StatusFrom(HandleOf(descriptor_)).kind != PathKindEN::file) return 0;
    return _filelengthi64(descriptor_);
}

long long InputFile::read(char* out, long long most) const {
    return _read(descriptor_, out, static_cast<unsigned>(std::min(most, MostAtOnce)));
}

long long InputFile::readAt(long long offset, char* out, long long most) const {
    const long long before = _telli64(descriptor_);
    if (_lseeki64(descriptor_, offset, SEEK_SET) < 0) return -1;
    const long long got = read(out, most);
    _lseeki64(descriptor_, before, SEEK_SET);
    return got;
}

PathStatus StatusOf(const char* path) {
    const HANDLE file = ::CreateFileW(
        Wide(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS /* folders too */, nullptr);
    if (file == INVALID_HANDLE_VALUE) return {};
    const PathStatus status = StatusFrom(file);
    ::CloseHandle(file);
    return status;
}

PathStatus StatusOf(int descriptor) { return StatusFrom(HandleOf(descriptor)); }

std::string WithoutLinks(const char* path) {
    std::error_code failed;
    const std::filesystem::path found = std::filesystem::canonical(PathOf(path), failed);
    return failed ? "" : Utf8(found);
}

bool IsWritable(const char* path) {
    constexpr int toWrite = 2;
    return _waccess(Wide(path).c_str(), toWrite) == 0;
}

int OpenForWriting(const char* path, bool emptied) {
    return _wopen(Wide(path).c_str(),
                  _O_WRONLY | _O_BINARY | _O_NOINHERIT | (emptied ? _O_TRUNC : 0));
}

int CreateNew(const char* path, unsigned, bool) {
    // It may be removed while it is open.
    const HANDLE file =
        ::CreateFileW(Wide(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                      nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return Fail(::GetLastError());
    return _open_osfhandle(reinterpret_cast<std::intptr_t>(file), _O_WRONLY | _O_BINARY);
}

long long Write(int descriptor, const char* text, long long count) {
    const auto step = static_cast<unsigned>(std::min(count, MostAtOnce));
    const int put = _write(descriptor, text, step);
    if (put < 0 && errno == EINVAL) errno = EPIPE;  // what a pipe without a reader gives
    return put;
}

int Close(int descriptor) { return _close(descriptor); }

int Replace(const char* file, const char* target) {
    constexpr DWORD how = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    const std::wstring there = Wide(target);
    const DWORD marks = ::GetFileAttributesW(there.c_str());
    if (marks != INVALID_FILE_ATTRIBUTES && (marks & FILE_ATTRIBUTE_READONLY) != 0)
        ::SetFileAttributesW(there.c_str(), marks & ~FILE_ATTRIBUTE_READONLY);
    if (::MoveFileExW(Wide(file).c_str(), there.c_str(), how) != 0) return 0;
    return Fail(::GetLastError());
}

int Remove(const char* path) { return _wunlink(Wide(path).c_str()); }

int ProcessNumber() { return _getpid(); }
void CallInChildren(void (*)()) {}

#ifdef __MINGW32__
namespace {

using EndCalls = std::vector<std::pair<void (*)(void*), void*>>;

void WINAPI CallAll(void* calls) {
    const std::unique_ptr<EndCalls> all(static_cast<EndCalls*>(calls));
    while (!all->empty()) {
        const auto [function, object] = all->back();
        all->pop_back();
        function(object);
    }
}

}  // namespace

void CallAtThreadEnd(void (*function)(void*), void* object) {
    static const DWORD slot = ::FlsAlloc(CallAll);
    auto* calls = static_cast<EndCalls*>(::FlsGetValue(slot));
    if (calls == nullptr) ::FlsSetValue(slot, calls = new EndCalls);
    calls->emplace_back(function, object);
}
#endif

// ---- The process and its terminal ----------------------------------------------------------

void PrepareProcess() {
    for (const int descriptor : {StandardInput, StandardOutput, StandardError})
        _setmode(descriptor, _O_BINARY);
    static const UINT former = ::GetConsoleOutputCP();
    ::SetConsoleOutputCP(CP_UTF8);
    std::atexit([] { ::SetConsoleOutputCP(former); });  // the console is the shell's as well
    for (const DWORD stream : {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
        const HANDLE console = ::GetStdHandle(stream);
        DWORD mode = 0;
        if (::GetConsoleMode(console, &mode) != 0)
            ::SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
}

std::vector<std::string> Arguments(int argc, char** argv) {
    int count = 0;
    wchar_t** const wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    if (wide == nullptr) return {argv, argv + argc};
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i) {
        if (i == 0 || !AddMatches(wide[i], arguments)) arguments.push_back(Utf8(wide[i]));
    }
    ::LocalFree(wide);
    return arguments;
}

namespace {

/// The system runs a handler in a thread of its own, and ends the program behind it.
std::mutex unfinishedAccess;
std::wstring unfinished;

BOOL WINAPI RemoveUnfinished(DWORD) {
    const std::lock_guard guard(unfinishedAccess);
    if (!unfinished.empty()) ::DeleteFileW(unfinished.c_str());
    return FALSE;
}

}  // namespace

void RemoveWhenEnded(const char* path) {
    static const BOOL installed = ::SetConsoleCtrlHandler(RemoveUnfinished, TRUE);
    static_cast<void>(installed);
    const std::lock_guard guard(unfinishedAccess);
    unfinished = path == nullptr ? std::wstring() : Wide(path);
}

void EndByClosedPipe() { _exit(141); }

bool IsTerminal(int descriptor) {
    DWORD mode = 0;
    return ::GetConsoleMode(HandleOf(descriptor), &mode) != 0;
}

bool ShowsColors(int descriptor) {
    DWORD mode = 0;
    return ::GetConsoleMode(HandleOf(descriptor), &mode) != 0 &&
           (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

std::size_t TerminalColumns(int descriptor) {
    CONSOLE_SCREEN_BUFFER_INFO known{};
    if (::GetConsoleScreenBufferInfo(HandleOf(descriptor), &known) == 0) return 0;
    return static_cast<std::size_t>(known.srWindow.Right - known.srWindow.Left + 1);
}

int ColumnsOf(char32_t character) { return UsualColumnsOf(character); }

// ---- Memory --------------------------------------------------------------------------------

void* NewHuge(std::size_t bytes) { return std::malloc(bytes); }
void Populate(void*, std::size_t) {}
std::size_t SizeOf(void* block) { return _msize(block); }

// ---- Numbers and text ----------------------------------------------------------------------

int Print(char* buffer, std::size_t size, const char* format, va_list arguments) {
    const CLocale plain;
    return std::vsnprintf(buffer, size, format, arguments);
}

std::optional<std::string> Print(const char* format, va_list arguments) {
    const CLocale plain;
    char some[1024];
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(some, sizeof some, format, arguments);
    std::optional<std::string> text;
    if (length >= 0 && length < static_cast<int>(sizeof some)) {
        text.emplace(some, static_cast<std::size_t>(length));
    } else if (length >= 0) {
        text.emplace(static_cast<std::size_t>(length), '\0');
        std::vsnprintf(text->data(), text->size() + 1, format, again);
    }
    va_end(again);
    return text;
}

double NearestDouble(const char* number) {
    const CLocale plain;
    return std::strtod(number, nullptr);
}

// ---- Libraries -----------------------------------------------------------------------------

Library::Library(const char* name)
    : library_(::LoadLibraryExW(Wide(name).c_str(), nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS)) {}

void* Library::address(const char* name) const {
    if (library_ == nullptr) return nullptr;
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(library_), name));
}

}  // namespace lumo::system

#endif
