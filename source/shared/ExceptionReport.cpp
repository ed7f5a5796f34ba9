#include "shared/ExceptionReport.h"

#include <cstdio>
#include <memory>
#include <sstream>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/filesystem.hpp>
#ifdef _WIN32
#include <share.h>
#endif

#include "shared/ErrorMessage.h"
#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"
#include "shared/SystemErrorMessage.h"
#include "shared/TextConversion.h"
#include "shared/utils/UniqueFile.h"

namespace orvik::pkgshared {
namespace {

constexpr wchar_t kErrorLogName[] = L"errorlog.txt";

void EnsureDirectory(const boost::filesystem::path& directory) {
    boost::system::error_code error;
    boost::filesystem::create_directories(directory, error);
    if (error) {
        ORVIK_THROW(CouldNotCreateDirectoryException, error.value(), directory.wstring(),
                    GetSystemErrorMessage(static_cast<std::uint32_t>(error.value())));
    }
}

UniqueFile OpenForAppendShared(const boost::filesystem::path& file) {
#ifdef _WIN32
    return UniqueFile(_wfsopen(file.c_str(), L"ab", _SH_DENYNO));
#else
    return OpenFile(file.wstring(), "ab");
#endif
}

// Every line end of the file is CRLF, whatever the platform.
std::string WithCrLf(const std::string& text) {
    std::string result;
    result.reserve(text.size() + text.size() / 16);
    for (const char c : text) {
        if (c == '\n') {
            result += '\r';
        }
        result += c;
    }
    return result;
}

}  // namespace

void WriteExceptionDetails(const Exception& exception, std::wostream& stream, bool nested) {
    const std::wstring message = FormatErrorMessage(exception);
    stream << exception.GetErrorCode() << L": " << message << L"\n";
    stream << L"File: " << exception.GetSourceFile() << L"\n";
    stream << L"Line number: " << exception.GetLineNumber() << L"\n";
    const std::vector<Exception>& inner = exception.GetInnerExceptions();
    if (inner.empty()) {
        return;
    }
    if (!nested) {
        stream << L"\n" << L"Additional error information:" << L"\n";
    }
    for (const Exception& each : inner) {
        WriteExceptionDetails(each, stream, true);
    }
}

std::wstring BuildExceptionReport(const std::wstring& where, const Exception& exception,
                                  const std::wstring& extraText, const std::wstring& timestamp) {
    std::wostringstream report;
    report << L"\n";
    report << L"===== " << timestamp << L" =====" << L"\n";
    report << L"Exception in " << where << L". Error code: " << exception.GetErrorCode() << L"\n";
    if (!extraText.empty()) {
        report << extraText << L"\n";
    }
    WriteExceptionDetails(exception, report, false);
    return report.str();
}

std::wstring LocalTimestamp() {
    return boost::posix_time::to_simple_wstring(boost::posix_time::microsec_clock::local_time());
}

void ReportException(const std::wstring& where, const Exception& exception,
                     const std::wstring& extraText, const std::wstring& logsDirectory) {
    const boost::filesystem::path directory(logsDirectory);
    EnsureDirectory(directory);
    const UniqueFile file = OpenForAppendShared(directory / kErrorLogName);
    if (!file) {
        return;
    }
    const std::string bytes =
        WithCrLf(WideToUtf8(BuildExceptionReport(where, exception, extraText, LocalTimestamp())));
    std::fwrite(bytes.data(), 1, bytes.size(), file.get());
}

}  // namespace orvik::pkgshared
