#pragma once
#include <cstdint>
#include <ostream>
#include <string>

#include "shared/SystemInfo/ISystemInformation.h"

namespace orvik::sysinfo {

// Writes the machine summary section by section: operating system, memory,
// free space of `systemDrive`, the user's and the system's locale, the antivirus,
// antispyware and firewall lists with their status, and the update titles of
// the last 24 hours. A section that fails prints its error text (from the
// catalog in `language` for the system's own errors) and the next section
// follows. Returns true when every section succeeded.
bool WriteSystemSummary(OrvikPkg::SystemInfo::ISystemInformation& information,
                        const std::wstring& systemDrive, std::uint16_t language,
                        std::wostream& out);

// "loaded", "not available ..." or "... not running" for a list's status.
std::wstring SecurityStatusText(std::uint32_t status);

}  // namespace orvik::sysinfo
