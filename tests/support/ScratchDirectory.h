#pragma once
// A fresh folder under the system's temporary directory, removed with
// everything in it when the object goes away.
#include <iterator>
#include <string>

#include <boost/filesystem.hpp>
#include <boost/filesystem/fstream.hpp>

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

inline std::string ReadBytes(const boost::filesystem::path& file) {
    boost::filesystem::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteBytes(const boost::filesystem::path& file, const std::string& bytes) {
    boost::filesystem::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << bytes;
}

}  // namespace orvik::testing
