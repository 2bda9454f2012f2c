// What the utilities have to tell but cannot show themselves. The reports, which stand above them,
// supply the functions; a constant, so that also what runs before main can fail.
#pragma once

namespace lumo {

struct UtilityProblems {
    void (*failedAssertion)(const char* expression, const char* source, int line);
    void (*cannotOpenFile)(const char* path, int error);  ///< an errno value
    void (*cannotReadFile)(const char* path, int error);
    void (*zeroByte)(const char* path, long long offset);
    /// Does not return: throws what the application takes for an out-of-memory report.
    void (*noMemoryForFile)(const char* path, long long bytes);
};

extern const UtilityProblems TellProblem;

}  // namespace lumo
