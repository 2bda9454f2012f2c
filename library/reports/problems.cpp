// The problems of the utilities, as reports.
#include "library/utilities/problems.h"

#include <string>
#include <system_error>

#include "library/reports/messages.h"

namespace lumo {

namespace {

void FailedAssertion(const char* expression, const char* source, int line) {
    NewReport(msg::reports.failedAssertion, expression, source, line);
}

std::string ErrorText(int error) { return std::generic_category().message(error); }

void CannotOpenFile(const char* path, int error) {
    NewReport(msg::reports.cannotOpenFile, path, ErrorText(error).c_str());
}

void CannotReadFile(const char* path, int error) {
    NewReport(msg::reports.cannotReadFile, path, ErrorText(error).c_str());
}

void ZeroByte(const char* path, long long offset) {
    NewReport(msg::reports.zeroByte, offset, path);
}

void NoMemoryForFile(const char* path, long long bytes) {
    throw NewMemoryReport(msg::reports.outOfMemoryReading, static_cast<double>(bytes), path);
}

}  // namespace

constinit const UtilityProblems TellProblem = {FailedAssertion, CannotOpenFile, CannotReadFile,
                                               ZeroByte, NoMemoryForFile};

}  // namespace lumo
