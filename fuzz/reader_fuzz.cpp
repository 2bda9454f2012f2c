// Imports the bytes as the format of the target, strictly and leniently: no crash, and a net that
// is sound.
#include "formats/detect.h"
#include "fuzz/properties.h"

extern const char* const readerName;  // in a file of its own, so that this one is compiled once

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const int code = lumo::FindFormat(readerName)->code;
    for (const bool leniently : {false, true})
        lumo::fuzz::ImportSound(lumo::fuzz::View(data, size), code, leniently);
    return 0;
}
