// Most files are not compressed, and linking the libraries would cost them time: they are loaded
// when a file needs them.
#include "formats/unpackers.h"

#ifdef LUMO_HAS_ZLIB
#include <zlib.h>
#endif
#ifdef LUMO_HAS_BZIP2
#include <bzlib.h>
#endif
#ifdef LUMO_HAS_LZMA
#include <lzma.h>
#endif
#ifdef LUMO_HAS_ZSTD
#include <zstd.h>
#endif

#include <algorithm>
#include <climits>

#include "library/utilities/system.h"

namespace lumo {
namespace {

using enum Unpacker::Step;

// A library's name, by its name on Linux and the number of its interface.
#if defined(_WIN32)
#define LUMO_LIBRARY(name, number) name ".dll"
#elif defined(__APPLE__)
#define LUMO_LIBRARY(name, number) "lib" name "." number ".dylib"
#else
#define LUMO_LIBRARY(name, number) "lib" name ".so." number
#endif

/// Calls a library that works on a stream with the fields of zlib's, with its Status.
template <class Stream, class Call>
auto RunStream(Stream& stream, std::string_view& bytes, char* out, std::size_t room, Call call,
               std::size_t& written) {
    const std::size_t given = std::min<std::size_t>(bytes.size(), INT_MAX);
    const std::size_t wanted = std::min<std::size_t>(room, INT_MAX);
    // The libraries leave the bytes alone, though not all say so.
    stream.next_in = reinterpret_cast<decltype(stream.next_in)>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<decltype(stream.avail_in)>(given);
    stream.next_out = reinterpret_cast<decltype(stream.next_out)>(out);
    stream.avail_out = static_cast<decltype(stream.avail_out)>(wanted);
    const auto status = call();
    bytes.remove_prefix(given - stream.avail_in);
    written = wanted - stream.avail_out;
    return status;
}

#ifdef LUMO_HAS_ZLIB

struct Zlib {
    bool complete = false;
    decltype(&::inflateInit2_) begin = nullptr;
    decltype(&::inflate) unpack = nullptr;
    decltype(&::inflateReset) again = nullptr;
    decltype(&::inflateEnd) end = nullptr;

    static const Zlib& get() {
        static const Zlib zlib = load();
        return zlib;
    }

private:
    static Zlib load() {
#ifdef LUMO_LINKS_ZLIB
        return {true, ::inflateInit2_, ::inflate, ::inflateReset, ::inflateEnd};
#else
#ifdef _WIN32
        const system::Library library("zlib1.dll");
#else
        const system::Library library(LUMO_LIBRARY("z", "1"));
#endif
        Zlib zlib;
        zlib.complete =
            library.find(zlib.begin, "inflateInit2_") && library.find(zlib.unpack, "inflate") &&
            library.find(zlib.again, "inflateReset") && library.find(zlib.end, "inflateEnd");
        return zlib;
#endif
    }
};

class Inflater : public Unpacker {
public:
    explicit Inflater(int windowBits) {
        begun_ = lib_.begin(&stream_, windowBits, ZLIB_VERSION, sizeof stream_) == Z_OK;
    }
    ~Inflater() override {
        if (begun_) lib_.end(&stream_);
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    Result run(std::string_view& bytes, char* out, std::size_t room) override {
        std::size_t written = 0;
        if (!begun_) return {noMemory, 0};
        const int status = RunStream(
            stream_, bytes, out, room, [this] { return lib_.unpack(&stream_, Z_NO_FLUSH); },
            written);
        if (status == Z_STREAM_END) return {ended, written};
        if (status == Z_MEM_ERROR) return {noMemory, written};
        return {status == Z_OK || status == Z_BUF_ERROR ? more : damaged, written};
    }
    bool restart() override { return lib_.again(&stream_) == Z_OK; }

private:
    const Zlib& lib_ = Zlib::get();
    z_stream stream_{};
    bool begun_ = false;
};

#endif
#ifdef LUMO_HAS_BZIP2

struct Bzip2 {
    decltype(&::BZ2_bzDecompressInit) begin = nullptr;
    decltype(&::BZ2_bzDecompress) unpack = nullptr;
    decltype(&::BZ2_bzDecompressEnd) end = nullptr;
    const system::Library library{LUMO_LIBRARY("bz2", "1.0")};
    const bool complete = library.find(begin, "BZ2_bzDecompressInit") &&
                          library.find(unpack, "BZ2_bzDecompress") &&
                          library.find(end, "BZ2_bzDecompressEnd");

    static const Bzip2& get() {
        static const Bzip2 bzip2;
        return bzip2;
    }
};

class Bunzipper : public Unpacker {
public:
    Bunzipper() { begin(); }
    ~Bunzipper() override { end(); }
    Bunzipper(const Bunzipper&) = delete;
    Bunzipper& operator=(const Bunzipper&) = delete;

    Result run(std::string_view& bytes, char* out, std::size_t room) override {
        std::size_t written = 0;
        if (!begun_) return {noMemory, 0};
        const int status = RunStream(
            stream_, bytes, out, room, [this] { return lib_.unpack(&stream_); }, written);
        if (status == BZ_STREAM_END) return {ended, written};
        if (status == BZ_MEM_ERROR) return {noMemory, written};
        return {status == BZ_OK ? more : damaged, written};
    }
    bool restart() override {
        end();
        begin();
        return begun_;
    }

private:
    void begin() {
        stream_ = {};
        begun_ = lib_.begin(&stream_, 0, 0) == BZ_OK;
    }
    void end() {
        if (begun_) lib_.end(&stream_);
        begun_ = false;
    }
    const Bzip2& lib_ = Bzip2::get();
    bz_stream stream_{};
    bool begun_ = false;
};

#endif
#ifdef LUMO_HAS_LZMA

struct Lzma {
    decltype(&::lzma_stream_decoder) begin = nullptr;
    decltype(&::lzma_code) unpack = nullptr;
    decltype(&::lzma_end) end = nullptr;
    const system::Library library{LUMO_LIBRARY("lzma", "5")};
    const bool complete = library.find(begin, "lzma_stream_decoder") &&
                          library.find(unpack, "lzma_code") && library.find(end, "lzma_end");

