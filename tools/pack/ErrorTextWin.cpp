#include <windows.h>

#include "ErrorText.h"

namespace orvik::tools::pack {

bool MayBeDiskFull(unsigned long code) {
    return code == 0 || code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL;
}

}  // namespace orvik::tools::pack
