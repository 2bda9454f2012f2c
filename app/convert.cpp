#include "app/convert.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <streambuf>
#include <system_error>

#include "export/text.h"

namespace lumo::app {
namespace {

/// A stream buffer over a descriptor that keeps the error of the first write that failed.
class DescriptorBuffer : public std::streambuf {
public:
    explicit DescriptorBuffer(int descriptor) : descriptor_(descriptor) { reset(); }
    int error() const { return error_; }

    int sync() override {
        writeAll(pbase(), pptr() - pbase());
        reset();
        return error_ == 0 ? 0 : -1;
    }

protected:
    int_type overflow(int_type c) override {
        if (sync() != 0) return traits_type::eof();
        return traits_type::eq_int_type(c, traits_type::eof())
                   ? traits_type::not_eof(c)
                   : sputc(traits_type::to_char_type(c));
    }
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        if (count < static_cast<std::streamsize>(buffer_.size()))
            return std::streambuf::xsputn(text, count);
        if (sync() == 0) writeAll(text, count);
        return error_ == 0 ? count : 0;
    }

private:
    void reset() { setp(buffer_.data(), buffer_.data() + buffer_.size()); }
    void writeAll(const char* text, std::streamsize count) {
        while (count > 0 && error_ == 0) {
            const ssize_t put = ::write(descriptor_, text, static_cast<std::size_t>(count));
            if (put < 0 && errno != EINTR) error_ = errno;
            if (put <= 0) continue;
            text += put;
            count -= put;
        }
    }

    int descriptor_;
    int error_ = 0;
    std::array<char, 32 * 1024> buffer_;
};

std::string Failure(const std::string& path, int error) {
    return "cannot write '" + Visible(path) + "': " + std::generic_category().message(error);
}

/// Writes everything through the descriptor; returns 0 or the error.
template <class WRITE>
int WriteThrough(int descriptor, WRITE write) {
    DescriptorBuffer buffer(descriptor);
    std::ostream out(&buffer);
    write(out);
    out.flush();
    return buffer.error();
}

// The file being written, for a signal that ends the program meanwhile.
char unfinished[PATH_MAX];

extern "C" void RemoveUnfinished(int signal) {
    ::unlink(unfinished);
    std::signal(signal, SIG_DFL);
    ::raise(signal);
}

/// A name in the target's folder for mkstemp, short whatever the target's own length is.
std::string Beside(const std::string& target) {
    return target.substr(0, target.rfind('/') + 1) + ".lumo-XXXXXX";
}

/// A new file beside the target that takes its place when complete, or disappears.
class Replacement {
public:
    explicit Replacement(const std::string& target) : target_(target), name_(Beside(target)) {
        if (name_.size() >= sizeof unfinished) {
            errno = ENAMETOOLONG;
            return;
        }
        descriptor_ = ::mkstemp(name_.data());
        if (descriptor_ < 0) return;
        std::strcpy(unfinished, name_.c_str());
        for (const int signal : signals) std::signal(signal, RemoveUnfinished);
        setMode();
    }
    ~Replacement() {
        if (descriptor_ < 0) return;
        ::close(descriptor_);
        ::unlink(name_.c_str());
        restoreSignals();
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    int descriptor() const { return descriptor_; }

    /// Puts the file in its place; false (errno) on failure.
    bool commit() {
        const bool closed = ::close(std::exchange(descriptor_, -1)) == 0;
        const bool done = closed && ::rename(name_.c_str(), target_.c_str()) == 0;
        const int error = errno;
        if (!done) ::unlink(name_.c_str());
        restoreSignals();
        errno = error;
        return done;
    }

private:
    /// The mode of the file that is replaced, or of a newly created one.
    void setMode() const {
        struct stat old {};
        const mode_t mask = ::umask(0);
        ::umask(mask);
        const bool exists = ::stat(target_.c_str(), &old) == 0;
        ::fchmod(descriptor_, exists ? old.st_mode & 0777 : 0666 & ~mask);
    }
    static void restoreSignals() {
        for (const int signal : signals) std::signal(signal, SIG_DFL);
    }

    static constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP};
    std::string target_;
    std::string name_;
    int descriptor_ = -1;
};

bool IsDeviceOrPipe(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) &&
           !S_ISDIR(status.st_mode);
}

/// Through symbolic links to the file itself.
std::string Resolved(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real == nullptr ? path : real.get();
}

template <class WRITE>
int WriteDirectly(const std::string& path, WRITE write) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) return errno;
    const int error = WriteThrough(descriptor, write);
    return ::close(descriptor) == 0 || error != 0 ? error : errno;
}

template <class WRITE>
int WriteReplacing(const std::string& path, WRITE write) {
    Replacement file(Resolved(path));
    if (file.descriptor() < 0) return errno;
    const int error = WriteThrough(file.descriptor(), write);
    if (error != 0) return error;
    return file.commit() ? 0 : errno;
}

}  // namespace

std::string WriteOutput(const ImportResult& result, const Writer& writer, const std::string& path) {
    const auto write = [&](std::ostream& out) { writer.write(result, out); };
    const bool standard = path == "-";
    const int error = standard               ? WriteThrough(STDOUT_FILENO, write)
                      : IsDeviceOrPipe(path) ? WriteDirectly(path, write)
                                             : WriteReplacing(path, write);
    return error == 0 ? std::string() : Failure(standard ? "standard output" : path, error);
}

std::string WriteStandardOutput(const std::string& text) {
    const int error = WriteThrough(STDOUT_FILENO, [&text](std::ostream& out) { out << text; });
    return error == 0 ? std::string() : Failure("standard output", error);
}

}  // namespace lumo::app
