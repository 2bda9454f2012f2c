#include "export/picture.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numeric>
#include <unordered_map>

#include "export/detour.h"
#include "export/fans.h"
#include "formats/shared/describe.h"
#include "formats/shared/placing.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

// Labels; widths are in ems, multiples of the font's size.
constexpr double lineEms = 13;     ///< a label wider than this is broken
constexpr double fixedEms = 0.61;  ///< a character of a font whose characters are equally wide
constexpr std::size_t mostLines = 3;
constexpr std::size_t maxLabelBytes = 400;  ///< no label that long is drawn whole

constexpr double margin = 20;  ///< around what is drawn

// Paper.
constexpr double millimetresPerPoint = 25.4 / 72;
constexpr double pointsPerPixel = 0.75;
constexpr double usualLetters = 8;  ///< points, where only the width is wished

// When a file's drawing is hard to read: by how much smaller its letters are in a window than those
// of the automatic layout, and how often more its links cross.
constexpr double windowWidth = 700, windowHeight = 500;
constexpr double smallerLetters = 1.3;
constexpr double littleRoom = 0.4;  ///< times the usual, to which such a drawing is scaled down
constexpr double longestShape = 4;  ///< times as long one way as the other, of what that saves
constexpr long long moreCrossings = 3;
constexpr long long fewCrossings = 10;  ///< are no reason
constexpr long long mostCrossingsCounted = 1'000'000;
constexpr double worthFolding = 1.1;  ///< times larger letters, for fans of leaves in two rows

// Shapes.
constexpr double sidePadding = 8;
constexpr double heightPadding = 7;
constexpr double leastHalfWidthEms = 2.2;

constexpr RGB natureFill{252, 243, 207};
constexpr RGB decisionFill{214, 230, 250};
constexpr RGB utilityFill{216, 240, 216};

// ---- Text ----------------------------------------------------------------------------------

struct WidthRange {
    char32_t first, last;
    double ems;
};

// Beyond ASCII: marks without a width, and the scripts that are as wide as high.
constexpr WidthRange wideRanges[] = {
    {0x0300, 0x036F, 0}, {0x1100, 0x115F, 1},     {0x200B, 0x200F, 0},   {0x202A, 0x202E, 0},
    {0x2E80, 0xA4CF, 1}, {0xAC00, 0xD7A3, 1},     {0xF900, 0xFAFF, 1},   {0xFE30, 0xFE6F, 1},
    {0xFF00, 0xFF60, 1}, {0x1F000, 0x1FAFF, 1.3}, {0x20000, 0x3FFFD, 1},
};

constexpr auto asciiEms = [] {
    std::array<double, 0x80> ems{};
    ems.fill(0.635);
    for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZ+=<>"))
        ems[std::size_t(c)] = 0.77;
    for (const char c : std::string_view("ijlI|!.,:;'`()[] ft/\\r")) ems[std::size_t(c)] = 0.39;
    for (const char c : std::string_view("mwMW@%")) ems[std::size_t(c)] = 0.98;
    return ems;
}();

double CharacterEms(char32_t code) {
    if (code < asciiEms.size()) return asciiEms[code];
    for (const WidthRange& range : wideRanges)
        if (code >= range.first && code <= range.last) return range.ems;
    return code < 0x0250 ? 0.68 : 0.78;
}

bool IsMonospaced(const PictureFont& font) {
    return font.face.find("Cour") != std::string::npos ||
           font.face.find("Mono") != std::string::npos ||
           font.face.find("Consol") != std::string::npos;
}

bool IsLower(char c) { return c >= 'a' && c <= 'z'; }
bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }

/// Whether a line may end between the two neighbouring bytes.
bool MayBreak(char before, char after) {
    return after == ' ' || std::string_view(" _-./,;").find(before) != std::string_view::npos ||
           (IsLower(before) && IsUpper(after));
}

std::string_view Trimmed(std::string_view text) {
    const std::size_t from = text.find_first_not_of(' ');
    if (from == std::string_view::npos) return {};
    return text.substr(from, text.find_last_not_of(' ') - from + 1);
}

