#pragma once
#include <ostream>
#include <string>

#include "shared/Exception.h"
#include "shared/ISharedSession.h"

namespace orvik::pkgshared {

// Writes `exception` and, depth first, its inner exceptions: per exception the
// lines "<code>: <message>", "File: <source>", "Line number: <line>". At the
// top level (`nested` false) a non-empty inner list is preceded by an empty
// line and "Additional error information:". Messages use the calling
// thread's language.
void WriteExceptionDetails(const Exception& exception, std::wostream& stream, bool nested);

// The whole report text that ReportException appends: an empty line, the
// "===== <local time> =====" line, "Exception in <where>. Error code: <code>",
// `extraText` on its own line when not empty, and the exception's details.
std::wstring BuildExceptionReport(const std::wstring& where, const Exception& exception,
                                  const std::wstring& extraText, const std::wstring& timestamp);

// Current local time in the date-time library's simple form, microseconds
// shown when not zero: "2026-Nov-15 01:17:14.203125".
std::wstring LocalTimestamp();

// Appends the report to "errorlog.txt" in `logsDirectory`, in UTF-8, creating
// the directory and its parents first. Throws CouldNotCreateDirectoryException
// when the directory cannot be made; a file that cannot be opened is skipped
// silently. The file is opened in text mode (CRLF line ends on Windows),
// shared for reading and writing.
void ReportException(const std::wstring& where, const Exception& exception,
                     const std::wstring& extraText, const std::wstring& logsDirectory);

// ReportException into the session's logs directory (the path guide's).
void ReportException(const std::wstring& where, const Exception& exception,
                     const std::wstring& extraText, ISharedSession& session);

}  // namespace orvik::pkgshared
