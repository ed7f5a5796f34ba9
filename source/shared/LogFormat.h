#pragma once
// Texts of the log: line layout and file name. Pure formatting.
#include <cstdint>
#include <string>

namespace orvik::pkgshared {

// "<time, left-aligned in 15 columns> <source>: <message>\n" from the format
// "%|-15| %|-1|: %|-1|\n", every line feed of the message replaced by "\|"
// so that one event is one line. Source and message are fields of width 1:
// an empty one is written as one blank.
std::wstring FormatLogLine(const std::wstring& timeOfDay, const std::wstring& source,
                           const std::wstring& message);

// "OrvikPkgLog_<date>T<time>_<process id>.txt" from the ISO extended local
// time ("2026-11-15T01:17:14"), every ':' replaced by '.'.
std::wstring LogFileName(const std::wstring& isoExtendedTime, std::uint32_t processId);

}  // namespace orvik::pkgshared
