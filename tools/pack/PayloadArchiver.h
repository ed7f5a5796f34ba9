#pragma once
#include <functional>
#include <string>

#include "PackProgress.h"

namespace orvik::tools::pack {

// Archives the contents of `directory` into `archiveFile` as a
// gzip-compressed pax tar: entries in sorted order with '/' separators,
// directories included, and fixed owner, permissions and times, so that the
// same folder always gives the same bytes, whatever `threads` deflate them
// (see ParallelGzipWriter). Data are streamed file by file; `progress` is
// called as they are read. Returns false with `error` set when a file cannot
// be read or written; no thread is left running either way.
bool ArchiveDirectory(const std::wstring& directory, const std::wstring& archiveFile,
                      unsigned threads, const std::function<void(const PackProgress&)>& progress,
                      std::wstring& error);

}  // namespace orvik::tools::pack
