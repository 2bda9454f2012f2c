// The problems of the utilities, as reports.
#include "library/utilities/problems.h"

#include <string>
#include <system_error>

#include "library/reports/reports.h"

namespace lumo {

namespace {

void FailedAssertion(const char* expression, const char* source, int line) {
    newwarn_kt(num::failedAssertion, "internal check failed: %s (%s, line %d)", expression, source,
               line);
}

std::string ErrorText(int error) { return std::generic_category().message(error); }

void CannotOpenFile(const char* path, int error) {
    newnotice_kt(num::cannotOpenFile, "cannot open '%s': %s", path, ErrorText(error).c_str());
}

void CannotReadFile(const char* path, int error) {
    newnotice_kt(num::cannotReadFile, "cannot read '%s': %s", path, ErrorText(error).c_str());
}

void ZeroByte(const char* path, long long offset) {
    newwarn_kt(num::zeroByte, "zero byte at offset %lld; '%s' is read only up to there", offset,
               path);
}

void NoMemoryForFile(const char* path, long long bytes) {
    throw newerr_mem_kt(num::outOfMemory, static_cast<double>(bytes), "reading '%s'", path);
}

}  // namespace

constinit const UtilityProblems TellProblem = {FailedAssertion, CannotOpenFile, CannotReadFile,
                                               ZeroByte, NoMemoryForFile};

}  // namespace lumo
