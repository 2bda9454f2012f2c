// What is the same on POSIX systems; Windows has a file of its own.
#ifndef _WIN32
#include "library/utilities/system.h"

#include <fcntl.h>
#include <locale.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef __linux__
#include <malloc.h>
#include <sys/mman.h>
#endif
#ifdef __APPLE__
#include <malloc/malloc.h>
#include <xlocale.h>
#endif

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <memory>
#include <new>

#ifdef __has_feature  // clang
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__
#endif
#endif

namespace lumo::system {

namespace {

constexpr long long MostAtOnce = 1 << 30;

/// Calls again what a signal interrupted.
template <class Call>
auto Uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

/// Makes the C locale this thread's for a scope, so that printf writes decimal points.
class CLocale {
public:
    CLocale() : previous_(uselocale(plain())) {}
    ~CLocale() { uselocale(previous_); }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;

private:
    static locale_t plain() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t{});
        return locale;
    }
    locale_t previous_;
};

PathStatus StatusFrom(const struct stat& status) {
    const PathKindEN kind = S_ISREG(status.st_mode)   ? PathKindEN::file
                            : S_ISDIR(status.st_mode) ? PathKindEN::folder
                                                      : PathKindEN::other;
    return {kind, status.st_mode & 0777U, static_cast<unsigned long long>(status.st_dev),
            static_cast<unsigned long long>(status.st_ino)};
}

struct Free {
    void operator()(char* block) const { std::free(block); }
};

}  // namespace

// ---- Files ---------------------------------------------------------------------------------

const char* LastSeparator(const char* path) { return std::strrchr(path, '/'); }

InputFile::InputFile(const char* path, PipeEN pipe)
    : descriptor_(Uninterrupted([=] {
          const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY;
          return ::open(path, pipe == PipeEN::open ? flags | O_NONBLOCK : flags);
      })) {}

InputFile::~InputFile() {
    if (isOurs_ && descriptor_ >= 0) ::close(descriptor_);
}

long long InputFile::size() const {
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    return status.st_size;
}

long long InputFile::read(char* out, long long most) const {
    const auto step = static_cast<std::size_t>(std::min(most, MostAtOnce));
    for (;;) {
        const ssize_t got = Uninterrupted([&] { return ::read(descriptor_, out, step); });
        if (got >= 0 || errno != EAGAIN) return got;
        pollfd waiting{descriptor_, POLLIN, 0};
        ::poll(&waiting, 1, -1);
    }
}

long long InputFile::readAt(long long offset, char* out, long long most) const {
    const auto step = static_cast<std::size_t>(std::min(most, MostAtOnce));
    return Uninterrupted(
        [&] { return ::pread(descriptor_, out, step, static_cast<off_t>(offset)); });
}

PathStatus StatusOf(const char* path) {
    struct stat status {};
    return ::stat(path, &status) == 0 ? StatusFrom(status) : PathStatus{};
}

PathStatus StatusOf(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 ? StatusFrom(status) : PathStatus{};
}

std::string WithoutLinks(const char* path) {
    const std::unique_ptr<char, Free> found(::realpath(path, nullptr));
    return found != nullptr ? found.get() : "";
}

bool IsWritable(const char* path) {
    constexpr unsigned anybody = S_IWUSR | S_IWGRP | S_IWOTH;
    return (StatusOf(path).mode & anybody) != 0 &&
           ::faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) == 0;
}

int OpenForWriting(const char* path, bool emptied) {
    return ::open(path, O_WRONLY | O_CLOEXEC | O_NOCTTY | (emptied ? O_TRUNC : 0));
}

int CreateNew(const char* path, unsigned mode, bool exact) {
    const int descriptor =
        ::open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, static_cast<mode_t>(mode));
    if (descriptor >= 0 && exact) ::fchmod(descriptor, static_cast<mode_t>(mode));
    return descriptor;
}

long long Write(int descriptor, const char* text, long long count) {
    const auto step = static_cast<std::size_t>(std::min(count, MostAtOnce));
    return Uninterrupted([&] { return ::write(descriptor, text, step); });
}

int Close(int descriptor) { return ::close(descriptor); }
int Replace(const char* file, const char* target) { return ::rename(file, target); }
int Remove(const char* path) { return ::unlink(path); }

int ProcessNumber() { return ::getpid(); }

void CallInChildren(void (*function)()) {
#ifdef __EMSCRIPTEN__  // a page forks nothing
    static_cast<void>(function);
#else
    ::pthread_atfork(nullptr, nullptr, function);
#endif
}

// ---- The process and its terminal ----------------------------------------------------------

