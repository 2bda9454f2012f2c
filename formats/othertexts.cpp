#include "formats/othertexts.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "formats/detect.h"
#include "formats/reportpage.h"
#include "formats/shared/start.h"
#include "library/model/netmodel.h"

namespace lumo {
namespace {

constexpr std::string_view blanks = " \t\r\n\f\v";

// ---- Bytes ---------------------------------------------------------------------------------

struct Magic {
    std::string_view bytes;
    std::string_view kind;
    std::size_t at = 0;
};
using namespace std::string_view_literals;
constexpr Magic magics[] = {
    {"\x89PNG\r\n"sv, "a PNG image"},
    {"\xFF\xD8\xFF"sv, "a JPEG image"},
    {"GIF8"sv, "a GIF image"},
    {"II*\0"sv, "a TIFF image"},
    {"MM\0*"sv, "a TIFF image"},
    {"WEBP"sv, "a WebP image", 8},
    {"%PDF-"sv, "a PDF document"},
    {"%!PS"sv, "a PostScript document"},
    {"BZh"sv, "a file packed by bzip2; unpack it first"},
    {"\xFD"
     "7zXZ\0"sv,
     "a file packed by xz; unpack it first"},
    {"\x28\xB5\x2F\xFD"sv, "a file packed by zstd; unpack it first"},
    {"\x1F\x8B"sv, "a file packed by gzip; unpack it first"},
    {"7z\xBC\xAF\x27\x1C"sv, "a 7z archive; unpack it first"},
    {"Rar!\x1A"sv, "a RAR archive; unpack it first"},
    {"ustar"sv, "a tar archive; unpack it first", 257},
    {"\xD0\xCF\x11\xE0"sv, "a document of an older office program"},
    {"\x7F"
     "ELF"sv,
     "a program"},
    {"SQLite format 3"sv, "a database"},
    {"\xFF\xFE\0\0"sv, "a text in UTF-32; save it as UTF-8"},
    {"\0\0\xFE\xFF"sv, "a text in UTF-32; save it as UTF-8"},
};

std::string_view KindOfZip(std::string_view text) {
    const auto holds = [text](std::string_view name) {
        return text.find(name) != std::string_view::npos;
    };
    if (holds("[Content_Types].xml") || holds("xl/") || holds("word/") || holds("ppt/"))
        return "a document of an office program";
    if (holds("application/vnd.oasis")) return "a document of an office program";
    return "a ZIP archive; unpack it first";
}

/// Bytes that no text has, and zeros in every other place.
std::string_view KindOfBytes(std::string_view text) {
    for (const Magic& magic : magics)
        if (text.size() > magic.at && text.substr(magic.at).starts_with(magic.bytes))
            return magic.kind;
    if (text.starts_with("PK\x03\x04")) return KindOfZip(text);
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) return {};  // UTF-16
    text = text.substr(0, 4096);
    std::array<std::size_t, 2> zeros{};
    std::size_t controls = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte == 0) ++zeros[i % 2];
        constexpr unsigned char escape = 0x1B, endOfFile = 0x1A;
        if (byte < ' ' && blanks.find(text[i]) == std::string_view::npos && byte != escape &&
            byte != endOfFile)
            ++controls;
    }
    constexpr std::size_t fewest = 4;
    const auto [least, most] = std::minmax(zeros[0], zeros[1]);
    if (most > fewest && most * 4 > text.size() && least * 8 < most)
        return "a text in UTF-16 without a byte order mark; save it as UTF-8";
    constexpr std::size_t share = 20;  // of what is text, a twentieth at most
    return controls > fewest && controls * share > text.size() ? "binary data"sv : ""sv;
}

// ---- XML -----------------------------------------------------------------------------------

/// The name behind a prefix of a name space.
std::string_view LocalName(std::string_view name) { return name.substr(name.find(':') + 1); }

/// Elements that nets begin with, also those of other programs that say the same.
bool IsRootOfNet(std::string_view name) {
    const std::string local = Lower(LocalName(name));
    return local == "bif" || local == "xmlbif" || local == "network" || local == "smile";
}

std::string KindOfXML(std::string_view text) {
    const std::string start = Lower(text.substr(0, 200));
    if (start.starts_with("<!doctype html") || start.starts_with("<html")) {
        if (IsReportPage(text)) return "a report that lumo-import made of a net";
        constexpr std::string_view comparison = "content=\"lumo-import, comparison of two nets\"";
        if (text.substr(0, DetectionWindow).find(comparison) != text.npos)
            return "a comparison that lumo-import made of two nets";
        return "an HTML page";
    }
    const std::string_view root = RootElement(text);
    if (root.empty() || IsRootOfNet(root)) return {};
    if (Lower(LocalName(root)) == "html") return "an HTML page";
    if (Lower(LocalName(root)) == "svg") return "an SVG picture";
    return "XML of another kind, its root element '" +
           std::string(root.substr(0, std::min<std::size_t>(root.size(), 60))) + "'";
}

// ---- Texts ---------------------------------------------------------------------------------

