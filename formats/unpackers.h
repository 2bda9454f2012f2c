// The libraries that unpack, behind one interface; for packing.cpp alone.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace lumo {

class Unpacker {
public:
    enum class Step : unsigned char { more, ended, damaged, noMemory };
    struct Result {
        Step step;
        std::size_t written;
    };

    virtual ~Unpacker() = default;
    /// Unpacks from the start of the bytes, which it removes, into the room.
    virtual Result run(std::string_view& bytes, char* out, std::size_t room) = 0;
    /// Begins with a next text; false when it cannot.
    virtual bool restart() = 0;
};

/// Null when the library is not there, or the program was built without it.
using OpenUnpacker = std::unique_ptr<Unpacker>();
OpenUnpacker OpenGzip, OpenDeflated, OpenBzip2, OpenXz, OpenZstd;

}  // namespace lumo
