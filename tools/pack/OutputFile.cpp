#include "OutputFile.h"

#include <algorithm>

#include "ErrorText.h"

namespace orvik::tools::pack {

bool OutputFile::Write(const void* data, std::size_t size, std::wstring& error) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    while (size > 0) {
        // A write that runs out of room may first write part of what it was given.
        unsigned long code = 0;
        const std::size_t written =
            WritePart(bytes, std::min<std::size_t>(size, std::size_t{1} << 30), code);
        if (written == 0) {
            error = L"cannot write " + path_ + L": " + SystemErrorText(code);
            if (MayBeDiskFull(code)) {
                error += roomNote_ + L": " + kFreeSpaceAdvice;
            }
            return false;
        }
        bytes += written;
        size -= written;
    }
    return true;
}

}  // namespace orvik::tools::pack
