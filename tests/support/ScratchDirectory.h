#pragma once
// A fresh folder under the system's temporary directory, removed with
// everything in it when the object goes away.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include <boost/filesystem.hpp>

#include "shared/utils/FileBytes.h"
#include "shared/utils/UniqueFile.h"

namespace orvik::testing {

class ScratchDirectory {
public:
    ScratchDirectory()
        : path_(boost::filesystem::temp_directory_path() /
                boost::filesystem::unique_path(L"orvik-test-%%%%-%%%%-%%%%")) {
        boost::filesystem::create_directories(path_);
    }
    ~ScratchDirectory() {
        boost::system::error_code ignored;
        MakeTreeWriteable();
        boost::filesystem::remove_all(path_, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const boost::filesystem::path& Path() const { return path_; }
    boost::filesystem::path operator/(const wchar_t* name) const { return path_ / name; }

private:
    void MakeTreeWriteable() {
        boost::system::error_code ignored;
        for (boost::filesystem::recursive_directory_iterator it(path_, ignored), end; it != end;
             it.increment(ignored)) {
            boost::filesystem::permissions(
                it->path(), boost::filesystem::add_perms | boost::filesystem::owner_write, ignored);
        }
    }

    boost::filesystem::path path_;
};

// Whole-file helpers over the wide C runtime calls: the C++ streams of this
// runtime take narrow names, which lose characters outside the code page.
inline std::string ReadBytes(const boost::filesystem::path& file) {
    std::string bytes;
    pkgshared::ReadFileBytes(file.wstring(), bytes);
    return bytes;
}

inline void WriteBytes(const boost::filesystem::path& file, const std::string& bytes) {
    const pkgshared::UniqueFile out = pkgshared::OpenFile(file.wstring(), "wb");
    ASSERT_NE(nullptr, out) << file.string();
    std::fwrite(bytes.data(), 1, bytes.size(), out.get());
}

}  // namespace orvik::testing
