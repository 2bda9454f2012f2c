#include "export/image.h"

#ifndef LUMO_HAS_RSVG

namespace lumo {

const char* ImagesUnavailable() {
    return "PNG and PDF need librsvg, which this program was built without: install librsvg2-dev, "
           "configure with -DLUMO_IMAGES=ON and build it anew, or convert to svg";
}

void WritePng(const ImportResult&, std::ostream&) {}
void WritePdf(const ImportResult&, std::ostream&) {}

}  // namespace lumo

#else

#include <cairo-pdf.h>
#include <librsvg/rsvg.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "export/picture.h"
#include "export/svg.h"
#include "library/utilities/system.h"

namespace lumo {
namespace {

constexpr double dotsPerPixel = 2;
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

/// The net's SVG picture, to be drawn onto surfaces.
class SvgPicture {
public:
    explicit SvgPicture(const ImportResult& result) {
        std::ostringstream out;
        WriteSvg(result, out);
        text_ = std::move(out).str();
        const Libraries& lib = Loaded();
        const Object stream(
            lib.memoryStream(text_.data(), static_cast<gssize>(text_.size()), nullptr),
            lib.freeObject);
        handle_.reset(lib.loadSvg(static_cast<GInputStream*>(stream.get()), nullptr,
                                  RSVG_HANDLE_FLAG_UNLIMITED, nullptr, &error_));
        if (handle_ == nullptr) fail();
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

}  // namespace

const char* ImagesUnavailable() {
    return Loaded().complete ? nullptr
                             : "PNG and PDF need librsvg, which is not there: install librsvg2-2, "
                               "or convert to svg";
}

void WritePng(const ImportResult& result, std::ostream& out) {
    const Libraries& lib = Loaded();
    SvgPicture picture(result);
    const Point size = picture.size();
    const double scale = std::min({dotsPerPixel, longestSide / std::max(size.x, size.y),
                                   std::sqrt(mostDots / (size.x * size.y))});
    const Point dots{std::max(1.0, std::round(size.x * scale)),
                     std::max(1.0, std::round(size.y * scale))};
    const Surface surface(
        lib.newImage(CAIRO_FORMAT_RGB24, static_cast<int>(dots.x), static_cast<int>(dots.y)),
        lib.freeSurface);
    picture.onto(surface, dots);
    lib.writePng(surface.get(), Write, &out);
}

void WritePdf(const ImportResult& result, std::ostream& out) {
    const Libraries& lib = Loaded();
    SvgPicture picture(result);
    const Point size = picture.size();
    const double scale = std::min(pointsPerPixel, longestPage / std::max(size.x, size.y));
    const Point page{size.x * scale, size.y * scale};
    const Surface surface(lib.newPdf(Write, &out, page.x, page.y), lib.freeSurface);
    lib.setPdfText(surface.get(), CAIRO_PDF_METADATA_CREATE_DATE, "1970-01-01T00:00:00Z");
    picture.onto(surface, page);
    lib.finish(surface.get());
}

}  // namespace lumo

#endif
