#include "preinstall/PreInstallPayload.h"

#include <windows.h>

#include <vector>

#include "shared/ArchiveManager.h"
#include "shared/Raise.h"
#include "shared/utils/WinResources.h"

namespace orvik::pkgui::preinstall {
namespace {

using orvik::pkgshared::DirectoryPath;
using orvik::pkgshared::FilePath;

constexpr std::int32_t kExtractEmptyCode = -126316;
constexpr std::int32_t kExtractEmptyLine = 68;
constexpr std::int32_t kWriteFileErrorCode = -126317;
constexpr std::int32_t kWriteFileErrorLine = 97;

}  // namespace

PreInstallPayload::PreInstallPayload(const std::uint8_t* data, std::uint32_t size,
                                     DirectoryPath workingDirectory)
    : data_(data), size_(size), workingDirectory_(std::move(workingDirectory)) {}

FilePath PreInstallPayload::WriteArchive(bool check) {
    if (data_ == nullptr || size_ == 0) {
        ORVIK_THROW_AT(kExtractEmptyLine, PreInstallPayloadExtractEmpty);
    }
    const FilePath archive(workingDirectory_.Path() / kArchiveName);
    DWORD error = ERROR_SUCCESS;
    {
        const orvik::pkgshared::UniqueHandle file(
            ::CreateFileW(archive.Path().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                          FILE_ATTRIBUTE_NORMAL, nullptr));
        DWORD written = 0;
        if (!file || !::WriteFile(file.get(), data_, size_, &written, nullptr)) {
            error = ::GetLastError();
        }
    }
    if (error != ERROR_SUCCESS) {
        ORVIK_THROW_AT(kWriteFileErrorLine, PreInstallPayloadWriteFileError, archive.ToString(),
                       error);
    }
    written_ = PayloadCheck();
    if (check) {
        written_.Add(data_, size_);
    }
    return archive;
}

DirectoryPath PreInstallPayload::Extract(const FilePath& archive) {
    const DirectoryPath destination = workingDirectory_.Join(kUnpackDirectoryName);
    orvik::pkgshared::ArchiveManager::Unarchive(
        &callback_, archive.ToString(), destination.ToString(), std::vector<std::wstring>(),
        orvik::pkgshared::kArchiveTar, orvik::pkgshared::kCompressionGzip, false);
    return destination;
}

PreInstallPayloadExtractEmpty::PreInstallPayloadExtractEmpty(const wchar_t* sourceFile,
                                                             std::int32_t line)
    : Exception(kExtractEmptyCode, sourceFile, line) {}
PreInstallPayloadExtractEmpty::~PreInstallPayloadExtractEmpty() = default;

PreInstallPayloadWriteFileError::PreInstallPayloadWriteFileError(const std::wstring& path,
                                                                 std::uint32_t windowsError,
                                                                 const wchar_t* sourceFile,
                                                                 std::int32_t line)
    : Exception(kWriteFileErrorCode, std::to_wstring(windowsError), path, sourceFile, line) {}
PreInstallPayloadWriteFileError::~PreInstallPayloadWriteFileError() = default;

}  // namespace orvik::pkgui::preinstall
