#include "shared/utils/FileBytes.h"

#include "shared/utils/UniqueFile.h"

namespace orvik::pkgshared {
bool ReadFileBytes(const std::wstring& path, std::string& bytes) {
    bytes.clear();
    const UniqueFile file = OpenFile(path, "rb");
    if (!file) {
        return false;
    }
    char buffer[65536];
    size_t read = 0;
    while ((read = std::fread(buffer, 1, sizeof(buffer), file.get())) > 0) {
        bytes.append(buffer, read);
    }
    if (std::ferror(file.get())) {
        bytes.clear();
        return false;
    }
    return true;
}

}  // namespace orvik::pkgshared
