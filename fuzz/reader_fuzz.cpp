// Imports the bytes as the format LUMO_FUZZ_FORMAT, strictly and leniently: no crash, and a net
// that is sound.
#include "fuzz/properties.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    for (const bool leniently : {false, true})
        lumo::fuzz::ImportSound(lumo::fuzz::View(data, size), lumo::LUMO_FUZZ_FORMAT, leniently);
    return 0;
}
