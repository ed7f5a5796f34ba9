#pragma once
#include "shared/Version.h"
#include "shared/utils/FilePath.h"

namespace orvik::pkgshared {

// Reads the fixed file version of `file` as "major.minor.build.revision"
// into `version`. When the file has no version information, or any step
// fails, `version` keeps what it held. Returns whether it was set.
bool ReadFileVersion(const FilePath& file, Version& version);

}  // namespace orvik::pkgshared
