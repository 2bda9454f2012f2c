#include "export/image.h"

#include "export/picture.h"

#ifndef LUMO_HAS_RSVG

namespace lumo {

const char* ImagesUnavailable() {
    return "PNG and PDF need librsvg, which this program was built without: install librsvg2-dev, "
           "configure with -DLUMO_IMAGES=ON and build it anew, or convert to svg";
}

void DrawPng(const Bnet_bn&, const Picture&, std::ostream&) {}
void DrawPdf(const Bnet_bn&, const Picture&, std::ostream&) {}
std::string CharactersWithoutFont(const Picture&) { return {}; }

}  // namespace lumo

#else

#include <cairo-pdf.h>
#include <fontconfig/fontconfig.h>
#include <librsvg/rsvg.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <ostream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "export/facts.h"
#include "export/legend.h"
#include "export/svg.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr int mostCharactersNamed = 10;
constexpr double dotsPerPixel = 2;
constexpr double dotsPerPixelOnPaper = 300.0 / 96;
constexpr double longestSide = 16'000;   ///< of a bitmap, in dots
constexpr double mostDots = 80'000'000;  ///< of a bitmap
constexpr double pointsPerPixel = 0.75;
constexpr double longestPage = 14'000;  ///< that programs show, in points

/// The functions of the libraries, by their names.
struct Libraries {
    Libraries() {
        const system::Library rsvg("librsvg-2.so.2");
        // What a library needs is found through it as well.
        const auto find = [&](auto& function, const char* name) {
            complete = rsvg.find(function, name) && complete;
        };
        complete = rsvg.isLoaded();
        find(loadSvg, "rsvg_handle_new_from_stream_sync");
        find(setDotsPerInch, "rsvg_handle_set_dpi");
        find(sizeOf, "rsvg_handle_get_intrinsic_size_in_pixels");
        find(renderSvg, "rsvg_handle_render_document");
        find(memoryStream, "g_memory_input_stream_new_from_data");
        find(freeObject, "g_object_unref");
        find(freeError, "g_error_free");
        find(newImage, "cairo_image_surface_create");
        find(newPdf, "cairo_pdf_surface_create_for_stream");
        find(setPdfText, "cairo_pdf_surface_set_metadata");
        find(writePng, "cairo_surface_write_to_png_stream");
        find(finish, "cairo_surface_finish");
        find(statusOf, "cairo_surface_status");
        find(statusText, "cairo_status_to_string");
        find(freeSurface, "cairo_surface_destroy");
        find(newPen, "cairo_create");
        find(freePen, "cairo_destroy");
        find(setColor, "cairo_set_source_rgb");
        find(paint, "cairo_paint");
    }

    bool complete = false;
    decltype(&rsvg_handle_new_from_stream_sync) loadSvg = nullptr;
    decltype(&rsvg_handle_set_dpi) setDotsPerInch = nullptr;
    decltype(&rsvg_handle_get_intrinsic_size_in_pixels) sizeOf = nullptr;
    decltype(&rsvg_handle_render_document) renderSvg = nullptr;
    decltype(&g_memory_input_stream_new_from_data) memoryStream = nullptr;
    decltype(&g_object_unref) freeObject = nullptr;
    decltype(&g_error_free) freeError = nullptr;
    decltype(&cairo_image_surface_create) newImage = nullptr;
    decltype(&cairo_pdf_surface_create_for_stream) newPdf = nullptr;
    decltype(&cairo_pdf_surface_set_metadata) setPdfText = nullptr;
    decltype(&cairo_surface_write_to_png_stream) writePng = nullptr;
    decltype(&cairo_surface_finish) finish = nullptr;
    decltype(&cairo_surface_status) statusOf = nullptr;
    decltype(&cairo_status_to_string) statusText = nullptr;
    decltype(&cairo_surface_destroy) freeSurface = nullptr;
    decltype(&cairo_create) newPen = nullptr;
    decltype(&cairo_destroy) freePen = nullptr;
    decltype(&cairo_set_source_rgb) setColor = nullptr;
    decltype(&cairo_paint) paint = nullptr;
};

const Libraries& Loaded() {
    static const Libraries libraries;
    return libraries;
}

