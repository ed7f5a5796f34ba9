#pragma once
#include <string>

namespace orvik::tools::pack {

// Archives the contents of `directory` into `archiveFile` as a
// gzip-compressed pax tar: entries in sorted order with '/' separators,
// directories included, and fixed owner, permissions and times, so that the
// same folder always gives the same bytes. Data are streamed file by file.
// Returns false with `error` set when a file cannot be read or written.
bool ArchiveDirectory(const std::wstring& directory, const std::wstring& archiveFile,
                      std::wstring& error);

}  // namespace orvik::tools::pack
