#pragma once
#include <string>

#include <boost/filesystem/path.hpp>

namespace orvik::pkgshared {

// The path of a directory. Copied by value.
class DirectoryPath {
public:
    DirectoryPath() = default;
    explicit DirectoryPath(boost::filesystem::path path) : path_(std::move(path)) {}

    const boost::filesystem::path& Path() const { return path_; }
    std::wstring ToString() const { return path_.wstring(); }
    DirectoryPath Join(const boost::filesystem::path& component) const {
        return DirectoryPath(path_ / component);
    }
    bool Exists() const;

    // Creates the directory and its missing parents unless it already is a
    // directory. Throws CouldNotCreateDirectoryException with the system's
    // error and message.
    void Create() const;

private:
    boost::filesystem::path path_;
};

}  // namespace orvik::pkgshared