void PrepareProcess() {
    // What is opened later is not to be taken for a stream that the process was started without;
    // using such a stream fails, as if it were closed.
    for (const int stream : {StandardInput, StandardOutput, StandardError})
        if (::fcntl(stream, F_GETFD) < 0)
            static_cast<void>(::open("/dev/null", stream == StandardInput ? O_WRONLY : O_RDONLY));
    for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
}

std::vector<std::string> Arguments(int argc, char** argv) { return {argv, argv + argc}; }

namespace {

constexpr int endings[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
struct sigaction former[std::size(endings)];
char unfinished[PATH_MAX];

extern "C" void RemoveUnfinished(int signal) {
    ::unlink(unfinished);
    std::signal(signal, SIG_DFL);
    ::raise(signal);
}

}  // namespace

void RemoveWhenEnded(const char* path) {
    if (path != nullptr) std::strncpy(unfinished, path, sizeof unfinished - 1);
    struct sigaction removing {};
    removing.sa_handler = RemoveUnfinished;
    for (std::size_t i = 0; i < std::size(endings); ++i) {
        if (path == nullptr) {
            ::sigaction(endings[i], &former[i], nullptr);
        } else if (::sigaction(endings[i], nullptr, &former[i]); former[i].sa_handler != SIG_IGN) {
            ::sigaction(endings[i], &removing, nullptr);
        }
    }
}

void EndByClosedPipe() {
    std::signal(SIGPIPE, SIG_DFL);
    ::raise(SIGPIPE);
    ::_exit(128 + SIGPIPE);
}

bool IsTerminal(int descriptor) { return ::isatty(descriptor) == 1; }

bool ShowsColors(int descriptor) {
    const char* const terminal = std::getenv("TERM");
    return IsTerminal(descriptor) && terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
}

std::size_t TerminalColumns(int descriptor) {
    winsize size{};
    return ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

int ColumnsOf(char32_t character) {
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
    if (unicode == nullptr) return UsualColumnsOf(character);
    const locale_t before = uselocale(unicode);
    const int columns = ::wcwidth(static_cast<wchar_t>(character));
    uselocale(before);
    return columns < 0 ? 1 : columns;
}

// ---- Memory --------------------------------------------------------------------------------

#ifdef __linux__

void* NewHuge(std::size_t bytes) {
    constexpr std::size_t page = 2 << 20;
    void* const block = std::aligned_alloc(page, (bytes + page - 1) & -page);
#ifdef MADV_HUGEPAGE
    // But for the tail.
    if (block != nullptr) ::madvise(block, bytes & -page, MADV_HUGEPAGE);  // a wish
#endif
    return block;
}

#else

void* NewHuge(std::size_t bytes) { return std::malloc(bytes); }

#endif

void Populate(void* block, std::size_t bytes) {
#ifdef MADV_POPULATE_WRITE
    constexpr std::uintptr_t page = 4096;
    const auto start = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t first = -start & (page - 1);  // where whole pages begin in it
    const std::uintptr_t last = bytes - ((start + bytes) & (page - 1));
    if (first < last)
        ::madvise(static_cast<char*>(block) + first, last - first, MADV_POPULATE_WRITE);
#else
    static_cast<void>(block), static_cast<void>(bytes);
#endif
}

std::size_t SizeOf(void* block) {
#ifdef __SANITIZE_ADDRESS__  // which is to see blocks freed
    static_cast<void>(block);
    return 0;
#elif defined(__linux__)
    return ::malloc_usable_size(block);
#elif defined(__APPLE__)
    return ::malloc_size(block);
#else
    static_cast<void>(block);
    return 0;
#endif
}

// ---- Numbers and text ----------------------------------------------------------------------

int Print(char* buffer, std::size_t size, const char* format, va_list arguments) {
    const CLocale plain;
    return std::vsnprintf(buffer, size, format, arguments);
}

// Through a stream: for a long text, vsnprintf into too small a buffer takes many times as long.
std::optional<std::string> Print(const char* format, va_list arguments) {
    const CLocale plain;
    char* block = nullptr;
    std::size_t size = 0;
    std::FILE* const stream = ::open_memstream(&block, &size);
    if (stream == nullptr) throw std::bad_alloc();
    const int printed = std::vfprintf(stream, format, arguments);
    const bool whole = std::fclose(stream) == 0 && printed >= 0;
    const std::unique_ptr<char, Free> text(block);
    if (block == nullptr) throw std::bad_alloc();
    return whole ? std::optional<std::string>(std::in_place, block, size) : std::nullopt;
}

double NearestDouble(const char* number) {
    const CLocale plain;
    return std::strtod(number, nullptr);
}

}  // namespace lumo::system

#endif
