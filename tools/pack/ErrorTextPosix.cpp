#include <cerrno>

#include "ErrorText.h"

namespace orvik::tools::pack {

bool MayBeDiskFull(unsigned long code) {
    return code == 0 || code == ENOSPC || code == EDQUOT;
}

}  // namespace orvik::tools::pack
