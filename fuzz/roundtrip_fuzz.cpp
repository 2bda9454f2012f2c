// Imports the bytes behind the first, which chooses the format, writes the net in every format that
// can be read and imports it again: what the writer does not announce as lost is the same, numbers
// but for one unit in the last place.
#include "fuzz/properties.h"
#include "tests/roundtrip.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    using namespace lumo;
    if (size == 0) return 0;
    ImportResult made;
    const FormatInfo& format = Formats()[*data % Formats().size()];
    made.net = fuzz::ImportSound(fuzz::View(data + 1, size - 1), format.code);
    if (made.net == nullptr) return 0;
    // Some bytes can name a million states, which take their time to write and read again.
    constexpr int mostStates = 20'000;
    for (const Bnode_bn* node : made.net->nodes)
        if (node->numStates() > mostStates) return 0;
    const test::Trip first(std::move(made));
    for (const FormatInfo& target : test::WrittenFormats())
        for (const std::string& fault : test::RoundTrip(first, target, "fuzz.net"))
            fuzz::Require(false, fault + " after writing " + target.name);
    return 0;
}
