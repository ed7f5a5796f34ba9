#pragma once
// PreInstallPayload: saves the payload bytes as "payload.tar.gz" in the
// working directory and unpacks them into "payload" beside it.
#include <cstdint>
#include <string>

#include "preinstall/PayloadCheck.h"
#include "shared/Exception.h"
#include "shared/NotificationCallbackInterface.h"
#include "shared/utils/DirectoryPath.h"
#include "shared/utils/FilePath.h"

namespace orvik::pkgui::preinstall {

class PreInstallPayload {
public:
    // Follows nothing and never cancels: the progress window only shows a
    // marquee.
    class PayloadExtractionNotificationCallback
        : public orvik::pkgshared::NotificationCallbackInterface {
    public:
        bool IsCancelRequested() override { return false; }
        void Notify(std::int32_t, std::int32_t) override {}
        void NotifyProgress(std::int32_t, double, const std::wstring&,
                            const std::wstring&) override {}
        bool Query(std::int32_t, std::int32_t, std::int32_t) override { return false; }
    };

    static constexpr wchar_t kArchiveName[] = L"payload.tar.gz";
    static constexpr wchar_t kUnpackDirectoryName[] = L"payload";

    // `data` is not owned and must stay valid for the object's life.
    PreInstallPayload(const std::uint8_t* data, std::uint32_t size,
                      orvik::pkgshared::DirectoryPath workingDirectory);

    // Writes the bytes to a new "payload.tar.gz"; an existing file is never
    // overwritten. Throws PreInstallPayloadExtractEmpty or
    // PreInstallPayloadWriteFileError (a partly written file stays).
    // With `check`, Written() is then the check of the bytes written.
    orvik::pkgshared::FilePath WriteArchive(bool check = false);
    const PayloadCheck& Written() const { return written_; }
    // Unpacks the archive (gzip-compressed tar) into "payload"; returns that
    // directory. Errors of the archive manager pass through.
    orvik::pkgshared::DirectoryPath Extract(const orvik::pkgshared::FilePath& archive);

private:
    const std::uint8_t* data_;
    std::uint32_t size_;
    orvik::pkgshared::DirectoryPath workingDirectory_;
    PayloadExtractionNotificationCallback callback_;
    PayloadCheck written_;
};

// The payload resource has no bytes. No arguments.
class PreInstallPayloadExtractEmpty : public orvik::pkgshared::Exception {
public:
    PreInstallPayloadExtractEmpty(const wchar_t* sourceFile, std::int32_t line);
    PreInstallPayloadExtractEmpty(const PreInstallPayloadExtractEmpty&) = default;
    ~PreInstallPayloadExtractEmpty() override;
};

// The archive file could not be saved. %1% the Windows error (unsigned
// decimal), %2% the archive file's path.
class PreInstallPayloadWriteFileError : public orvik::pkgshared::Exception {
public:
    PreInstallPayloadWriteFileError(const std::wstring& path, std::uint32_t windowsError,
                                    const wchar_t* sourceFile, std::int32_t line);
    PreInstallPayloadWriteFileError(const PreInstallPayloadWriteFileError&) = default;
    ~PreInstallPayloadWriteFileError() override;
};

}  // namespace orvik::pkgui::preinstall