[[noreturn]] void Fail(const std::string& why) {
    throw std::runtime_error("the picture cannot be drawn: " + why);
}

using Object = std::unique_ptr<void, decltype(&g_object_unref)>;
using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

cairo_status_t Write(void* out, const unsigned char* data, unsigned length) {
    auto& stream = *static_cast<std::ostream*>(out);
    stream.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(length));
    return stream ? CAIRO_STATUS_SUCCESS : CAIRO_STATUS_WRITE_ERROR;
}

void Check(const Surface& surface) {
    const cairo_status_t status = Loaded().statusOf(surface.get());
    if (status != CAIRO_STATUS_SUCCESS) Fail(Loaded().statusText(status));
}

/// The installed fonts.
class Fonts {
public:
    Fonts() {
        const system::Library library("libfontconfig.so.1");
        decltype(&FcPatternCreate) newPattern = nullptr;
        decltype(&FcObjectSetBuild) newObjects = nullptr;
        decltype(&FcFontList) list = nullptr;
        decltype(&FcPatternGetCharSet) charactersOf = nullptr;
        if (!library.isLoaded() || !library.find(newPattern, "FcPatternCreate") ||
            !library.find(newObjects, "FcObjectSetBuild") || !library.find(list, "FcFontList") ||
            !library.find(charactersOf, "FcPatternGetCharSet") ||
            !library.find(has_, "FcCharSetHasChar"))
            return;
        // Kept, as the fonts' characters are.
        const FcFontSet* const fonts =
            list(nullptr, newPattern(), newObjects(FC_CHARSET, static_cast<char*>(nullptr)));
        for (int i = 0; fonts != nullptr && i < fonts->nfont; ++i) {
            FcCharSet* characters = nullptr;
            if (charactersOf(fonts->fonts[i], FC_CHARSET, 0, &characters) == FcResultMatch)
                characters_.push_back(characters);
        }
    }

    /// Whether it is known that none has the character.
    bool lack(char32_t character) const {
        return !characters_.empty() && std::ranges::none_of(characters_, [&](const FcCharSet* of) {
            return has_(of, static_cast<FcChar32>(character)) != FcFalse;
        });
    }

private:
    decltype(&FcCharSetHasChar) has_ = nullptr;
    std::vector<const FcCharSet*> characters_;
};

const Fonts& InstalledFonts() {
    static const Fonts fonts;
    return fonts;
}

/// The text with a sign in place of characters that no font has, with which it would not be
/// centred.
std::string InInstalledFonts(std::string text) {
    const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    if (std::ranges::all_of(text, isAscii)) return text;  // without looking for fonts
    const Fonts& fonts = InstalledFonts();
    const char* const sign = fonts.lack(0xFFFD) ? "?" : "\uFFFD";
    std::string drawn;
    for (std::string_view left = text; !left.empty();) {
        const auto [code, length] = CodePoint(left);
        drawn += code >= 0x80 && fonts.lack(code) ? sign : left.substr(0, length);
        left.remove_prefix(length);
    }
    return drawn;
}

/// The net's SVG picture, to be drawn onto surfaces.
class SvgPicture {
public:
    SvgPicture(const Bnet_bn& net, const Picture& picture) {
        std::ostringstream out;
        DrawSvg(net, picture, out);
        text_ = InInstalledFonts(std::move(out).str());
        const Libraries& lib = Loaded();
        const Object stream(
            lib.memoryStream(text_.data(), static_cast<gssize>(text_.size()), nullptr),
            lib.freeObject);
        handle_.reset(lib.loadSvg(static_cast<GInputStream*>(stream.get()), nullptr,
                                  RSVG_HANDLE_FLAG_UNLIMITED, nullptr, &error_));
        if (handle_ == nullptr) fail();
        lib.setDotsPerInch(handle(), 96);  // a pixel of CSS
    }
    ~SvgPicture() {
        if (error_ != nullptr) lib_.freeError(error_);
    }
    SvgPicture(const SvgPicture&) = delete;
    SvgPicture& operator=(const SvgPicture&) = delete;

    Point size() const {
        Point size;
        lib_.sizeOf(handle(), &size.x, &size.y);
        return size;
    }

