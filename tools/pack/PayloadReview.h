#pragma once
// Whether a payload's entries make an installer that can run. Pure logic.
#include <string>
#include <vector>

#include "shared/ArchiveManager.h"

namespace orvik::tools::pack {

struct PayloadReview {
    // Each keeps every installer made from the payload from working, in
    // words a release engineer can act on; in archive order, after what
    // concerns Install.exe.
    std::vector<std::wstring> problems;
    bool carriesSuite = false;  // a suite.dat at the root
};

// Whether the entry `name` (as the archive stores it) is `file` at the
// payload's root, whatever its case; `file` is lower case.
bool IsRootFile(const std::wstring& name, const wchar_t* file);

// Whether `head`, the first bytes of a file, starts with a Windows program's
// headers: "MZ", and "PE\0\0" where the MZ header points.
bool IsWindowsProgram(const std::string& head);

// Reviews `entries`, read with the first bytes of the root Install.exe: at
// least one entry, Install.exe at the root as a regular file that is a
// Windows program, and every entry unpacking on Windows inside the folder.
PayloadReview ReviewPayload(const std::vector<pkgshared::ArchiveEntryInfo>& entries);

}  // namespace orvik::tools::pack
