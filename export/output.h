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
    unsigned long long device;
    unsigned long long number;
    auto operator<=>(const FileIdentity&) const = default;
};

/// The file that the path leads to, through links; none for a device, a pipe, a folder or nothing.
std::optional<FileIdentity> IdentityOf(const std::string& path);
std::optional<FileIdentity> IdentityOf(int descriptor);

using WriteFunction = std::function<void(std::ostream&)>;

/// Hears of the file beside the target that is not complete yet: its path before it is made, then
/// null when it is in its place, removed, or could not be made. For a program that removes it when
/// a signal ends it meanwhile.
using UnfinishedFunction = void (*)(const char* path);

/// How the name of such a file begins, of that process.
std::string UnfinishedPrefix(int process);

/// Writes to the path; returns 0, or the errno of what failed first. A file is written beside its
/// place, with the mode of the one that it replaces, and renamed when it is complete, through
/// symbolic links; a failure leaves what was there. A device or pipe is written directly, and
/// /dev/stdout, /dev/fd/1 and the like through that descriptor.
int WriteToFile(const std::string& path, const WriteFunction& write,
                UnfinishedFunction unfinished = nullptr);

/// Writes through the descriptor; likewise.
int WriteToDescriptor(int descriptor, const WriteFunction& write);

}  // namespace lumo