/// Bytes at the start of the text that make its next line: up to the last place to break within the
/// width, or within a word that is wider.
std::size_t NextLine(std::string_view text, double width, const PictureFont& font) {
    std::size_t at = 0;
    std::size_t lastBreak = 0;
    double used = 0;
    while (at < text.size()) {
        const std::size_t length = CodePoint(text.substr(at)).second;
        if (at > 0 && MayBreak(text[at - 1], text[at])) lastBreak = at;
        used += TextWidth(text.substr(at, length), font);
        if (used > width && at > 0) return lastBreak > 0 ? lastBreak : at;
        at += length;
    }
    return at;
}

/// The text in at most `most` lines, the last cut to the width.
std::vector<std::string> Broken(std::string_view text, double width, std::size_t most,
                                const PictureFont& font) {
    std::vector<std::string> lines;
    for (text = Trimmed(text); !text.empty() && lines.size() < most; text = Trimmed(text)) {
        const bool last = lines.size() + 1 == most;
        const std::size_t length = last ? text.size() : NextLine(text, width, font);
        lines.push_back(CutText(Trimmed(text.substr(0, length)), width, font));
        text.remove_prefix(length);
    }
    return lines;
}

/// The text in as few lines as it needs, of about equal widths.
std::vector<std::string> LabelLines(const char* text, const PictureFont& font) {
    const std::string line = OneLine(std::string_view(text).substr(0, maxLabelBytes));
    const std::string clean(Trimmed(line));
    if (clean.empty()) return {};
    const double most = lineEms * font.size;
    const double whole = TextWidth(clean, font);
    if (whole <= most) return {clean};
    for (std::size_t count = 2; count <= mostLines; ++count) {
        double width = whole / static_cast<double>(count);
        while (width < most) {
            std::vector<std::string> lines = Broken(clean, width, count, font);
            if (!lines.back().ends_with("…")) return lines;
            width += font.size;
        }
    }
    return Broken(clean, most, mostLines, font);
}

/// The label that the net's style wants: 0 name, 3 name and title, else the title; a node without a
/// title of its own shows its name.
std::vector<std::string> NodeLines(const Bnode_bn& node, int style, const PictureFont& font) {
    if (style == 0 || !HasOwnTitle(node)) return LabelLines(node.name(), font);
    std::vector<std::string> lines = LabelLines(node.title, font);
    if (style == 3) lines.insert(lines.begin(), CutText(node.name(), lineEms * font.size, font));
    return lines;
}

PictureFont FontOf(const Vnet_kt& drawing) {
    const fontspec_kt& spec = drawing.font->spec();
    PictureFont font;
    for (const char c : OneLine(spec.face)) {
        const bool other = static_cast<unsigned char>(c) >= 0x80;
        if (other || std::isalnum(static_cast<unsigned char>(c)) != 0 || c == ' ' || c == '-' ||
            c == '_' || c == '.')
            font.face += c;
    }
    font.size = std::clamp(spec.size, 6, 48);
    font.bold = (spec.styleFlags & fontspec_kt::Bold) != 0;
    font.italic = (spec.styleFlags & fontspec_kt::Italic) != 0;
    return font;
}

// ---- Shapes and colours --------------------------------------------------------------------

ShapeEN ShapeOf(NodeKindEN kind) {
    if (kind == DecisionNode) return ShapeEN::rectangle;
    return kind == UtilityNode ? ShapeEN::hexagon : ShapeEN::ellipse;
}

RGB KindFill(NodeKindEN kind) {
    if (kind == DecisionNode) return decisionFill;
    return kind == UtilityNode ? utilityFill : natureFill;
}