    static const Lzma& get() {
        static const Lzma lzma;
        return lzma;
    }
};

class Unxzer : public Unpacker {
public:
    Unxzer() { restart(); }
    ~Unxzer() override { lib_.end(&stream_); }
    Unxzer(const Unxzer&) = delete;
    Unxzer& operator=(const Unxzer&) = delete;

    Result run(std::string_view& bytes, char* out, std::size_t room) override {
        std::size_t written = 0;
        if (!begun_) return {noMemory, 0};
        const lzma_ret status = RunStream(
            stream_, bytes, out, room, [this] { return lib_.unpack(&stream_, LZMA_RUN); }, written);
        if (status == LZMA_STREAM_END) return {ended, written};
        if (status == LZMA_MEM_ERROR || status == LZMA_MEMLIMIT_ERROR) return {noMemory, written};
        return {status == LZMA_OK || status == LZMA_BUF_ERROR ? more : damaged, written};
    }
    bool restart() override {
        constexpr std::uint64_t mostMemory = 128 << 20;  // for its dictionary
        begun_ = lib_.begin(&stream_, mostMemory, 0) == LZMA_OK;
        return begun_;
    }

private:
    const Lzma& lib_ = Lzma::get();
    lzma_stream stream_ = LZMA_STREAM_INIT;
    bool begun_ = false;
};

#endif
#ifdef LUMO_HAS_ZSTD

struct Zstd {
    decltype(&::ZSTD_createDStream) make = nullptr;
    decltype(&::ZSTD_initDStream) begin = nullptr;
    decltype(&::ZSTD_decompressStream) unpack = nullptr;
    decltype(&::ZSTD_freeDStream) end = nullptr;
    decltype(&::ZSTD_isError) failed = nullptr;
    const system::Library library{LUMO_LIBRARY("zstd", "1")};
    const bool complete =
        library.find(make, "ZSTD_createDStream") && library.find(begin, "ZSTD_initDStream") &&
        library.find(unpack, "ZSTD_decompressStream") && library.find(end, "ZSTD_freeDStream") &&
        library.find(failed, "ZSTD_isError");

    static const Zstd& get() {
        static const Zstd zstd;
        return zstd;
    }
};

class Unzstder : public Unpacker {
public:
    Unzstder() : stream_(lib_.make()) { restart(); }
    ~Unzstder() override { lib_.end(stream_); }
    Unzstder(const Unzstder&) = delete;
    Unzstder& operator=(const Unzstder&) = delete;

    Result run(std::string_view& bytes, char* out, std::size_t room) override {
        if (stream_ == nullptr) return {noMemory, 0};
        ZSTD_outBuffer to{out, room, 0};
        ZSTD_inBuffer from{bytes.data(), bytes.size(), 0};
        const std::size_t status = lib_.unpack(stream_, &to, &from);
        bytes.remove_prefix(from.pos);
        if (lib_.failed(status) != 0) return {damaged, to.pos};
        return {status == 0 ? ended : more, to.pos};
    }
    bool restart() override { return stream_ != nullptr && lib_.failed(lib_.begin(stream_)) == 0; }

private:
    const Zstd& lib_ = Zstd::get();
    ZSTD_DStream* stream_;
};

#endif

template <class UNPACKER, class LIBRARY, class... ARGS>
std::unique_ptr<Unpacker> OpenIf(const LIBRARY& library, ARGS... arguments) {
    if (!library.complete) return nullptr;
    return std::make_unique<UNPACKER>(arguments...);
}

}  // namespace

#ifdef LUMO_HAS_ZLIB
constexpr int onlyGzip = 16;
std::unique_ptr<Unpacker> OpenGzip() { return OpenIf<Inflater>(Zlib::get(), MAX_WBITS + onlyGzip); }
std::unique_ptr<Unpacker> OpenDeflated() { return OpenIf<Inflater>(Zlib::get(), -MAX_WBITS); }
#else
std::unique_ptr<Unpacker> OpenGzip() { return nullptr; }
std::unique_ptr<Unpacker> OpenDeflated() { return nullptr; }
#endif
#ifdef LUMO_HAS_BZIP2
std::unique_ptr<Unpacker> OpenBzip2() { return OpenIf<Bunzipper>(Bzip2::get()); }
#else
std::unique_ptr<Unpacker> OpenBzip2() { return nullptr; }
#endif
#ifdef LUMO_HAS_LZMA
std::unique_ptr<Unpacker> OpenXz() { return OpenIf<Unxzer>(Lzma::get()); }
#else
std::unique_ptr<Unpacker> OpenXz() { return nullptr; }
#endif
#ifdef LUMO_HAS_ZSTD
std::unique_ptr<Unpacker> OpenZstd() { return OpenIf<Unzstder>(Zstd::get()); }
#else
std::unique_ptr<Unpacker> OpenZstd() { return nullptr; }
#endif

}  // namespace lumo
