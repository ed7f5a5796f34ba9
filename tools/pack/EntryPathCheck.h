#pragma once
// Whether payload entries would land outside the folder they are unpacked
// into, or cannot be unpacked on Windows as they are. Pure logic: names as
// the archive stores them, either separator.
#include <optional>
#include <string>
#include <vector>

#include "shared/ArchiveManager.h"

namespace orvik::tools::pack {

// Why `entry` would be written outside the extraction folder, or nothing:
// an absolute name (a leading separator, a drive letter, a UNC prefix), a
// ".." component that climbs above the folder, a symbolic link whose target
// is absolute or climbs out from the link's own folder, or a hard link to
// such a name.
std::optional<std::wstring> EscapeReason(const pkgshared::ArchiveEntryInfo& entry);

// Every problem of `entries` (all of an archive, in its order), each "NAME:
// reason", in archive order: per entry its EscapeReason or else its name's
// (EntryNameRules::NameReason), then what it does to the entries before it
// (EntryNameRules::Add). Empty when the payload unpacks as it is.
std::vector<std::wstring> EntryProblems(const std::vector<pkgshared::ArchiveEntryInfo>& entries);

}  // namespace orvik::tools::pack
