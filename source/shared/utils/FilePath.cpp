#include "shared/utils/FilePath.h"

#include <boost/filesystem/operations.hpp>

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"
#include "shared/SystemErrorMessage.h"

namespace orvik::pkgshared {

namespace fs = boost::filesystem;

bool FilePath::Exists() const {
    boost::system::error_code error;
    return fs::is_regular_file(path_, error);
}

void FilePath::CopyTo(const FilePath& target) const {
    boost::system::error_code error;
    fs::copy_file(path_, target.path_, fs::copy_options::overwrite_existing, error);
    if (error) {
        ORVIK_THROW(CouldNotCopyFileException, error.value(), path_.wstring(),
                    target.path_.wstring(),
                    GetSystemErrorMessage(static_cast<std::uint32_t>(error.value())));
    }
}

}  // namespace orvik::pkgshared
