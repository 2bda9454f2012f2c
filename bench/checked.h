// An import to be measured, without the library of benchmarks, which a fresh process is to do
// without.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>

#include "formats/ForeignFile.h"

namespace lumo::bench {

/// Says nothing, so that only reading is measured.
class Silent : public ReportHandler {
public:
    void show(const rept_kt& report) override { errors += report.severity > SeverityWarning; }
    void print(const char*) override {}
    bool ask(int, const char*) override { return false; }
    void waitBegin(const char*) override {}
    void waitEnd(const char*) override {}
    int errors = 0;
};

/// Seconds of the processor that the process has taken, which do not count what others take.
inline double ProcessorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// Runs an import; a result without nodes or with errors is no measurement.
inline OwnedNet Checked(const std::function<Bnet_bn*()>& import) {
    Silent handler;
    HandlerScope scope(handler);
    OwnedNet net(import());
    if (net == nullptr || net->nodes.N == 0 || handler.errors != 0) {
        std::fprintf(stderr, "the generated file does not import\n");
        std::exit(1);
    }
    return net;
}

}  // namespace lumo::bench
