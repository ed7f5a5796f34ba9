#pragma once
// File-system services that never throw: failures become report texts.
#include <boost/filesystem/path.hpp>
#include <boost/system/error_code.hpp>

#include "shared/utils/PathReporter.h"

namespace orvik::pkgshared::pathutils {

// "<utility>: Boost file system function '<function>' returned error code
// '<value>' for path '<path>'. Error message: <system message>"
std::wstring FormatFileSystemReport(const wchar_t* utility, const wchar_t* function,
                                    const boost::system::error_code& error,
                                    const boost::filesystem::path& path);

// Adds write permission for owner, group and others to `path`. A failure is
// reported to `reporter`; nothing is thrown.
void MakeWriteable(const boost::filesystem::path& path, IPathReporter& reporter,
                   ReportMode mode = ReportMode::Log);

// Deletes a file or a whole directory tree, read-only entries included: every
// entry is made writeable first. An empty or missing path does nothing.
// Failures are reported and the work goes on; nothing is thrown.
void DeleteEntirePath(const boost::filesystem::path& path, IPathReporter& reporter,
                      ReportMode mode = ReportMode::Log);

}  // namespace orvik::pkgshared::pathutils
