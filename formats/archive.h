// Zip archives, which are read as folders are: a.zip/asia.net is a file in one.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "formats/packing.h"
#include "library/utilities/system.h"

namespace LUMO_API lumo {

/// A file in an archive.
struct ArchiveEntry {
    std::string name;  ///< with the folders in the archive
    long long packed = 0;
    long long place = 0;  ///< of its header
    int method = 0;
    bool isEncrypted = false;
};

class Archive {
public:
    /// The archive of that path; null when there is none.
    static std::shared_ptr<const Archive> open(const std::string& path);

    /// Whether the open file of that path is one: Office files, which are zip archives as well,
    /// have other names.
    static bool isOne(const std::string& path, const system::InputFile& file);

    const std::string& path() const { return path_; }
    const std::vector<ArchiveEntry>& entries() const { return entries_; }
    const ArchiveEntry* find(std::string_view name) const;

    /// Appends the file to the text; ends early when there are `enough` bytes.
    Unpacking read(const ArchiveEntry& entry, GrowingText& text,
                   long long enough = LLONG_MAX) const;

private:
    std::string path_;
    std::string directory_;  ///< as it stands in the file
    std::vector<ArchiveEntry> entries_;
};

/// "a.zip/nets/asia.net" as the path of the archive and the name in it; none when no part of the
/// path is an archive.
struct ArchivePath {
    std::shared_ptr<const Archive> archive;
    std::string name;
};
std::optional<ArchivePath> InArchive(const std::string& path);

}  // namespace lumo
