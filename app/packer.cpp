#include "app/packer.h"

#ifdef LUMO_HAS_ZLIB
#include <zlib.h>
#endif

#include <array>
#include <memory>
#include <new>
#include <ostream>
#include <streambuf>

#include "library/utilities/system.h"

namespace lumo::app {

bool IsNamedPacked(const std::string& path) { return path.ends_with(".gz"); }

#ifdef LUMO_HAS_ZLIB

namespace {

/// What is used of zlib, which is loaded when it is needed, as for reading.
struct Deflater {
    decltype(&::deflateInit2_) begin = nullptr;
    decltype(&::deflate) pack = nullptr;
    decltype(&::deflateEnd) end = nullptr;
    bool complete = false;

    static const Deflater& get() {
        static const Deflater deflater;
        return deflater;
    }

private:
    Deflater() {
#ifdef LUMO_LINKS_ZLIB
        begin = ::deflateInit2_;
        pack = ::deflate;
        end = ::deflateEnd;
        complete = true;
#else
#if defined(_WIN32)
        const system::Library library("zlib1.dll");
#elif defined(__APPLE__)
        const system::Library library("libz.1.dylib");
#else
        const system::Library library("libz.so.1");
#endif
        complete = library.find(begin, "deflateInit2_") && library.find(pack, "deflate") &&
                   library.find(end, "deflateEnd");
#endif
    }
};

/// Hands what is written into it on to a stream, compressed.
class PackingBuffer : public std::streambuf {
public:
    explicit PackingBuffer(std::ostream& out) : out_(out) {
        constexpr int gzip = 15 + 16, memory = 8;
        if (Deflater::get().begin(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzip, memory,
                                  Z_DEFAULT_STRATEGY, ZLIB_VERSION, sizeof stream_) != Z_OK)
            throw std::bad_alloc();
        setp(plain_.data(), plain_.data() + plain_.size());
    }
    ~PackingBuffer() override { Deflater::get().end(&stream_); }
    PackingBuffer(const PackingBuffer&) = delete;
    PackingBuffer& operator=(const PackingBuffer&) = delete;

    void finish() { pack(Z_FINISH); }

protected:
    int_type overflow(int_type c) override {
        pack(Z_NO_FLUSH);
        if (!traits_type::eq_int_type(c, traits_type::eof())) sputc(traits_type::to_char_type(c));
        return out_ ? traits_type::not_eof(c) : traits_type::eof();
    }

private:
    void pack(int flush) {
        stream_.next_in = reinterpret_cast<Bytef*>(pbase());
        stream_.avail_in = static_cast<uInt>(pptr() - pbase());
        do {
            stream_.next_out = packed_.data();
            stream_.avail_out = static_cast<uInt>(packed_.size());
            Deflater::get().pack(&stream_, flush);
            out_.write(reinterpret_cast<const char*>(packed_.data()),
                       static_cast<std::streamsize>(packed_.size() - stream_.avail_out));
        } while (stream_.avail_out == 0 && out_);
        setp(plain_.data(), plain_.data() + plain_.size());
    }

    std::ostream& out_;
    z_stream stream_{};
    std::array<char, 64 * 1024> plain_;
    std::array<Bytef, 64 * 1024> packed_;
};

}  // namespace

const char* WhyNotPacked() {
    return Deflater::get().complete ? nullptr : "zlib is not found, which compresses";
}

WriteFunction Packed(const WriteFunction& write) {
    return [write](std::ostream& out) {
        const auto buffer = std::make_unique<PackingBuffer>(out);
        std::ostream packed(buffer.get());
        write(packed);
        buffer->finish();
    };
}

#else

const char* WhyNotPacked() { return "this program was built without zlib, which compresses"; }
WriteFunction Packed(const WriteFunction& write) { return write; }

#endif

}  // namespace lumo::app
