#include "export/output.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <ostream>
#include <streambuf>
#include <utility>

#include "library/utilities/paths.h"
#include "library/utilities/system.h"

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
            const long long put = system::Write(descriptor_, text, count);
            if (put < 0) error_ = errno;
            if (put <= 0) continue;
            text += put;
            count -= static_cast<std::streamsize>(put);
        }
    }

    int descriptor_;
    int error_ = 0;
    std::array<char, 32 * 1024> buffer_;
};

std::optional<FileIdentity> IdentityIn(const system::PathStatus& status) {
    if (status.kind != system::PathKindEN::file) return std::nullopt;
    return FileIdentity{status.device, status.number};
}

/// How the name of an unfinished file begins, of that process.
std::string UnfinishedPrefix(int process) { return ".lumo-" + std::to_string(process) + "-"; }

/// A new file beside the target that takes its place when complete, or disappears.
class Replacement {
public:
    Replacement(const fs::path& target, UnfinishedFunction unfinished)
        : target_(Utf8(target)), unfinished_(unfinished) {
        const system::PathStatus old = system::StatusOf(target_.c_str());
        const bool exists = old.kind != system::PathKindEN::nothing;
        static std::atomic<unsigned> count;
        do {  // the name is short, whatever the target's own length is
            name_ = Utf8(target.parent_path() /
                         (UnfinishedPrefix(system::ProcessNumber()) + std::to_string(count++)));
            error_ = create(exists ? old.mode : 0666, exists);
        } while (error_ == EEXIST);
    }
    ~Replacement() {
        if (descriptor_ < 0) return;
        system::Close(descriptor_);
        remove();
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    /// 0, or why there is no new file.
    int error() const { return error_; }
    int descriptor() const { return descriptor_; }

    /// Puts the file in its place; returns 0 or the error.
    int commit() {
        const bool closed = system::Close(std::exchange(descriptor_, -1)) == 0;
        const bool done = closed && system::Replace(name_.c_str(), target_.c_str()) == 0;
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
    int create(unsigned mode, bool exact) {
        announce(name_.c_str());
        descriptor_ = system::CreateNew(name_.c_str(), mode, exact);
        if (descriptor_ >= 0) return 0;
        const int error = errno;
        announce(nullptr);
        return error;
    }
    void remove() const {
        system::Remove(name_.c_str());
        announce(nullptr);
    }

    std::string target_;
    std::string name_;
    UnfinishedFunction unfinished_;
    int error_ = 0;
    int descriptor_ = -1;
};

/// Where a path leads to.
struct Place {
    fs::path path;        ///< no link, as far as that can be told
    int descriptor = -1;  ///< of this process, that the path names
    int error = 0;
};

/// Follows links, the last of which may lead to nothing.
Place PlaceOf(fs::path path) {
    constexpr int mostLinks = 40;
    std::error_code failure;
    const fs::path own = fs::canonical("/proc/self/fd", failure);
    for (int links = 0; links < mostLinks; ++links) {
        const fs::path folder =
            fs::canonical(path.has_parent_path() ? path.parent_path() : ".", failure);
        if (failure) return {path};
        const std::string name = path.filename().string();
        if (folder == own) {
            int descriptor = -1;
            std::from_chars(name.data(), name.data() + name.size(), descriptor);
            if (descriptor >= 0) return {path, descriptor};
        }
        path = folder / path.filename();
        const fs::path next = fs::read_symlink(path, failure);
        if (failure) return {path};
        path = folder / next;
    }
    return {path, -1, ELOOP};
}

int WriteDirectly(const std::string& path, const WriteFunction& write, bool emptied) {
    const int descriptor = system::OpenForWriting(path.c_str(), emptied);
    if (descriptor < 0) return errno;
    const int error = WriteToDescriptor(descriptor, write);
    return system::Close(descriptor) == 0 || error != 0 ? error : errno;
}

int WriteBeside(const std::string& path, const WriteFunction& write,
                UnfinishedFunction unfinished) {
    Replacement file(PathOf(path), unfinished);
    if (file.error() != 0) return file.error();
    const int error = WriteToDescriptor(file.descriptor(), write);
    return error != 0 ? error : file.commit();
}

/// Whether the error says that the folder takes no file, or not in the place of another: that may
/// be a mount.
bool IsClosedFolder(int error) {
    return error == EACCES || error == EPERM || error == EROFS || error == EBUSY;
}

}  // namespace

std::optional<FileIdentity> IdentityOf(const std::string& path) {
    return IdentityIn(system::StatusOf(path.c_str()));
}

std::optional<FileIdentity> IdentityOf(int descriptor) {
    return IdentityIn(system::StatusOf(descriptor));
}

int WriteToDescriptor(int descriptor, const WriteFunction& write) {
    DescriptorBuffer buffer(descriptor);
    std::ostream out(&buffer);
    write(out);
    out.flush();
    return buffer.error();
}

WrittenFile WriteToFile(const std::string& path, const WriteFunction& write,
                        const FileWriting& how) {
    const Place place = PlaceOf(PathOf(path));
    if (place.error != 0) return {place.error};
    if (place.descriptor >= 0) return {WriteToDescriptor(place.descriptor, write)};
    const std::string real = Utf8(place.path);
    const system::PathKindEN kind = system::StatusOf(real.c_str()).kind;
    if (kind == system::PathKindEN::folder) return {EISDIR};
    if (kind == system::PathKindEN::other) return {WriteDirectly(real, write, false)};
    const bool isWritable = kind == system::PathKindEN::file && system::IsWritable(real.c_str());
    if (kind == system::PathKindEN::file && !isWritable && !how.replacesReadOnly) return {EACCES};
    const int error = WriteBeside(real, write, how.unfinished);
    if (!isWritable || !IsClosedFolder(error)) return {error};
    return {WriteDirectly(real, write, true), true};
}

void RemoveUnfinished(const std::string& path, int process) {
    const std::string start = UnfinishedPrefix(process);
    std::error_code failed;
    const fs::path folder = PlaceOf(PathOf(path)).path.parent_path();
    for (fs::directory_iterator at(folder, failed), end; !failed && at != end; at.increment(failed))
        if (Utf8(at->path().filename()).starts_with(start))
            system::Remove(Utf8(at->path()).c_str());
}

}  // namespace lumo
