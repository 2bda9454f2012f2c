#include "app/folders.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

#include "app/read.h"
#include "formats/detect.h"
#include "formats/othertexts.h"
#include "library/utilities/paths.h"

namespace lumo::app {
namespace {

namespace fs = std::filesystem;

constexpr const char* noNet = "it is no net";

/// Why the entry of a folder is not read; null when it is.
const char* WhyPassedOver(const fs::path& path) {
    std::error_code unknown;
    if (!fs::is_regular_file(path, unknown)) return "it is no file";
    const std::string start = ReadStart(Utf8(path));
    if (CertainFormat(start) != nullptr) return nullptr;
    if (FormatOfExtension(Utf8(path)) == nullptr) return "it is of no known format";
    return OtherText(start, Utf8(path)).empty() ? nullptr : noNet;
}

class Walk {
public:
    explicit Walk(Options& options) : options_(options) {}

    void into(const fs::path& folder, const fs::path& below) {
        for (const fs::path& path : entriesOf(folder)) {
            std::error_code unknown;
            const bool isFolder = fs::is_directory(path, unknown);
            if (Utf8(path.filename()).starts_with('.')) {
                passOver(path, "it is hidden");
            } else if (isFolder && fs::is_symlink(path, unknown)) {
                passOver(path, "it is a link to a folder");
            } else if (isFolder && fs::equivalent(path, PathOf(options_.output), unknown)) {
                passOver(path, "it is for the output");
            } else if (isFolder) {
                into(path, below / path.filename());
            } else if (const char* why = WhyPassedOver(path)) {
                passOver(path, why);
            } else {
                options_.files.push_back({Utf8(path), Utf8(below)});
            }
        }
    }

private:
    /// By their names; a folder that cannot be read is left for the reader to report.
    std::vector<fs::path> entriesOf(const fs::path& folder) {
        std::error_code failed;
        std::vector<fs::path> paths;
        for (fs::directory_iterator at(folder, failed), end; !failed && at != end;
             at.increment(failed))
            paths.push_back(at->path());
        if (failed) options_.files.push_back({Utf8(folder), {}});
        std::ranges::sort(paths);
        return paths;
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
        if (options.recursive && IsFolder(argument)) {
            options.walked = true;
            Walk(options).into(PathOf(argument), PlaceOf(argument, arguments.size() == 1));
        }
        if (options.files.size() == before) options.files.push_back({argument, {}});
    }
    if (options.walked) TellApart(options.files);
}

}  // namespace lumo::app