/// Makes the shape large enough for the label.
void Size(PictureNode& node, const PictureFont& font) {
    double textHalf = 0;
    for (const std::string& line : node.lines)
        textHalf = std::max(textHalf, TextWidth(line, font) / 2);
    const double textHalfHeight = static_cast<double>(node.lines.size()) * font.lineHeight() / 2;
    const double inner = node.doubled ? InnerBorder : 0;
    node.halfHeight = textHalfHeight + heightPadding;
    node.halfWidth = textHalf + sidePadding;
    if (node.shape == ShapeEN::ellipse) {
        node.halfHeight = textHalfHeight * 1.2 + heightPadding;
        const double part = textHalfHeight / node.halfHeight;
        node.halfWidth = (textHalf + sidePadding / 2) / std::sqrt(1 - part * part);
    } else if (node.shape == ShapeEN::hexagon) {
        node.halfWidth += HexagonSlant * textHalfHeight;
    }
    node.halfWidth = std::max(node.halfWidth, leastHalfWidthEms * font.size) + inner;
    node.halfHeight += inner;
}

double LinearLight(unsigned char channel) {
    static const auto lights = [] {
        std::array<double, 256> of{};
        for (std::size_t i = 0; i < of.size(); ++i) {
            const double c = static_cast<double>(i) / 255.0;
            of[i] = c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
        }
        return of;
    }();
    return lights[channel];
}

std::unordered_map<const nodeset_bn*, RGB> ColorOfSets(const Bnet_bn& net) {
    const std::vector<RGB> colors = DrawnNodesetColors(net);
    std::unordered_map<const nodeset_bn*, RGB> of;
    for (std::size_t i = 0; i < colors.size(); ++i) of.emplace(net.nodesets()[i].get(), colors[i]);
    return of;
}

// ---- Links and the whole -------------------------------------------------------------------

/// The number, which is positive, with so many decimals, independent of the locale.
std::string FixedText(double value, int decimals) {
    const std::string digits = std::to_string(std::llround(value * std::pow(10, decimals)));
    const auto behind = static_cast<std::size_t>(decimals);
    const std::string padded =
        std::string(behind + 1, '0').substr(std::min(digits.size(), behind + 1)) + digits;
    return padded.substr(0, padded.size() - behind) + "." + padded.substr(padded.size() - behind);
}

/// The states that are shown of a distribution: the likeliest when there are many, in their order.
std::vector<int> ShownStates(const std::vector<double>& belief) {
    std::vector<int> states(belief.size());
    std::iota(states.begin(), states.end(), 0);
    const auto of = [&](int state) { return belief[static_cast<std::size_t>(state)]; };
    std::ranges::stable_sort(states, [&](int a, int b) { return of(a) > of(b); });
    states.resize(std::min(states.size(), MostBars));
    std::ranges::sort(states);
    return states;
}

/// Makes the node a box as the page draws it.
void MakeRoomForBars(PictureNode& drawn) {
    const BarSizes sizes(PictureFont{});
    const bool isValued =
        !HasBeliefs(*drawn.node) && drawn.node->numStates() + (drawn.node->kind == UtilityNode) > 0;
    const auto states = static_cast<std::size_t>(drawn.node->numStates());
    drawn.shape = ShapeEN::rectangle;
    drawn.halfWidth = sizes.halfWidth();
    drawn.halfHeight = sizes.height(isValued ? 1 : std::min(states, MostBars)) / 2;
}

/// Makes the node a box with its title and the bars of its distribution.
void AddBars(PictureNode& drawn, const std::vector<double>& belief, const PictureFont& font) {
    const BarSizes sizes(font);
    const double width = 2 * (sizes.halfWidth() - sizes.inset());
    drawn.lines = {CutText(OneLine(TitleOrName(*drawn.node)), width, font)};
    drawn.shape = ShapeEN::rectangle;
    drawn.doubled = false;
    PictureFont letters = font;
    letters.size = sizes.letters();
    for (const int state : ShownStates(belief)) {
        const double part = belief[static_cast<std::size_t>(state)];
        const double room = width - TextWidth(PercentText(part), letters) - sizes.letters();
        const std::string label = OneLine(StateLabel(drawn.node->variable, state));
        drawn.bars.push_back({CutText(label, room, letters), part, false});
    }
    drawn.halfWidth = sizes.halfWidth();
    drawn.halfHeight = sizes.height(drawn.bars.size()) / 2;
}

