#pragma once
#include <string>

namespace orvik::pkgshared {

// How a caller wants a file-system report handled.
enum class ReportMode {
    Log,   // written to the log only
    Show,  // shown to the user as well
};

// Receives the report texts of the path utilities.
class IPathReporter {
public:
    virtual ~IPathReporter() = default;
    virtual void Report(ReportMode mode, const std::wstring& text) = 0;
};

}  // namespace orvik::pkgshared
