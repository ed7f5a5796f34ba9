#include "shared/utils/PathUtils.h"

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/format.hpp>

#include "shared/SystemErrorMessage.h"

namespace orvik::pkgshared::pathutils {

namespace fs = boost::filesystem;

std::wstring FormatFileSystemReport(const wchar_t* utility, const wchar_t* function,
                                    const boost::system::error_code& error, const fs::path& path) {
    return (boost::wformat(L"%1%: Boost file system function '%2%' returned error code '%3%' for "
                           L"path '%4%'. Error message: %5%") %
            utility % function % error.value() % path.wstring() %
            GetSystemErrorMessage(static_cast<std::uint32_t>(error.value())))
        .str();
}

void MakeWriteable(const fs::path& path, IPathReporter& reporter, ReportMode mode) {
    boost::system::error_code error;
    fs::permissions(path, fs::add_perms | fs::owner_write | fs::group_write | fs::others_write,
                    error);
    if (error) {
        reporter.Report(
            mode, FormatFileSystemReport(L"pathutils::MakeWriteable", L"permissions", error, path));
    }
}

void DeleteEntirePath(const fs::path& path, IPathReporter& reporter, ReportMode mode) {
    if (path.empty()) {
        return;
    }
    boost::system::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) {
        boost::system::error_code walkError;
        for (fs::recursive_directory_iterator it(path, walkError), end; !walkError && it != end;
             it.increment(walkError)) {
            MakeWriteable(it->path(), reporter, mode);
        }
    }
    if (status.type() == fs::file_not_found) {
        return;
    }
    MakeWriteable(path, reporter, mode);
    fs::remove_all(path, error);
    if (error) {
        reporter.Report(mode, FormatFileSystemReport(L"pathutils::DeleteEntirePath", L"remove_all",
                                                     error, path));
    }
}

}  // namespace orvik::pkgshared::pathutils
