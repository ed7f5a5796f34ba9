#pragma once
// Exception: the one error type of the system. It carries a catalog code, up
// to four message arguments, the raising source file and line, and inner
// exceptions. Texts are produced late, from the catalog (ErrorMessage.h).
#include <cstdint>
#include <exception>
#include <string>
#include <vector>

namespace orvik::pkgshared {

// The code of a failure that nothing more is known of ("An unknown error
// occurred.").
constexpr std::int32_t kUnknownErrorCode = -125202;

// Flat view of an exception for plain callers that walk the error tree
// without the class. Every pointer refers into storage owned by the exception
// object (inner records into the inner exceptions it holds): the record is
// valid exactly as long as that object, and is rebuilt after every copy,
// argument change or inner-list change.
struct ErrorInfoRecord {
    std::int32_t errorCode;
    const wchar_t* sourceFile;
    std::int32_t lineNumber;
    std::uint32_t argumentCount;
    const wchar_t* const* arguments;
    std::uint32_t innerCount;
    const ErrorInfoRecord* inner;
};

class Exception : public std::exception {
public:
    static constexpr size_t kSourceFileCapacity = 260;  // 259 characters and the zero

    // `sourceFile` may be null (the field stays empty); a longer text than
    // 259 characters is cut. Code 0 means "no code yet".
    Exception(std::int32_t code, const wchar_t* sourceFile, std::int32_t line);
    Exception(std::int32_t code, std::wstring arg1, const wchar_t* sourceFile, std::int32_t line);
    Exception(std::int32_t code, std::wstring arg1, std::wstring arg2, const wchar_t* sourceFile,
              std::int32_t line);
    Exception(std::int32_t code, std::wstring arg1, std::wstring arg2, std::wstring arg3,
              const wchar_t* sourceFile, std::int32_t line);
    Exception(std::int32_t code, std::wstring arg1, std::wstring arg2, std::wstring arg3,
              std::wstring arg4, const wchar_t* sourceFile, std::int32_t line);
    Exception(const Exception& other);
    Exception& operator=(const Exception& other);
    virtual ~Exception();

    // The standard text is deliberately not the message: every member of the
    // family answers "Unknown exception". Texts come only from the catalog.
    const char* what() const noexcept override;

    // Becomes a full copy of `other` when this code is 0; otherwise no effect.
    virtual void AdoptIfUnset(const Exception& other);
    // Sets the code when it is 0; otherwise no effect. The first code wins.
    virtual void SetErrorCodeIfUnset(std::int32_t code);
    virtual std::int32_t GetErrorCode() const;
    virtual const wchar_t* GetSourceFile() const;
    virtual std::int32_t GetLineNumber() const;
    virtual const std::wstring& GetMessageArgument0() const;
    virtual const std::wstring& GetMessageArgument1() const;
    virtual const std::wstring& GetMessageArgument2() const;
    virtual const std::wstring& GetMessageArgument3() const;
    // The argument at `index`; past the count, one shared empty string.
    virtual const std::wstring& GetMessageArgument(size_t index) const;
    virtual size_t GetMessageArgumentCount() const;
    virtual const std::vector<Exception>& GetInnerExceptions() const;
    // Appends copies at the end of the inner list (oldest first).
    virtual void AddInnerException(const Exception& exception);
    virtual void AddInnerExceptions(const std::vector<Exception>& exceptions);

    const ErrorInfoRecord& GetErrorInfoRecord() const { return record_; }

private:
    void SetSourceFile(const wchar_t* sourceFile);
    void RebuildArgumentView();
    void RebuildInnerRecords();

    std::int32_t errorCode_;
    std::int32_t lineNumber_;
    wchar_t sourceFile_[kSourceFileCapacity];
    std::vector<std::wstring> arguments_;
    std::vector<const wchar_t*> argumentView_;
    std::vector<Exception> innerExceptions_;
    ErrorInfoRecord record_;
    std::vector<ErrorInfoRecord> innerRecords_;
};

}  // namespace orvik::pkgshared