void MakeNodes(const Bnet_bn& net, const PictureWish& wish, Picture& picture) {
    const auto colors = ColorOfSets(net);
    const auto fillOf = [&](const Bnode_bn& node) {
        const RGB fill =
            node.nodesets().empty() ? KindFill(node.kind) : colors.at(node.nodesets().front());
        return wish.isGrey ? GreyOf(fill) : fill;
    };
    const auto add = [&](const Bnode_bn* node) {
        PictureNode& drawn = picture.nodes.emplace_back();
        drawn.node = node;
        drawn.shape = ShapeOf(node->kind);
        drawn.doubled = node->relation.kind == RelnKindEN::deterministic;
        drawn.fill = fillOf(*node);
        drawn.ink = InkOn(drawn.fill);
        if (wish.roomForBars) return MakeRoomForBars(drawn);
        const bool hasBars = wish.beliefs != nullptr && wish.beliefs->of.contains(node);
        if (hasBars) return AddBars(drawn, wish.beliefs->of.at(node), picture.font);
        drawn.lines = NodeLines(*node, net.vnets[0]->labelStyle, picture.font);
        Size(drawn, picture.font);
    };
    if (wish.only.empty())
        std::ranges::for_each(net.nodes, add);
    else
        std::ranges::for_each(wish.only, add);
    if (wish.beliefs == nullptr) return;
    for (const Observation& seen : wish.beliefs->evidence)
        for (PictureNode& drawn : picture.nodes)
            if (drawn.node == seen.node)
                for (PictureBar& bar : drawn.bars) bar.isGiven = bar.part == 1;
}

/// All links between the nodes, without courses yet.
void ReadLinks(Picture& picture) {
    std::unordered_map<const Bnode_bn*, int> places;
    for (const PictureNode& drawn : picture.nodes)
        places.emplace(drawn.node, static_cast<int>(places.size()));
    for (const PictureNode& to : picture.nodes) {
        for (const Bnode_bn* parent : to.node->parents) {
            const auto from = places.find(parent);
            if (from != places.end())
                picture.links.push_back({from->second, places.at(to.node), {}});
        }
    }
}

/// How wide the paper is in units of the picture, at the size of letters that is wished; 0 where
/// nothing is wished.
double UnitsOn(const PictureWish& wish, const PictureFont& font) {
    const double letters = wish.letters > 0 ? wish.letters : usualLetters;
    return wish.width / millimetresPerPoint / letters * font.size;
}

/// Gives the picture its size on paper. Letters have the wished size where it is not too wide.
void PutOnPaper(const PictureWish& wish, Picture& picture) {
    if (wish.width <= 0 && wish.letters <= 0) return;
    const double wished = UnitsOn(wish, picture.font);
    if (wish.width <= 0) {
        picture.paperWidth = picture.width * wish.letters / picture.font.size * millimetresPerPoint;
        return;
    }
    if (picture.width < wished) {
        picture.left -= (wished - picture.width) / 2;
        picture.width = wished;
    }
    picture.paperWidth = wish.width;
    if (wish.letters > 0 && picture.letters() < 0.99 * wish.letters)
        picture.notes.push_back("letters have " + FixedText(picture.letters(), 1) + " pt, not " +
                                Decimal(wish.letters) + ": the picture is too wide");
}

layout::Diagram DiagramOf(const Picture& picture, double mostWidth) {
    layout::Diagram diagram;
    diagram.mostWidth = std::max(0.0, mostWidth - 2 * margin);
    for (const PictureNode& node : picture.nodes)
        diagram.sizes.push_back({2 * node.halfWidth, 2 * node.halfHeight});
    for (const PictureLink& link : picture.links)
        diagram.links.push_back({link.parent, link.child});
    return diagram;
}

/// Ends the courses, which run from centre to centre, at the borders.
void ClipLinks(Picture& picture) {
    for (PictureLink& link : picture.links)
        link.course =
            Clipped(std::move(link.course), picture.parentOf(link), picture.childOf(link));
    std::erase_if(picture.links, [](const PictureLink& link) { return link.course.empty(); });
}

