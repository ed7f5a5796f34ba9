#pragma once
// A C runtime file owned for its scope, and the one way the code opens one by
// a wide path (names outside the code page survive on Windows).
#include <cstdio>
#include <memory>
#include <string>

#include <boost/filesystem/path.hpp>

namespace orvik::pkgshared {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;

// fopen with `mode` ("rb", "wb", "r+b", ...); empty on failure, errno set.
inline UniqueFile OpenFile(const std::wstring& path, const char* mode) {
#ifdef _WIN32
    const std::wstring wideMode(mode, mode + std::char_traits<char>::length(mode));
    return UniqueFile(_wfopen(path.c_str(), wideMode.c_str()));
#else
    return UniqueFile(std::fopen(boost::filesystem::path(path).c_str(), mode));
#endif
}

// Opens `path` for reading ("rb") while others may read, write, rename or
// delete the file: a process holding it open with any of those rights does
// not stop the open. Empty on failure.
#ifdef _WIN32
UniqueFile OpenFileForReading(const std::wstring& path);
#else
inline UniqueFile OpenFileForReading(const std::wstring& path) {
    return OpenFile(path, "rb");
}
#endif

}  // namespace orvik::pkgshared
