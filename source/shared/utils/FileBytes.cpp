#include "shared/utils/FileBytes.h"

#include <cstdio>
#include <memory>

#include <boost/filesystem/path.hpp>

namespace orvik::pkgshared {
namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

bool ReadFileBytes(const std::wstring& path, std::string& bytes) {
    bytes.clear();
#ifdef _WIN32
    const std::unique_ptr<std::FILE, FileCloser> file(_wfopen(path.c_str(), L"rb"));
#else
    const std::unique_ptr<std::FILE, FileCloser> file(
        std::fopen(boost::filesystem::path(path).c_str(), "rb"));
#endif
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