/// Sets what is shown: nodes and links with a margin, and the net's drawing extent when that is
/// about as large.
void Frame(Picture& picture, double extentWidth, double extentHeight) {
    if (picture.nodes.empty()) {
        picture.width = 200;
        picture.height = 100;
        return;
    }
    double left = 1e300, top = 1e300, right = -1e300, bottom = -1e300;
    for (const PictureNode& node : picture.nodes) {
        left = std::min(left, node.centre.x - node.halfWidth - margin);
        right = std::max(right, node.centre.x + node.halfWidth + margin);
        top = std::min(top, node.centre.y - node.halfHeight - margin);
        bottom = std::max(bottom, node.centre.y + node.halfHeight + margin);
    }
    for (const PictureLink& link : picture.links) {
        for (const Point at : link.course) {
            left = std::min(left, at.x - margin);
            right = std::max(right, at.x + margin);
            top = std::min(top, at.y - margin);
            bottom = std::max(bottom, at.y + margin);
        }
    }
    const auto sensible = [](double extent, double from, double to) {
        return extent > to && extent < to + 0.3 * (to - from) + 100;
    };
    const auto nearOrigin = [](double from, double to) {
        return from > -100 && from < 0.3 * to + 100;
    };
    if (!picture.laidOut && nearOrigin(left, right) && nearOrigin(top, bottom)) {
        left = std::min(left, 0.0);
        top = std::min(top, 0.0);
        if (sensible(extentWidth, left, right)) right = extentWidth;
        if (sensible(extentHeight, top, bottom)) bottom = extentHeight;
    }
    picture.left = left;
    picture.top = top;
    picture.width = right - left;
    picture.height = bottom - top;
}

/// The picture at the positions of the file, where they make one.
std::optional<Picture> DrawnAsInFile(const Bnet_bn& net, const PictureWish& wish, bool isForced,
                                     double room, Picture picture) {
    const double scale = PlaceAsInNet(isForced, room, picture);
    if (scale == 0) return std::nullopt;
    for (PictureLink& link : picture.links)
        link.course = {picture.parentOf(link).centre, picture.childOf(link).centre};
    BendRoundNodes(picture);
    ClipLinks(picture);
    const coord_kt extent = wish.only.empty() ? net.vnets[0]->extent() : coord_kt();
    Frame(picture, scale * extent.x, scale * extent.y);
    PutOnPaper(wish, picture);
    return picture;
}

/// The picture with nodes and links where the automatic layout has them.
Picture Finished(layout::Drawing drawing, const PictureWish& wish, Picture picture) {
    for (std::size_t i = 0; i < picture.nodes.size(); ++i)
        picture.nodes[i].centre = drawing.centres[i];
    for (std::size_t i = 0; i < picture.links.size(); ++i)
        picture.links[i].course = std::move(drawing.courses[i]);
    picture.laidOut = true;
    ClipLinks(picture);
    Frame(picture, 0, 0);
    PutOnPaper(wish, picture);
    return picture;
}

/// How large the letters are where the whole is fitted into a window; 1 at most.
double ZoomInWindow(const Picture& picture) {
    return std::min({1.0, windowWidth / picture.width, windowHeight / picture.height});
}

/// By the automatic layout, with fans of leaves in rows where that makes letters larger in a window
/// and on paper, and no more links cross.
Picture DrawnAnew(const PictureWish& wish, const Picture& start) {
    const layout::Diagram diagram = DiagramOf(start, UnitsOn(wish, start.font));
    Picture plain = Finished(layout::Draw(diagram), wish, start);
    const bool isWide = windowWidth / plain.width * worthFolding < windowHeight / plain.height;
    if (!isWide || ZoomInWindow(plain) == 1 || plain.nodes.size() > MostNodesLaidOutTwice)
        return plain;
    std::optional<layout::Drawing> inRows = DrawFansInRows(diagram);
    if (!inRows) return plain;
    Picture folded = Finished(std::move(*inRows), wish, start);
    const bool isLarger = ZoomInWindow(folded) > worthFolding * ZoomInWindow(plain) &&
                          folded.letters() >= plain.letters();
    if (!isLarger) return plain;
    const long long crossings = CountCrossings(plain, mostCrossingsCounted);
    return CountCrossings(folded, crossings) > crossings ? plain : folded;
}

