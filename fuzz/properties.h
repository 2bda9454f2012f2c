// What every fuzz target shares: an import whose result is checked, and stopping at what is wrong.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "formats/ForeignFile.h"
#include "tests/consistency.h"

namespace lumo::fuzz {

/// Ends the run where the fuzzer sees it.
inline void Require(bool holds, const std::string& what) {
    if (holds) return;
    std::fprintf(stderr, "violated: %s\n", what.c_str());
    std::abort();
}

/// Requires a place of every report that speaks of one.
class PlaceChecker : public ReportHandler {
public:
    void show(const rept_kt& report) override {
        ++shown;
        const std::string text = std::to_string(report.number) + " " + report.message;
        Require(test::IsClosing(report.number) || report.offset < 0 || report.line > 0,
                "line of " + text);
        Require(report.severity < SeverityFatal, "no fatal report, but " + text);
    }
    void print(const char*) override {}
    bool ask(int, const char*) override { return shown % 2 == 0; }
    void waitBegin(const char*) override {}
    void waitEnd(const char*) override {}

    int shown = 0;
};

/// Imports the bytes; the net, if there is one, is sound.
inline OwnedNet ImportSound(std::string_view bytes, int format, bool leniently = false) {
    PlaceChecker handler;
    const HandlerScope scope(handler);
    ReadOptions options;
    options.lenient = options.normalize = leniently;
    OwnedNet net(ReadForeignNetText(bytes, "fuzz.net", format, options));
    Require(net != nullptr || handler.shown > 0, "a report when there is no net");
    if (net != nullptr) {
        const std::string fault = test::FaultOf(*net);
        Require(fault.empty(), fault);
    }
    return net;
}

inline std::string_view View(const unsigned char* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

}  // namespace lumo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size);
