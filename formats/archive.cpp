#include "formats/archive.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "formats/shared/start.h"
#include "library/utilities/threads.h"

namespace lumo {
namespace {

// The records of a zip archive: their signatures, and the bytes of their fixed parts.
constexpr std::string_view endMark = "PK\x05\x06";
constexpr std::string_view entryMark = "PK\x01\x02";
constexpr std::string_view headerMark = "PK\x03\x04";
constexpr long long endSize = 22, entrySize = 46, headerSize = 30;
constexpr long long longestComment = 0xFFFF;

constexpr long long mostDirectory = 64LL << 20;
constexpr std::uint32_t isInOtherRecord = 0xFFFFFFFF;  // archives of more than 4 GB

constexpr int stored = 0, deflated = 8;

constexpr std::string_view extension = ".zip";

/// A number of the record, its lowest byte first.
std::uint32_t Number(std::string_view record, std::size_t at, std::size_t bytes) {
    std::uint32_t number = 0;
    for (std::size_t i = bytes; i-- > 0;)
        number = number << 8 | static_cast<unsigned char>(record[at + i]);
    return number;
}

/// Those bytes of the file; empty when it has not all of them.
std::string BytesAt(const system::InputFile& file, long long offset, long long count) {
    std::string bytes(static_cast<std::size_t>(count), '\0');
    long long have = 0;
    while (have < count) {
        const long long got = file.readAt(offset + have, bytes.data() + have, count - have);
        if (got <= 0) return {};
        have += got;
    }
    return bytes;
}

/// The directory of the archive, which stands at its end; empty when the file is none.
std::string ReadDirectory(const system::InputFile& file) {
    const long long size = file.size();
    const long long tail = std::min(size, endSize + longestComment);
    if (tail < endSize) return {};
    const std::string end = BytesAt(file, size - tail, tail);
    const std::size_t at = end.rfind(endMark);
    if (at == std::string::npos || end.size() - at < static_cast<std::size_t>(endSize)) return {};
    const long long bytes = Number(end, at + 12, 4), place = Number(end, at + 16, 4);
    if (bytes > mostDirectory || place + bytes > size) return {};
    return BytesAt(file, place, bytes);
}

std::vector<ArchiveEntry> EntriesOf(std::string_view directory) {
    std::vector<ArchiveEntry> entries;
    while (directory.starts_with(entryMark) && std::ssize(directory) >= entrySize) {
        const std::size_t name = Number(directory, 28, 2);
        const std::size_t whole = static_cast<std::size_t>(entrySize) + name +
                                  Number(directory, 30, 2) + Number(directory, 32, 2);
        if (whole > directory.size()) break;
        ArchiveEntry entry;
        entry.name = directory.substr(static_cast<std::size_t>(entrySize), name);
        entry.isEncrypted = (Number(directory, 8, 2) & 1) != 0;
        entry.method = static_cast<int>(Number(directory, 10, 2));
        const std::uint32_t packed = Number(directory, 20, 4), place = Number(directory, 42, 4);
        entry.packed = packed;
        entry.place = place;
        const bool isKnown = packed != isInOtherRecord && place != isInOtherRecord;
        if (isKnown && !entry.name.empty() && !entry.name.ends_with('/'))
            entries.push_back(std::move(entry));
        directory.remove_prefix(whole);
    }
    std::ranges::sort(entries, {}, &ArchiveEntry::name);
    return entries;
}

Unpacking Refused(const char* why) { return {Unpacking::Outcome::refused, why}; }

}  // namespace

bool Archive::isOne(const std::string& path, const system::InputFile& file) {
    return Lower(path).ends_with(extension) &&
           BytesAt(file, 0, std::ssize(headerMark)) == headerMark;
}

std::shared_ptr<const Archive> Archive::open(const std::string& path) {
    if (!Lower(path).ends_with(extension) ||
        system::StatusOf(path.c_str()).kind != system::PathKindEN::file)
        return nullptr;
    const system::InputFile file(path.c_str());
    if (!file.isOpen() || !isOne(path, file)) return nullptr;
    // The files of an archive are mostly opened one after the other.
    struct Last {
        std::shared_ptr<const Archive> archive;
    };
    auto& last = OfThread<Last>().archive;
    std::string directory = ReadDirectory(file);
    if (last != nullptr && last->path_ == path && last->directory_ == directory) return last;
    auto archive = std::make_shared<Archive>();
    archive->path_ = path;
    archive->entries_ = EntriesOf(directory);
    archive->directory_ = std::move(directory);
    last = archive;
    return archive;
}

const ArchiveEntry* Archive::find(std::string_view name) const {
    const auto found = std::ranges::lower_bound(entries_, name, {}, &ArchiveEntry::name);
    return found == entries_.end() || found->name != name ? nullptr : &*found;
}

Unpacking Archive::read(const ArchiveEntry& entry, GrowingText& text, long long enough) const {
    const system::InputFile file(path_.c_str());
    if (entry.isEncrypted) return Refused("it is encrypted");
    if (entry.method != stored && entry.method != deflated)
        return Refused("it is compressed in a way that is not known here; use unzip");
    const std::string header = file.isOpen() ? BytesAt(file, entry.place, headerSize) : "";
    if (!header.starts_with(headerMark)) return Refused("the archive is damaged");
    long long at = entry.place + headerSize + Number(header, 26, 2) + Number(header, 28, 2);
    const long long end = at + entry.packed;
    const ByteSource source = [&](char* out, std::size_t most) -> std::size_t {
        const long long got =
            file.readAt(at, out, std::min(static_cast<long long>(most), end - at));
        at += std::max(got, 0LL);
        return static_cast<std::size_t>(std::max(got, 0LL));
    };
    return entry.method == deflated ? UnpackDeflated(source, text, enough)
                                    : CopyStored(source, text, enough);
}

std::optional<ArchivePath> InArchive(const std::string& path) {
    for (std::size_t at = 0; (at = path.find('/', at + 1)) != std::string::npos;) {
        const std::string front = path.substr(0, at);
        if (std::shared_ptr<const Archive> archive = Archive::open(front))
            return ArchivePath{std::move(archive), path.substr(at + 1)};
    }
    return std::nullopt;
}

}  // namespace lumo