/// Whether it is worth to compare a drawing with the automatic one.
bool MayBeHardToRead(const Picture& own) {
    return ZoomInWindow(own) * smallerLetters < 1 ||
           CountCrossings(own, fewCrossings) > fewCrossings;
}

/// Whether it leaves most of a window empty, however large its letters are.
bool IsStrip(const Picture& picture) {
    return std::max(picture.width, picture.height) >
           longestShape * std::min(picture.width, picture.height);
}

/// Why the file's drawing gives way to the automatic one; empty when it does not.
std::string WhyHardToRead(const Picture& own, const Picture& automatic) {
    if (ZoomInWindow(own) * smallerLetters < ZoomInWindow(automatic))
        return "letters would be much smaller";
    const long long few = moreCrossings * CountCrossings(automatic, mostCrossingsCounted);
    const long long most = std::max(few, fewCrossings);
    return CountCrossings(own, most + 1) > most ? "links would cross much more" : "";
}

}  // namespace

double Distance(Point a, Point b) { return std::hypot(b.x - a.x, b.y - a.y); }

std::string PictureFont::families() const {
    const std::string own = face.empty() ? std::string() : "'" + face + "', ";
    return own + (IsMonospaced(*this) ? "monospace" : "Arial, Helvetica, sans-serif");
}

double PictureNode::reach(Point at) const {
    const double dx = std::abs(at.x - centre.x);
    const double dy = std::abs(at.y - centre.y);
    const double acrossY = dy / halfHeight;
    switch (shape) {
        case ShapeEN::ellipse:
            return std::sqrt(dx * dx / (halfWidth * halfWidth) + acrossY * acrossY);
        case ShapeEN::rectangle:
            return std::max(dx / halfWidth, acrossY);
        default:
            return std::max(acrossY, (dx + HexagonSlant * dy) / halfWidth);
    }
}

double PictureNode::lineMiddle(std::size_t line, const PictureFont& font) const {
    const double fromMiddle = static_cast<double>(line) - static_cast<double>(lines.size() - 1) / 2;
    return centre.y + fromMiddle * font.lineHeight();
}

std::vector<Point> HexagonCorners(Point centre, double halfWidth, double halfHeight) {
    const double flat = halfWidth - HexagonSlant * halfHeight;
    const auto at = [&](double x, double y) { return Point{centre.x + x, centre.y + y}; };
    return {at(-halfWidth, 0), at(-flat, -halfHeight), at(flat, -halfHeight),
            at(halfWidth, 0),  at(flat, halfHeight),   at(-flat, halfHeight)};
}

Point ArrowBase(const PictureLink& link) {
    const Point tip = link.to();
    const Point before = link.course[link.course.size() - 2];
    const double part = ArrowLength / Distance(before, tip);
    return {tip.x - (tip.x - before.x) * part, tip.y - (tip.y - before.y) * part};
}

std::vector<Point> ArrowHead(const PictureLink& link) {
    const Point tip = link.to();
    const Point base = ArrowBase(link);
    const double x = (tip.x - base.x) / ArrowLength * ArrowHalfWidth;
    const double y = (tip.y - base.y) / ArrowLength * ArrowHalfWidth;
    return {tip, {base.x - y, base.y + x}, {base.x + y, base.y - x}};
}

double TextWidth(std::string_view utf8, const PictureFont& font) {
    const bool fixed = IsMonospaced(font);
    double ems = 0;
    while (!utf8.empty()) {
        const auto [code, length] = CodePoint(utf8);
        const double own = CharacterEms(code);
        ems += fixed && own > 0 && own < 1 ? fixedEms : own;
        utf8.remove_prefix(length);
    }
    return ems * font.size * (font.bold ? 1.1 : 1.0);
}

std::string CutText(std::string_view text, double width, const PictureFont& font) {
    if (TextWidth(text, font) <= width) return std::string(text);
    std::size_t at = 0;
    double used = TextWidth("…", font);
    while (at < text.size()) {
        const std::size_t length = CodePoint(text.substr(at)).second;
        used += TextWidth(text.substr(at, length), font);
        if (used > width) break;
        at += length;
    }
    return std::string(Trimmed(text.substr(0, at))) + "…";
}

