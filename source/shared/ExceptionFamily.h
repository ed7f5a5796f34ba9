#pragma once
// The shared foundation's exception classes. Each derives directly from
// Exception, adds no data and fixes its code and the order of its message
// arguments, so that a handler can catch one kind of failure.
#include <cstdint>
#include <string>
#include <string_view>

#include "shared/Exception.h"

namespace orvik::pkgshared {

// Catalog codes of the family.
enum : std::int32_t {
    kWindowsFunctionErrorCode = -125553,
    kCouldNotCreateDirectoryCode = -125098,
    kCouldNotCopyFileCode = -125099,
    kNullArgumentCode = -125200,
    kBadArgumentCode = -125201,
    kFailedToOpenCRuntimeFileCode = -125024,
    kInvalidArchiveCode = -125026,
};

// %1% the Windows error number, %2% the function's name.
class WindowsFunctionErrorException : public Exception {
public:
    WindowsFunctionErrorException(std::int32_t windowsError, std::string_view functionName,
                                  const wchar_t* sourceFile, std::int32_t line);
    ~WindowsFunctionErrorException() override;
};

// %1% the system error value, %2% the directory, %3% the system's message.
class CouldNotCreateDirectoryException : public Exception {
public:
    CouldNotCreateDirectoryException(std::int32_t systemError, std::wstring directory,
                                     std::wstring systemMessage, const wchar_t* sourceFile,
                                     std::int32_t line);
    ~CouldNotCreateDirectoryException() override;
};

// %1% the system error value, %2% source, %3% target, %4% the system's message.
class CouldNotCopyFileException : public Exception {
public:
    CouldNotCopyFileException(std::int32_t systemError, std::wstring source, std::wstring target,
                              std::wstring systemMessage, const wchar_t* sourceFile,
                              std::int32_t line);
    ~CouldNotCopyFileException() override;
};

// %1% the parameter, %2% "NULL", %3% the method.
class NullArgumentException : public Exception {
public:
    NullArgumentException(std::wstring parameter, std::wstring method, const wchar_t* sourceFile,
                          std::int32_t line);
    ~NullArgumentException() override;
};

// %1% the argument's name, %2% its value, %3% the function that refused it.
class BadArgumentException : public Exception {
public:
    BadArgumentException(std::wstring argument, std::wstring value, std::wstring function,
                         const wchar_t* sourceFile, std::int32_t line);
    ~BadArgumentException() override;
};

// %1% the file, %2% the runtime error number, %3% the runtime's text for it
// (at most 1024 characters), taken when the exception is made.
class FailedToOpenCRuntimeFileException : public Exception {
public:
    FailedToOpenCRuntimeFileException(std::wstring file, int runtimeError,
                                      const wchar_t* sourceFile, std::int32_t line);
    ~FailedToOpenCRuntimeFileException() override;
};

// %1% the archive library's error text.
class InvalidArchiveException : public Exception {
public:
    InvalidArchiveException(std::wstring libraryError, const wchar_t* sourceFile,
                            std::int32_t line);
    ~InvalidArchiveException() override;
};

// The C runtime's text for an errno value, at most 1024 characters.
std::wstring RuntimeErrorText(int runtimeError);

}  // namespace orvik::pkgshared
