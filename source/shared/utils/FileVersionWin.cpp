#include <windows.h>

#include <string>
#include <vector>

#include "shared/utils/FileVersion.h"

namespace orvik::pkgshared {

bool ReadFileVersion(const FilePath& file, Version& version) {
    const std::wstring path = file.ToString();
    DWORD ignored = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(path.c_str(), &ignored);
    if (size == 0) {
        return false;
    }
    std::vector<BYTE> block(size);
    if (!::GetFileVersionInfoW(path.c_str(), 0, size, block.data())) {
        return false;
    }
    VS_FIXEDFILEINFO* info = nullptr;
    UINT length = 0;
    if (!::VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &length) ||
        info == nullptr || length < sizeof(VS_FIXEDFILEINFO)) {
        return false;
    }
    version = Version(std::to_wstring(HIWORD(info->dwFileVersionMS)) + L"." +
                      std::to_wstring(LOWORD(info->dwFileVersionMS)) + L"." +
                      std::to_wstring(HIWORD(info->dwFileVersionLS)) + L"." +
                      std::to_wstring(LOWORD(info->dwFileVersionLS)));
    return true;
}

}  // namespace orvik::pkgshared
