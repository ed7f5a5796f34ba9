#pragma once
#include <gtest/gtest.h>

#include <boost/filesystem.hpp>
#include <cstdio>
#include <map>
#include <string>
#include "shared/utils/FileBytes.h"
#include "shared/utils/UniqueFile.h"

namespace orvik::testing {
namespace bfs = boost::filesystem;

// A fresh folder in the temporary directory, removed with everything in it (read-only files too).
class ScratchDirectory {
public:
    ScratchDirectory() { bfs::create_directories(path_); }
    ~ScratchDirectory() {
        boost::system::error_code ignored;
        for (bfs::recursive_directory_iterator it(path_, ignored), end; it != end;
             it.increment(ignored)) {
            bfs::permissions(it->path(), bfs::add_perms | bfs::owner_write, ignored);
        }
        bfs::remove_all(path_, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    const bfs::path& Path() const { return path_; }
    bfs::path operator/(const wchar_t* name) const { return path_ / name; }

private:
    const bfs::path path_ = bfs::temp_directory_path() / bfs::unique_path(L"orvik-test-%%%%-%%%%");
};

// Whole-file helpers over the wide C runtime calls (its C++ streams take narrow names).
inline std::string ReadBytes(const bfs::path& file) {
    std::string bytes;
    pkgshared::ReadFileBytes(file.wstring(), bytes);
    return bytes;
}
inline void WriteBytes(const bfs::path& file, const std::string& bytes) {
    const pkgshared::UniqueFile out = pkgshared::OpenFile(file.wstring(), "wb");
    ASSERT_NE(nullptr, out) << file.string();
    std::fwrite(bytes.data(), 1, bytes.size(), out.get());
}
// Every regular file below `root`, by its '/'-separated path below it, with its bytes.
inline std::map<std::wstring, std::string> FilesBelow(const bfs::path& root) {
    std::map<std::wstring, std::string> files;
    for (bfs::recursive_directory_iterator it(root), end; it != end; ++it) {
        if (bfs::is_regular_file(it->path())) {
            files[it->path().lexically_relative(root).generic_wstring()] = ReadBytes(it->path());
        }
    }
    return files;
}
}  // namespace orvik::testing
