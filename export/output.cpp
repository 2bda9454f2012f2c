#include "export/output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <ostream>
#include <streambuf>
#include <utility>

namespace lumo {
namespace {

namespace fs = std::filesystem;

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

using Status = struct stat;

std::optional<FileIdentity> IdentityIn(const Status& status) {
    if (!S_ISREG(status.st_mode)) return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino};
}

/// A new file beside the target that takes its place when complete, or disappears.
class Replacement {
public:
    Replacement(fs::path target, UnfinishedFunction unfinished)
        : target_(std::move(target)), unfinished_(unfinished) {
        Status old{};
        const bool exists = ::stat(target_.c_str(), &old) == 0;
        const mode_t mode = exists ? old.st_mode & 0777 : 0666;
        static std::atomic<unsigned> count;
        do {  // the name is short, whatever the target's own length is
            name_ = target_.parent_path() /
                    (".lumo-" + std::to_string(::getpid()) + "-" + std::to_string(count++));
            error_ = create(mode);
        } while (error_ == EEXIST);
        if (error_ == 0 && exists) ::fchmod(descriptor_, mode);  // whatever the process's mask says
    }
    ~Replacement() {
        if (descriptor_ < 0) return;
        ::close(descriptor_);
        remove();
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    /// 0, or why there is no new file.
    int error() const { return error_; }
    int descriptor() const { return descriptor_; }

    /// Puts the file in its place; returns 0 or the error.
    int commit() {
        const bool closed = ::close(std::exchange(descriptor_, -1)) == 0;
        const bool done = closed && ::rename(name_.c_str(), target_.c_str()) == 0;
        const int error = done ? 0 : errno;
        if (done)
            announce(nullptr);
        else
            remove();
        return error;
    }

private:
    void announce(const char* name) const {
        if (unfinished_ != nullptr) unfinished_(name);
    }
    /// Announced first: a signal just behind the opening would leave the file.
    int create(mode_t mode) {
        announce(name_.c_str());
        descriptor_ = ::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (descriptor_ >= 0) return 0;
        const int error = errno;
        announce(nullptr);
        return error;
    }
    void remove() const {
        ::unlink(name_.c_str());
        announce(nullptr);
    }

    fs::path target_;
    fs::path name_;
    UnfinishedFunction unfinished_;
    int error_ = 0;
    int descriptor_ = -1;
};

/// The descriptor of this process that the path names, through links; -1 when it names none.
int DescriptorNamed(fs::path path) {
    constexpr int mostLinks = 40;
    std::error_code failure;
    const fs::path own = fs::canonical("/proc/self/fd", failure);
    for (int links = 0; !failure && links < mostLinks; ++links) {
        const fs::path folder =
            fs::canonical(path.has_parent_path() ? path.parent_path() : ".", failure);
        const std::string name = path.filename().string();
        if (!failure && folder == own) {
            int descriptor = -1;
            std::from_chars(name.data(), name.data() + name.size(), descriptor);
            return descriptor;
        }
        path = folder / fs::read_symlink(path, failure);
    }
    return -1;
}

int WriteDirectly(const std::string& path, const WriteFunction& write) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) return errno;
    const int error = WriteToDescriptor(descriptor, write);
    return ::close(descriptor) == 0 || error != 0 ? error : errno;
}

}  // namespace

std::optional<FileIdentity> IdentityOf(const std::string& path) {
    Status status{};
    return ::stat(path.c_str(), &status) == 0 ? IdentityIn(status) : std::nullopt;
}

std::optional<FileIdentity> IdentityOf(int descriptor) {
    Status status{};
    return ::fstat(descriptor, &status) == 0 ? IdentityIn(status) : std::nullopt;
}

int WriteToDescriptor(int descriptor, const WriteFunction& write) {
    DescriptorBuffer buffer(descriptor);
    std::ostream out(&buffer);
    write(out);
    out.flush();
    return buffer.error();
}

int WriteToFile(const std::string& path, const WriteFunction& write,
                UnfinishedFunction unfinished) {
    if (const int own = DescriptorNamed(path); own >= 0) return WriteToDescriptor(own, write);
    std::error_code failure;
    const fs::file_status status = fs::status(path, failure);
    if (fs::is_directory(status)) return EISDIR;
    if (fs::exists(status) && !fs::is_regular_file(status)) return WriteDirectly(path, write);
    const fs::path real = fs::weakly_canonical(path, failure);
    Replacement file(failure ? fs::path(path) : real, unfinished);
    if (file.error() != 0) return file.error();
    const int error = WriteToDescriptor(file.descriptor(), write);
    return error != 0 ? error : file.commit();
}

}  // namespace lumo
