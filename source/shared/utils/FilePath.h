#pragma once
#include <string>

#include <boost/filesystem/path.hpp>

#include "shared/utils/DirectoryPath.h"

namespace orvik::pkgshared {

// The path of a file. Copied by value.
class FilePath {
public:
    FilePath() = default;
    explicit FilePath(boost::filesystem::path path) : path_(std::move(path)) {}

    const boost::filesystem::path& Path() const { return path_; }
    std::wstring ToString() const { return path_.wstring(); }
    DirectoryPath Directory() const { return DirectoryPath(path_.parent_path()); }
    // True when a regular file is there.
    bool Exists() const;

    // Copies the file to `target`, replacing an existing one. Throws
    // CouldNotCopyFileException with the system's error, both paths and the
    // system's message.
    void CopyTo(const FilePath& target) const;

private:
    boost::filesystem::path path_;
};

}  // namespace orvik::pkgshared
