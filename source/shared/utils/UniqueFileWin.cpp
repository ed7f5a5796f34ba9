#include "shared/utils/UniqueFile.h"

#include <fcntl.h>
#include <io.h>

#include "shared/utils/WinResources.h"

namespace orvik::pkgshared {

UniqueFile OpenFileForReading(const std::wstring& path) {
    UniqueHandle handle(::CreateFileW(path.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!handle) {
        return {};
    }
    const int descriptor =
        ::_open_osfhandle(reinterpret_cast<intptr_t>(handle.get()), _O_RDONLY | _O_BINARY);
    if (descriptor == -1) {
        return {};
    }
    static_cast<void>(handle.release());  // the descriptor owns it now
    UniqueFile file(::_fdopen(descriptor, "rb"));
    if (!file) {
        ::_close(descriptor);
    }
    return file;
}

}  // namespace orvik::pkgshared
