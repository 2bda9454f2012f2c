#include "app/gzip.h"

#ifdef LUMO_HAS_ZLIB
#include <zlib.h>
#endif

#include <algorithm>

#include "library/utilities/system.h"

namespace lumo::app {

bool IsPacked(std::string_view bytes) { return bytes.starts_with("\x1f\x8b"); }

#ifndef LUMO_HAS_ZLIB

Unpacked Unpack(std::string_view, std::size_t) {
    return {Unpacked::Outcome::refused, {}, "this program was built without zlib; use gunzip", 0};
}

#else

namespace {

constexpr std::size_t step = 256 * 1024;

// Bytes of text that are unpacked: so many of any file, more as long as they are in proportion to
// it, and never more than the most.
constexpr std::size_t anyText = std::size_t{64} << 20;
constexpr std::size_t mostTimes = 250;
constexpr std::size_t mostText = std::size_t{1} << 30;

std::size_t LimitFor(std::size_t bytes) {
    if (bytes > mostText / mostTimes) return mostText;
    return std::max(anyText, bytes * mostTimes);
}

/// The functions of zlib.
struct Library {
    bool complete = false;
    decltype(&::inflateInit2_) begin = nullptr;
    decltype(&::inflate) unpack = nullptr;
    decltype(&::inflateReset) again = nullptr;
    decltype(&::inflateEnd) end = nullptr;
};

#ifdef LUMO_LINKS_ZLIB

Library Load() { return {true, ::inflateInit2_, ::inflate, ::inflateReset, ::inflateEnd}; }

#else

#ifdef __APPLE__
constexpr const char* libraryName = "libz.1.dylib";
#else
constexpr const char* libraryName = "libz.so.1";
#endif

/// Most files are not compressed, and linking zlib would cost them time.
Library Load() {
    const system::Library zlib(libraryName);
    Library found;
    found.complete = zlib.find(found.begin, "inflateInit2_") &&
                     zlib.find(found.unpack, "inflate") && zlib.find(found.again, "inflateReset") &&
                     zlib.find(found.end, "inflateEnd");
    return found;
}

#endif

const Library& Loaded() {
    static const Library library = Load();
    return library;
}

/// Unpacks bytes piece by piece.
class Inflater {
public:
    explicit Inflater(std::string_view bytes) : bytes_(bytes) {
        constexpr int onlyGzip = 16;
        // zlib leaves the bytes alone, though it does not say so.
        stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
        begun_ = lib_.begin(&stream_, MAX_WBITS + onlyGzip, ZLIB_VERSION, sizeof stream_) == Z_OK;
    }
    ~Inflater() {
        if (begun_) lib_.end(&stream_);
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    /// Appends the next piece of text; returns what zlib does.
    int appendTo(std::string& text) {
        if (!begun_) return Z_MEM_ERROR;
        const std::size_t have = text.size();
        text.resize(have + step);
        stream_.avail_in = static_cast<uInt>(std::min<std::size_t>(rest().size(), 1U << 30));
        stream_.next_out = reinterpret_cast<Bytef*>(text.data() + have);
        stream_.avail_out = step;
        const int status = lib_.unpack(&stream_, Z_NO_FLUSH);
        text.resize(have + step - stream_.avail_out);
        return status;
    }
    std::string_view rest() const {
        const auto used = reinterpret_cast<const char*>(stream_.next_in) - bytes_.data();
        return bytes_.substr(static_cast<std::size_t>(used));
    }
    void startNext() { lib_.again(&stream_); }

private:
    const Library& lib_ = Loaded();
    const std::string_view bytes_;
    z_stream stream_{};
    bool begun_ = false;
};

}  // namespace

Unpacked Unpack(std::string_view bytes, std::size_t enough) {
    using enum Unpacked::Outcome;
    if (!Loaded().complete)
        return {refused, {}, "it needs zlib, which is not there; use gunzip", 0};
    const std::size_t limit = LimitFor(bytes.size());
    Inflater inflater(bytes);
    Unpacked unpacked;
    while (unpacked.text.size() < enough) {
        const int status = inflater.appendTo(unpacked.text);
        if (unpacked.text.size() > limit)
            return {refused, {}, "its text has more than " + std::to_string(limit) + " bytes", 0};
        if (status == Z_STREAM_END) {
            if (IsPacked(inflater.rest())) {
                inflater.startNext();
                continue;
            }
            const std::size_t zeros = inflater.rest().find_first_not_of('\0');
            if (zeros != std::string_view::npos) unpacked.trailing = inflater.rest().size() - zeros;
            break;
        }
        if (status == Z_OK) continue;
        unpacked.outcome = damaged;
        unpacked.problem = status == Z_BUF_ERROR ? "it breaks off" : "its data are wrong";
        break;
    }
    return unpacked;
}

#endif

}  // namespace lumo::app