    /// Draws it over the whole surface of that size.
    void onto(const Surface& surface, Point size) {
        Check(surface);
        const std::unique_ptr<cairo_t, decltype(&cairo_destroy)> pen(lib_.newPen(surface.get()),
                                                                     lib_.freePen);
        lib_.setColor(pen.get(), 1, 1, 1);
        lib_.paint(pen.get());
        const RsvgRectangle page{0, 0, size.x, size.y};
        if (lib_.renderSvg(handle(), pen.get(), &page, &error_) == 0) fail();
        Check(surface);
    }

private:
    RsvgHandle* handle() const { return static_cast<RsvgHandle*>(handle_.get()); }
    [[noreturn]] void fail() const { Fail(error_ == nullptr ? "" : error_->message); }

    const Libraries& lib_ = Loaded();
    std::string text_;
    GError* error_ = nullptr;
    Object handle_{nullptr, Loaded().freeObject};
};

/// The characters of what is written in the picture, each once.
std::set<std::string> CharactersOf(const Picture& picture) {
    std::set<std::string> characters;
    const auto add = [&](std::string_view text) {
        while (!text.empty()) {
            const std::size_t length = CodePoint(text).second;
            characters.emplace(text.substr(0, length));
            text.remove_prefix(length);
        }
    };
    for (const PictureNode& node : picture.nodes) {
        for (const std::string& line : node.lines) add(line);
        for (const PictureBar& bar : node.bars) add(bar.label);
    }
    if (!picture.nodes.empty())
        for (const LegendEntry& entry :
             MakeLegend(picture.nodes.front().node->net(), picture).entries)
            add(entry.name);
    return characters;
}

}  // namespace

std::string CharactersWithoutFont(const Picture& picture) {
    const Fonts& fonts = InstalledFonts();
    std::string text;
    int count = 0;
    for (const std::string& character : CharactersOf(picture)) {
        if (!fonts.lack(CodePoint(character).first)) continue;
        if (++count <= mostCharactersNamed) text += (count > 1 ? " " : "") + character;
    }
    if (count == 0) return {};
    if (count > mostCharactersNamed) text += " …";
    return "no installed font has " + Count(count, "character") + " of the picture: " + text;
}

const char* ImagesUnavailable() {
    return Loaded().complete ? nullptr
                             : "PNG and PDF need librsvg, which is not there: install librsvg2-2, "
                               "or convert to svg";
}

void DrawPng(const Bnet_bn& net, const Picture& picture, std::ostream& out) {
    const Libraries& lib = Loaded();
    SvgPicture svg(net, picture);
    const Point size = svg.size();
    const double wished = picture.paperWidth > 0 ? dotsPerPixelOnPaper : dotsPerPixel;
    const double scale = std::min(
        {wished, longestSide / std::max(size.x, size.y), std::sqrt(mostDots / (size.x * size.y))});
    const Point dots{std::max(1.0, std::round(size.x * scale)),
                     std::max(1.0, std::round(size.y * scale))};
    const Surface surface(
        lib.newImage(CAIRO_FORMAT_RGB24, static_cast<int>(dots.x), static_cast<int>(dots.y)),
        lib.freeSurface);
    svg.onto(surface, dots);
    lib.writePng(surface.get(), Write, &out);
}

void DrawPdf(const Bnet_bn& net, const Picture& picture, std::ostream& out) {
    const Libraries& lib = Loaded();
    SvgPicture svg(net, picture);
    const Point size = svg.size();
    const double scale = std::min(pointsPerPixel, longestPage / std::max(size.x, size.y));
    const Point page{size.x * scale, size.y * scale};
    const Surface surface(lib.newPdf(Write, &out, page.x, page.y), lib.freeSurface);
    lib.setPdfText(surface.get(), CAIRO_PDF_METADATA_CREATE_DATE, "1970-01-01T00:00:00Z");
    svg.onto(surface, page);
    lib.finish(surface.get());
}

}  // namespace lumo

#endif

namespace lumo {

void WritePng(const ImportResult& result, std::ostream& out) {
    DrawPng(*result.net, MakePicture(*result.net, result.layout), out);
}

void WritePdf(const ImportResult& result, std::ostream& out) {
    DrawPdf(*result.net, MakePicture(*result.net, result.layout), out);
}

}  // namespace lumo
