#include "shared/ExceptionFamily.h"

#include <cstring>
#include <cwchar>

#include "shared/TextConversion.h"

namespace orvik::pkgshared {

WindowsFunctionErrorException::WindowsFunctionErrorException(std::int32_t windowsError,
                                                             std::string_view functionName,
                                                             const wchar_t* sourceFile,
                                                             std::int32_t line)
    : Exception(kWindowsFunctionErrorCode, ToDecimal(windowsError), WidenAscii(functionName),
                sourceFile, line) {}
WindowsFunctionErrorException::~WindowsFunctionErrorException() = default;

CouldNotCreateDirectoryException::CouldNotCreateDirectoryException(std::int32_t systemError,
                                                                   std::wstring directory,
                                                                   std::wstring systemMessage,
                                                                   const wchar_t* sourceFile,
                                                                   std::int32_t line)
    : Exception(kCouldNotCreateDirectoryCode, ToDecimal(systemError), std::move(directory),
                std::move(systemMessage), sourceFile, line) {}
CouldNotCreateDirectoryException::~CouldNotCreateDirectoryException() = default;

CouldNotCopyFileException::CouldNotCopyFileException(std::int32_t systemError, std::wstring source,
                                                     std::wstring target,
                                                     std::wstring systemMessage,
                                                     const wchar_t* sourceFile, std::int32_t line)
    : Exception(kCouldNotCopyFileCode, ToDecimal(systemError), std::move(source), std::move(target),
                std::move(systemMessage), sourceFile, line) {}
CouldNotCopyFileException::~CouldNotCopyFileException() = default;

NullArgumentException::NullArgumentException(std::wstring parameter, std::wstring method,
                                             const wchar_t* sourceFile, std::int32_t line)
    : Exception(kNullArgumentCode, std::move(parameter), L"NULL", std::move(method), sourceFile,
                line) {}
NullArgumentException::~NullArgumentException() = default;

BadArgumentException::BadArgumentException(std::wstring argument, std::wstring value,
                                           std::wstring function, const wchar_t* sourceFile,
                                           std::int32_t line)
    : Exception(kBadArgumentCode, std::move(argument), std::move(value), std::move(function),
                sourceFile, line) {}
BadArgumentException::~BadArgumentException() = default;

FailedToOpenCRuntimeFileException::FailedToOpenCRuntimeFileException(std::wstring file,
                                                                     int runtimeError,
                                                                     const wchar_t* sourceFile,
                                                                     std::int32_t line)
    : Exception(kFailedToOpenCRuntimeFileCode, std::move(file), ToDecimal(runtimeError),
                RuntimeErrorText(runtimeError), sourceFile, line) {}
FailedToOpenCRuntimeFileException::~FailedToOpenCRuntimeFileException() = default;

InvalidArchiveException::InvalidArchiveException(std::wstring libraryError,
                                                 const wchar_t* sourceFile, std::int32_t line)
    : Exception(kInvalidArchiveCode, std::move(libraryError), sourceFile, line) {}
InvalidArchiveException::~InvalidArchiveException() = default;

std::wstring RuntimeErrorText(int runtimeError) {
    constexpr size_t kCapacity = 1024;
#ifdef _WIN32
    wchar_t buffer[kCapacity + 1] = {};
    if (_wcserror_s(buffer, kCapacity + 1, runtimeError) != 0) {
        return std::wstring();
    }
    return std::wstring(buffer);
#else
    char buffer[kCapacity + 1] = {};
    const char* text = strerror_r(runtimeError, buffer, kCapacity);
    std::wstring out = WidenAscii(text);
    return out.substr(0, kCapacity);
#endif
}

}  // namespace orvik::pkgshared
