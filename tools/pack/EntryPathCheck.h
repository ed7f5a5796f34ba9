#pragma once
// Whether a payload entry would land outside the folder it is unpacked into.
// Pure logic: names as the archive stores them, either separator.
#include <optional>
#include <string>

#include "shared/ArchiveManager.h"

namespace orvik::tools::pack {

// Why `entry` would be written outside the extraction folder, or nothing:
// an absolute name (a leading separator, a drive letter, a UNC prefix), a
// ".." component that climbs above the folder, a symbolic link whose target
// is absolute or climbs out from the link's own folder, or a hard link to
// such a name.
std::optional<std::wstring> EscapeReason(const pkgshared::ArchiveEntryInfo& entry);

}  // namespace orvik::tools::pack
