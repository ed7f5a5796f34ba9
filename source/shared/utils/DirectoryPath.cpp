#include "shared/utils/DirectoryPath.h"

#include <boost/filesystem/operations.hpp>

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"
#include "shared/SystemErrorMessage.h"

namespace orvik::pkgshared {

namespace fs = boost::filesystem;

bool DirectoryPath::Exists() const {
    boost::system::error_code error;
    return fs::is_directory(path_, error);
}

void DirectoryPath::Create() const {
    boost::system::error_code error;
    if (fs::is_directory(path_, error)) {
        return;
    }
    fs::create_directories(path_, error);
    if (error) {
        ORVIK_THROW(CouldNotCreateDirectoryException, error.value(), path_.wstring(),
                    GetSystemErrorMessage(static_cast<std::uint32_t>(error.value())));
    }
}

}  // namespace orvik::pkgshared