bool StartsLine(const std::string& lower, std::string_view words) {
    return lower.starts_with(words) || lower.find("\n" + std::string(words)) != std::string::npos;
}

bool IsDebianSource(const std::string& lower) {
    return StartsLine(lower, "source:") && StartsLine(lower, "binary:") &&
           StartsLine(lower, "version:");
}

/// Lines of parts of a circuit, `r1 in out 10k`: a letter for the kind, the wires, a value.
bool HasParts(std::string_view lower) {
    constexpr std::string_view kinds = "rclvidqmxefgh";
    int parts = 0;
    for (std::string_view rest = lower; !rest.empty();) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (line.empty() || kinds.find(line.front()) == std::string_view::npos) continue;
        int words = 0;
        for (bool between = true; const char c : line) {
            const bool isBlank = blanks.find(c) != std::string_view::npos;
            words += between && !isBlank ? 1 : 0;
            between = isBlank;
        }
        constexpr int fewestWords = 4;
        parts += words >= fewestWords ? 1 : 0;
    }
    return parts > 1;
}

/// A picture of a circuit as text.
bool IsNetlist(const std::string& lower) {
    const bool isSpice = lower.find_first_of("{};=") == std::string::npos &&
                         (StartsLine(lower, ".end") || lower.starts_with('*')) && HasParts(lower);
    if (isSpice) return true;
    return lower.starts_with("(export") || lower.starts_with("(netlist") ||
           lower.starts_with("(edif") || lower.starts_with("(kicad") ||
           StartsLine(lower, ".subckt ") ||
           (StartsLine(lower, ".end") && lower.find(".tran") != std::string::npos);
}

/// `net NAME { ... node X { TYPE = CPT; ...`: nodes within the braces of the net.
bool IsOlderXdsl(const std::string& lower) {
    if (!lower.starts_with("net ") && !lower.starts_with("net\t")) return false;
    const std::size_t brace = lower.find('{');
    if (brace == std::string::npos ||
        lower.substr(3, brace - 3).find_first_not_of(blanks) == std::string::npos)
        return false;
    std::size_t node = lower.find("node", brace);
    const std::size_t close = lower.find('}', brace);
    const bool inside = node < close || lower.find("header") < close;
    return inside && (lower.find("type", node) != std::string::npos);
}

bool IsJson(std::string_view text) {
    if (!text.starts_with('{') && !text.starts_with('[')) return false;
    const std::size_t next = text.find_first_not_of(blanks, 1);
    if (next == std::string_view::npos) return false;
    return text[next] == '"' || text[next] == '{' || text[next] == '[' ||
           (text.front() == '{' ? text[next] == '}' : true);
}

/// Lines with as many commas, semicolons or tabs as the first, and no brace.
bool IsTable(std::string_view text) {
    if (text.starts_with('%') || text.find_first_of("{}<>") != std::string_view::npos) return false;
    for (const char separator : ",;\t"sv) {
        std::size_t lines = 0, wanted = 0;
        bool same = true;
        for (std::string_view rest = text; same && !rest.empty() && lines < 20;) {
            const std::size_t end = rest.find('\n');
            if (end == std::string_view::npos && lines > 0) break;  // perhaps cut off
            const std::string_view line = rest.substr(0, end);
            const auto count = static_cast<std::size_t>(std::ranges::count(line, separator));
            if (lines++ == 0) wanted = count;
            const std::size_t last = line.find_last_not_of(blanks);
            const bool ends = separator == ';' && count == 1 && last == line.rfind(separator);
            same = count == wanted && count > 0 && !ends;  // a statement has one at its end
            rest.remove_prefix(std::min(end, rest.size() - 1) + 1);
        }
        if (same && lines > 1) return true;
    }
    return false;
}

bool HasEnding(std::string_view fileName, std::string_view ending) {
    return Lower(PlainName(fileName)).ends_with(ending);
}

}  // namespace

bool IsBare(const Bnet_bn* net) {
    return net == nullptr || std::ranges::all_of(net->nodes, [](const Bnode_bn* node) {
               return node->parents.N == 0 && node->relation.kind == RelnKindEN::none;
           });
}

std::string OtherText(std::string_view start, std::string_view fileName) {
    start = start.substr(0, DetectionWindow);
    if (const std::string_view kind = KindOfBytes(start); !kind.empty()) return std::string(kind);
    if (HasEnding(fileName, ".evid")) return "evidence for a net, without the net";
    const std::string_view text = WithoutMark(start);
    if (text.starts_with('<')) return KindOfXML(text);
    const std::string lower = Lower(text);
    if (lower.starts_with("*vertices") || lower.starts_with("*network") ||
        lower.starts_with("*partition"))
        return "a graph of the Pajek format";
    if (IsDebianSource(lower)) return "a description of a Debian source package";
    if (IsNetlist(lower)) return "a netlist of a circuit";
    if (IsOlderXdsl(lower)) return "a net in the older text form of XDSL; save it as .xdsl";
    if (IsJson(text) && text.find("\"lumo-import/") == text.npos) return "JSON";
    if (IsTable(text)) return "a table of values, as CSV";
    return {};
}

}  // namespace lumo
