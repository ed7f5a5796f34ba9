#pragma once

namespace orvik::pkgshared::osutils {

// True when the process token reports elevation; false when it does not or
// when that cannot be told.
bool IsElevated();

}  // namespace orvik::pkgshared::osutils
