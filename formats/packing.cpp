#include "formats/packing.h"

#include "formats/unpackers.h"

#include <algorithm>
#include <array>
#include <memory>

#include "formats/shared/start.h"

namespace lumo {
namespace {

using enum Unpacking::Outcome;

struct Codec {
    Packing packing;
    const char* name;
    OpenUnpacker* open;  ///< null where the program was built without it
};

constexpr Codec codecs[] = {
    {{"\x1f\x8b", ".gz", "zlib", "gunzip"}, "gzip", OpenGzip},
    {{"BZh", ".bz2", "libbz2", "bunzip2"}, "bzip2", OpenBzip2},
    {{"\xfd"
      "7zXZ",
      ".xz", "liblzma", "unxz"},
     "xz",
     OpenXz},
    {{"\x28\xb5\x2f\xfd", ".zst", "libzstd", "unzstd"}, "zstd", OpenZstd},
};

// Bytes of text that are unpacked: so many of any file, more as long as they are in proportion to
// it, and never more than the most.
constexpr long long anyText = 64LL << 20;
constexpr long long mostTimes = 250;
constexpr long long mostText = 1LL << 30;

long long LimitFor(long long packed) {
    return std::min(mostText, std::max(anyText, packed * mostTimes));
}

/// The packed bytes, a block at a time.
class Input {
public:
    explicit Input(const ByteSource& source) : source_(source) {}

    /// What is left of the block, or the next one; empty at the end.
    std::string_view& bytes() {
        if (left_.empty() && !ended_) {
            const std::size_t got = source_(block_.data(), block_.size());
            left_ = {block_.data(), got};
            ended_ = got == 0;
            taken_ += static_cast<long long>(got);
        }
        return left_;
    }
    long long taken() const { return taken_; }

    /// The bytes up to the end but for zeros in front, counted.
    long long countRest() {
        long long count = 0;
        while (!bytes().empty()) {
            if (count == 0)
                left_.remove_prefix(std::min(left_.find_first_not_of('\0'), left_.size()));
            count += std::ssize(left_);
            left_ = {};
        }
        return count;
    }

    /// Whether the bytes begin so; those after them must be in the block as well.
    bool beginsWith(std::string_view magic) {
        if (bytes().size() < magic.size() && !ended_) {
            std::copy(left_.begin(), left_.end(), block_.begin());
            std::size_t have = left_.size();
            while (have < magic.size() && !ended_) {
                const std::size_t got = source_(block_.data() + have, block_.size() - have);
                ended_ = got == 0;
                have += got;
                taken_ += static_cast<long long>(got);
            }
            left_ = {block_.data(), have};
        }
        return left_.starts_with(magic);
    }

private:
    const ByteSource& source_;
    std::array<char, 64 * 1024> block_;
    std::string_view left_;
    bool ended_ = false;
    long long taken_ = 0;
};

constexpr const char* tooMuch = "its text takes more memory than is allowed";

Unpacking Refused(std::string why) { return {refused, std::move(why)}; }

Unpacking Run(Unpacker& unpacker, std::string_view magic, const ByteSource& source,
              GrowingText& text, long long enough) {
    const auto input = std::make_unique<Input>(source);
    Unpacking result;
    const auto damage = [&](const char* what) {
        result.outcome = damaged;
        result.problem = what;
    };
    for (;;) {
        const long long have = std::ssize(text.text());
        if (have >= enough) break;
        std::string_view& bytes = input->bytes();
        const long long limit = LimitFor(input->taken());
        if (have > limit)
            return Refused("its text has more than " + std::to_string(limit) + " bytes");
        if (!text.makeRoom()) return Refused(tooMuch);
        const std::size_t before = bytes.size();
        const long long room = std::min(text.room(), limit + 1 - have);
        const auto [step, written] =
            unpacker.run(bytes, text.end(), static_cast<std::size_t>(room));
        text.extend(static_cast<long long>(written));
        if (step == Unpacker::Step::ended) {
            if (!magic.empty() && input->beginsWith(magic) && unpacker.restart()) continue;
            if (enough == LLONG_MAX && !magic.empty()) result.trailing = input->countRest();
            break;
        }
        if (step == Unpacker::Step::noMemory) return Refused("there is not enough memory for it");
        if (step == Unpacker::Step::damaged) {
            damage("its data are wrong");
            break;
        }
        if (written == 0 && bytes.size() == before && input->bytes().empty()) {
            damage("it breaks off");
            break;
        }
    }
    result.packed = input->taken();
    return result;
}

const Codec* CodecOf(std::string_view bytes) {
    const auto found = std::ranges::find_if(
        codecs, [bytes](const Codec& codec) { return bytes.starts_with(codec.packing.magic); });
    return found == std::end(codecs) ? nullptr : found;
}

}  // namespace

const Packing* PackingOf(std::string_view bytes) {
    const Codec* const codec = CodecOf(bytes);
    return codec == nullptr ? nullptr : &codec->packing;
}

std::string PackingsRead() {
    std::string names;
    for (const Codec& codec : codecs)
        if (codec.open() != nullptr) names += (names.empty() ? "" : ", ") + std::string(codec.name);
    return names;
}

std::string_view WithoutPacking(std::string_view fileName) {
    for (const Codec& codec : codecs) {
        const std::string_view extension = codec.packing.extension;
        if (fileName.size() > extension.size() &&
            Lower(fileName.substr(fileName.size() - extension.size())) == extension) {
            fileName.remove_suffix(extension.size());
            break;
        }
    }
    return fileName;
}

Unpacking Unpack(const Packing& packing, const ByteSource& source, GrowingText& text,
                 long long enough) {
    const Codec* const codec = CodecOf(packing.magic);
    const std::unique_ptr<Unpacker> unpacker = codec->open();
    if (unpacker == nullptr)
        return Refused(std::string("it needs ") + packing.library + ", which is not there; use " +
                       packing.tool);
    return Run(*unpacker, packing.magic, source, text, enough);
}

std::string UnpackStart(std::string_view bytes, std::size_t most) {
    const Packing* const packing = PackingOf(bytes);
    if (packing == nullptr) return {};
    const ByteSource source = [&bytes](char* out, std::size_t count) {
        count = bytes.copy(out, count);
        bytes.remove_prefix(count);
        return count;
    };
    GrowingText text("", static_cast<long long>(most));
    Unpack(*packing, source, text, static_cast<long long>(most));
    return std::string(text.text().substr(0, most));
}

Unpacking UnpackDeflated(const ByteSource& source, GrowingText& text, long long enough) {
    const std::unique_ptr<Unpacker> unpacker = OpenDeflated();
    if (unpacker == nullptr) return Refused("it needs zlib, which is not there; use unzip");
    return Run(*unpacker, {}, source, text, enough);
}

Unpacking CopyStored(const ByteSource& source, GrowingText& text, long long enough) {
    Unpacking result;
    while (std::ssize(text.text()) < enough) {
        if (!text.makeRoom()) return Refused(tooMuch);
        const std::size_t got = source(text.end(), static_cast<std::size_t>(text.room()));
        if (got == 0) break;
        text.extend(static_cast<long long>(got));
    }
    result.packed = std::ssize(text.text());
    return result;
}

}  // namespace lumo
