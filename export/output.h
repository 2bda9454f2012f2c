// Writing to a file, whole or not at all.
#pragma once

#include <compare>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

namespace lumo {

/// Which regular file it is, whatever its names.
struct FileIdentity {
    unsigned long long device;  ///< of the file system
    unsigned long long number;  ///< of the file in it
    /// An order for sets and maps; equal: the same file.
    auto operator<=>(const FileIdentity&) const = default;
};

/// The file that the path leads to, through links; none for a device, a pipe, a folder or nothing.
std::optional<FileIdentity> IdentityOf(const std::string& path);
/// Likewise what is open there.
std::optional<FileIdentity> IdentityOf(int descriptor);

/// Writes a file's content to the stream; what it throws leaves no file.
using WriteFunction = std::function<void(std::ostream&)>;

/// Hears of the file beside the target that is not complete yet: its path before it is made, then
/// null when it is in its place, removed, or could not be made. For a program that removes it when
/// a signal ends it meanwhile.
using UnfinishedFunction = void (*)(const char* path);

/// How a file is written.
struct FileWriting {
    bool replacesReadOnly = false;            ///< else a file that may not be written is EACCES
    UnfinishedFunction unfinished = nullptr;  ///< called meanwhile, by the thread that writes
};

/// How that went: 0, or the errno of what failed first.
struct WrittenFile {
    int error = 0;           ///< an errno; 0 when it was written
    bool isInPlace = false;  ///< its folder took no other file, so it was not done in one step
};

/// Writes to the path. A file is written beside its place, with the mode of the one that it
/// replaces, and renamed when it is complete, through symbolic links, also one to nothing; a
/// failure leaves what was there. Where the folder takes no file, one that is there and may be
/// written is written in place. A device or pipe is written directly, and /dev/stdout, /dev/fd/1
/// and the like through that descriptor.
WrittenFile WriteToFile(const std::string& path, const WriteFunction& write,
                        const FileWriting& how = {});

/// Removes what the process of that number left beside the path when it was ended meanwhile.
void RemoveUnfinished(const std::string& path, int process);

/// Writes through the descriptor; returns 0, or the errno of what failed first.
int WriteToDescriptor(int descriptor, const WriteFunction& write);

}  // namespace lumo
