// Imports one file in a process of its own, as a user's program does. Prints the nanoseconds of the
// processor that it takes, the process's peak of memory in bytes, the net's nodes, and the bytes of
// its tables.
//
// usage: import_once FILE FORMAT
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "bench/checked.h"
#include "formats/formats.h"

namespace {

/// The most memory that the process held at once. (getrusage tells that of its parent, if more.)
long long PeakBytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:")) return 1024 * std::atoll(line.c_str() + 6);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace lumo;
    const double start = bench::ProcessorSeconds();
    const FormatInfo* const format = argc == 3 ? FindFormat(argv[2]) : nullptr;
    if (format == nullptr) return 64;
    const char* const path = argv[1];
    const OwnedNet net =
        bench::Checked([&] { return ReadForeignNetFile_kt(path, format->code, false); });
    const double time = 1e9 * (bench::ProcessorSeconds() - start);
    const long long peak = PeakBytes();
    long long tables = 0;
    for (const Bnode_bn* node : net->nodes)
        tables += NumProduct(node->family) * ((node->relation.probs != nullptr ? 4LL : 0) +
                                              (node->relation.exact != nullptr ? 8LL : 0));
    std::printf("%.0f %lld %d %lld\n", time, peak, net->nodes.N, tables);
    return 0;
}
