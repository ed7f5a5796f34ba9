#include "shared/Exception.h"

#include <cwchar>
#include <utility>

namespace orvik::pkgshared {
namespace {

const std::wstring& SharedEmptyArgument() {
    static const std::wstring empty;  // thread-safe initialisation
    return empty;
}

std::vector<std::wstring> MakeArguments(std::initializer_list<std::wstring*> arguments) {
    std::vector<std::wstring> out;
    out.reserve(arguments.size());
    for (std::wstring* argument : arguments) {
        out.push_back(std::move(*argument));
    }
    return out;
}

}  // namespace

Exception::Exception(std::int32_t code, const wchar_t* sourceFile, std::int32_t line)
    : errorCode_(code), lineNumber_(line), sourceFile_{}, record_{} {
    SetSourceFile(sourceFile);
    RebuildArgumentView();
    RebuildInnerRecords();
}

Exception::Exception(std::int32_t code, std::wstring arg1, const wchar_t* sourceFile,
                     std::int32_t line)
    : Exception(code, sourceFile, line) {
    arguments_ = MakeArguments({&arg1});
    RebuildArgumentView();
}

Exception::Exception(std::int32_t code, std::wstring arg1, std::wstring arg2,
                     const wchar_t* sourceFile, std::int32_t line)
    : Exception(code, sourceFile, line) {
    arguments_ = MakeArguments({&arg1, &arg2});
    RebuildArgumentView();
}

Exception::Exception(std::int32_t code, std::wstring arg1, std::wstring arg2, std::wstring arg3,
                     const wchar_t* sourceFile, std::int32_t line)
    : Exception(code, sourceFile, line) {
    arguments_ = MakeArguments({&arg1, &arg2, &arg3});
    RebuildArgumentView();
}

Exception::Exception(std::int32_t code, std::wstring arg1, std::wstring arg2, std::wstring arg3,
                     std::wstring arg4, const wchar_t* sourceFile, std::int32_t line)
    : Exception(code, sourceFile, line) {
    arguments_ = MakeArguments({&arg1, &arg2, &arg3, &arg4});
    RebuildArgumentView();
}

Exception::Exception(const Exception& other)
    : std::exception(other),
      errorCode_(other.errorCode_),
      lineNumber_(other.lineNumber_),
      sourceFile_{},
      arguments_(other.arguments_),
      innerExceptions_(other.innerExceptions_),
      record_{} {
    SetSourceFile(other.sourceFile_);
    RebuildArgumentView();
    RebuildInnerRecords();
}

Exception& Exception::operator=(const Exception& other) {
    if (this != &other) {
        errorCode_ = other.errorCode_;
        lineNumber_ = other.lineNumber_;
        SetSourceFile(other.sourceFile_);
        arguments_ = other.arguments_;
        innerExceptions_ = other.innerExceptions_;
        RebuildArgumentView();
        RebuildInnerRecords();
    }
    return *this;
}

Exception::~Exception() = default;

const char* Exception::what() const noexcept {
    return "Unknown exception";
}

void Exception::AdoptIfUnset(const Exception& other) {
    if (errorCode_ == 0) {
        *this = other;
    }
}

void Exception::SetErrorCodeIfUnset(std::int32_t code) {
    if (errorCode_ == 0) {
        errorCode_ = code;
        record_.errorCode = code;
    }
}

std::int32_t Exception::GetErrorCode() const {
    return errorCode_;
}

const wchar_t* Exception::GetSourceFile() const {
    return sourceFile_;
}

std::int32_t Exception::GetLineNumber() const {
    return lineNumber_;
}

const std::wstring& Exception::GetMessageArgument0() const {
    return GetMessageArgument(0);
}
const std::wstring& Exception::GetMessageArgument1() const {
    return GetMessageArgument(1);
}
const std::wstring& Exception::GetMessageArgument2() const {
    return GetMessageArgument(2);
}
const std::wstring& Exception::GetMessageArgument3() const {
    return GetMessageArgument(3);
}

const std::wstring& Exception::GetMessageArgument(size_t index) const {
    return index < arguments_.size() ? arguments_[index] : SharedEmptyArgument();
}

size_t Exception::GetMessageArgumentCount() const {
    return arguments_.size();
}

const std::vector<Exception>& Exception::GetInnerExceptions() const {
    return innerExceptions_;
}

void Exception::AddInnerException(const Exception& exception) {
    innerExceptions_.push_back(exception);
    RebuildInnerRecords();
}

void Exception::AddInnerExceptions(const std::vector<Exception>& exceptions) {
    innerExceptions_.insert(innerExceptions_.end(), exceptions.begin(), exceptions.end());
    RebuildInnerRecords();
}

void Exception::SetSourceFile(const wchar_t* sourceFile) {
    sourceFile_[0] = L'\0';
    if (sourceFile != nullptr && sourceFile != sourceFile_) {
        const size_t length = std::wcslen(sourceFile);
        const size_t kept = length < kSourceFileCapacity - 1 ? length : kSourceFileCapacity - 1;
        std::wmemcpy(sourceFile_, sourceFile, kept);
        sourceFile_[kept] = L'\0';
    }
}

void Exception::RebuildArgumentView() {
    argumentView_.clear();
    for (const std::wstring& argument : arguments_) {
        argumentView_.push_back(argument.c_str());
    }
    record_.errorCode = errorCode_;
    record_.sourceFile = sourceFile_;
    record_.lineNumber = lineNumber_;
    record_.argumentCount = static_cast<std::uint32_t>(argumentView_.size());
    record_.arguments = argumentView_.empty() ? nullptr : argumentView_.data();
}

void Exception::RebuildInnerRecords() {
    innerRecords_.clear();
    for (const Exception& inner : innerExceptions_) {
        innerRecords_.push_back(inner.record_);
    }
    record_.innerCount = static_cast<std::uint32_t>(innerRecords_.size());
    record_.inner = innerRecords_.empty() ? nullptr : innerRecords_.data();
}

}  // namespace orvik::pkgshared
