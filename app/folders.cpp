#include "app/folders.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

#include "app/read.h"
#include "formats/archive.h"
#include "formats/detect.h"
#include "formats/othertexts.h"
#include "library/utilities/paths.h"

namespace lumo::app {
namespace {

namespace fs = std::filesystem;

constexpr const char* noNet = "it is no net";

/// Why the file, which can be looked at, is not read; null when it is.
const char* WhyNoInput(const std::string& path) {
    const std::string start = ReadStart(path);
    if (CertainFormat(start) != nullptr) return nullptr;
    if (FormatOfExtension(path) == nullptr) return "it is of no known format";
    return OtherText(start, path).empty() ? nullptr : noNet;
}

/// Why the entry of a folder is not read; null when it is.
const char* WhyPassedOver(const fs::path& path) {
    std::error_code unknown;
    const fs::file_status status = fs::status(path, unknown);
    // What has the name of a net and cannot be looked at is left for the reader to report.
    if (!fs::exists(status) || status.type() == fs::file_type::unknown)
        return FormatOfExtension(Utf8(path)) == nullptr ? "it leads to nothing" : nullptr;
    if (!fs::is_regular_file(status)) return "it is no file";
    return WhyNoInput(Utf8(path));
}

class Walk {
public:
    explicit Walk(Options& options) : options_(options) {}

    void into(const fs::path& folder, const fs::path& below) {
        for (const fs::directory_entry& entry : entriesOf(folder)) {
            const fs::path& path = entry.path();
            std::error_code unknown;
            const bool isFolder = entry.is_directory(unknown);
            if (Utf8(path.filename()).starts_with('.')) {
                passOver(path, "it is hidden");
            } else if (isFolder && fs::is_symlink(path, unknown)) {
                passOver(path, "it is a link to a folder");
            } else if (isFolder && fs::equivalent(path, PathOf(options_.output), unknown)) {
                passOver(path, "it is for the output");
            } else if (isFolder) {
                into(path, below / path.filename());
            } else if (const auto archive = Archive::open(Utf8(path))) {
                into(*archive, below / path.filename());
            } else if (const char* why = WhyPassedOver(path)) {
                passOver(path, why);
            } else {
                options_.files.push_back({Utf8(path), Utf8(below)});
            }
        }
    }

    /// The files of an archive, as if it were a folder.
    void into(const Archive& archive, const fs::path& below) {
        for (const ArchiveEntry& entry : archive.entries()) {
            const std::string path = archive.path() + "/" + entry.name;
            const fs::path inside = PathOf(entry.name);
            const bool isHidden = std::ranges::any_of(inside, [](const fs::path& part) {
                const std::string name = Utf8(part);
                return name.starts_with('.') || name == "__MACOSX";
            });
            const char* const why = isHidden ? "it is hidden" : WhyNoInput(path);
            if (why != nullptr) {
                passOver(PathOf(path), why);
            } else {
                options_.files.push_back({path, Utf8(below / inside.parent_path())});
            }
        }
    }

private:
    /// By their names; a folder that cannot be read is left for the reader to report.
    std::vector<fs::directory_entry> entriesOf(const fs::path& folder) {
        std::error_code failed;
        std::vector<fs::directory_entry> entries;
        for (fs::directory_iterator at(folder, failed), end; !failed && at != end;
             at.increment(failed))
            entries.push_back(*at);
        if (failed) options_.files.push_back({Utf8(folder), {}});
        std::ranges::sort(entries);
        return entries;
    }

    void passOver(const fs::path& path, const char* why) {
        options_.noNets += why == noNet ? 1 : 0;
        if (options_.verbose) options_.passedOver.emplace_back(Utf8(path), why);
    }

    Options& options_;
};

/// Files that differ by their extensions only become files named after the whole of them.
void TellApart(std::vector<InputFile>& files) {
    std::map<std::pair<std::string, std::string>, int> places;
    const auto place = [](const InputFile& file) {
        const std::string name(PlainName(file.path));
        return std::pair(file.below, Utf8(PathOf(name).stem()));
    };
    for (const InputFile& file : files) ++places[place(file)];
    for (InputFile& file : files) file.keepsExtension = places[place(file)] > 1;
}

/// Where the files of a folder go: together, or of several folders, each below its name.
fs::path PlaceOf(const std::string& folder, bool isOnly) {
    if (isOnly) return {};
    const fs::path path = PathOf(folder).lexically_normal();
    const fs::path name = path.has_filename() ? path.filename() : path.parent_path().filename();
    return name == "." || name == ".." ? fs::path() : name;
}

}  // namespace

bool IsFolder(const std::string& path) {
    std::error_code unknown;
    return path != "-" && fs::is_directory(PathOf(path), unknown);
}

void GatherFiles(const std::vector<std::string>& arguments, Options& options) {
    for (const std::string& argument : arguments) {
        const std::size_t before = options.files.size();
        const fs::path place = PlaceOf(argument, arguments.size() == 1);
        if (options.recursive && IsFolder(argument)) {
            options.walked = true;
            Walk(options).into(PathOf(argument), place);
        } else if (options.recursive) {
            if (const auto archive = Archive::open(argument)) {
                options.walked = true;
                Walk(options).into(*archive, place);
            }
        }
        if (options.files.size() == before) options.files.push_back({argument, {}});
    }
    if (options.walked) TellApart(options.files);
}

}  // namespace lumo::app
