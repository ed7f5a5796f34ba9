#pragma once
// Whether a file is a Windows program image before it is handed to the
// shell: for anything else the shell shows an error dialog of its own, which
// would stop an unattended run.
#include <cstdint>
#include <string>

namespace orvik::pkgui::preinstall {

// The offset of the PE header that an MS-DOS header of at least 64 bytes
// names, or -1 when `dosHeader` does not start with "MZ".
std::int64_t PeHeaderOffset(const std::string& dosHeader);

// True when `file` starts with an MS-DOS header whose PE header offset holds
// the signature "PE\0\0". A file that cannot be read is not a program.
bool IsProgramImage(const std::wstring& file);

}  // namespace orvik::pkgui::preinstall