RGB InkOn(RGB fill) {
    const double light = 0.2126 * LinearLight(fill.red) + 0.7152 * LinearLight(fill.green) +
                         0.0722 * LinearLight(fill.blue);
    return light > 0.18 ? RGB{0, 0, 0} : RGB{255, 255, 255};
}

std::string Decimal(double value) {
    // In hundredths, as a whole number: the drawing's numbers are within that.
    const long long hundredths = std::llround(std::clamp(value, -1e15, 1e15) * 100);
    const long long size = std::abs(hundredths);
    char text[24];
    char* end = text;
    if (hundredths < 0) *end++ = '-';
    end = std::to_chars(end, text + sizeof text, size / 100).ptr;
    if (size % 100 != 0) {
        *end++ = '.';
        *end++ = static_cast<char>('0' + size / 10 % 10);
        if (size % 10 != 0) *end++ = static_cast<char>('0' + size % 10);
    }
    return {text, end};
}

double Picture::letters() const {
    const double pointsPerUnit =
        paperWidth > 0 ? paperWidth / width / millimetresPerPoint : pointsPerPixel;
    return font.size * pointsPerUnit;
}

RGB GreyOf(RGB color) {
    const double light = 0.2126 * color.red + 0.7152 * color.green + 0.0722 * color.blue;
    const auto grey = static_cast<unsigned char>(std::lround(light));
    return {grey, grey, grey};
}

std::string PercentText(double part) {
    if (part == 0 || part > 1 - 1e-9) return Decimal(std::round(100 * part)) + "%";
    if (part < 0.00001) return "<0.001%";
    return FixedText(100 * part, part < 0.001 ? 3 : 1) + "%";
}

Picture MakePicture(const Bnet_bn& net, LayoutEN layout) {
    PictureWish wish;
    wish.layout = layout;
    return MakePicture(net, wish);
}

Picture MakePicture(const Bnet_bn& net, const PictureWish& wish) {
    return MakePictures(net, wish, false).shown;
}

Pictures MakePictures(const Bnet_bn& net, const PictureWish& wish, bool wantsOther) {
    Picture start;
    start.font = FontOf(*net.vnets[0]);
    start.isGrey = wish.isGrey;
    MakeNodes(net, wish, start);
    ReadLinks(start);
    const bool isPart = !wish.only.empty(), isForced = wish.layout == LayoutEN::file;
    const bool mayBeTwo = start.nodes.size() > 1 && net.nodes.N <= MostNodesLaidOutTwice;
    const bool isAsked = isPart || wish.layout == LayoutEN::automatic;
    std::optional<Picture> own;
    if (start.nodes.size() < 2 || isForced || (HasPlaces(net) && (!isAsked || wantsOther)))
        own = DrawnAsInFile(net, wish, isForced || start.nodes.size() < 2, 1, start);
    const bool compares = own && wish.layout == LayoutEN::best && !wish.keepsDrawing && mayBeTwo &&
                          MayBeHardToRead(*own);
    std::optional<Picture> automatic;
    if (!own || isAsked || (mayBeTwo && (compares || wantsOther)))
        automatic = DrawnAnew(wish, start);
    if (!own) return {std::move(*automatic), {}};
    if (!automatic) return {std::move(*own), {}};
    std::string why = compares ? WhyHardToRead(*own, *automatic) : std::string();
    if (!why.empty()) {
        std::optional<Picture> closer = DrawnAsInFile(net, wish, false, littleRoom, start);
        if (closer && !IsStrip(*closer) && WhyHardToRead(*closer, *automatic).empty()) {
            own = std::move(closer);
            why.clear();
        }
    }
    if (!why.empty()) automatic->insteadOf = why;
    if (!isAsked && why.empty()) std::swap(own, automatic);
    if (!wantsOther) own.reset();
    return {std::move(*automatic), std::move(own)};
}

}  // namespace lumo
