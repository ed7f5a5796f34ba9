#pragma once
#include <windows.h>

#include <boost/filesystem/path.hpp>
#include "shared/utils/WinResources.h"

namespace orvik::testing {
// Opens `file` without sharing: until the handle goes away nobody else can open, write or delete
// it (a read-only attribute does not stop a process running as root under Wine).
inline pkgshared::UniqueHandle HoldWithoutSharing(const boost::filesystem::path& file) {
    return pkgshared::UniqueHandle(::CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                                 nullptr, OPEN_EXISTING, 0, nullptr));
}
}  // namespace orvik::testing
