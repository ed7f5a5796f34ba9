#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "PackProgress.h"

namespace orvik::tools::pack {

// A file or folder below a payload folder, as it is archived.
struct FolderItem {
    std::wstring relative;  // '/'-separated
    bool directory = false;
    std::uint64_t size = 0;
    // By `relative` in UTF-16 code unit order on every platform (wchar_t is UTF-32 on Linux),
    // so that every build archives a folder in the same order.
    bool operator<(const FolderItem& other) const;
};

struct FolderListing {
    std::vector<FolderItem> items;  // sorted by relative path
    // "NAME: a link to TARGET, outside the folder", for each item reached
    // through a symbolic link or junction that leads out of the folder. Such
    // an item is listed as its target: what the link leads to is archived
    // under the link's name, as for a link that stays inside.
    std::vector<std::wstring> outsideLinks;
};

// Lists everything below `directory`, following links. Returns false with
// `error` set when something cannot be read, or when a link leads to a folder
// that holds the link (its listing would have no end).
bool ListFolder(const std::wstring& directory, FolderListing& listing, std::wstring& error);

// Archives the items of `listing`, found below `directory`, into
// `archiveFile` as a gzip-compressed pax tar: entries in sorted order with
// '/' separators, directories included, and fixed owner, permissions and
// times, so that the same folder always gives the same bytes, whatever
// `threads` deflate them (see ParallelGzipWriter). Data are streamed file by
// file; `progress` is called as they are read. Returns false with `error` set
// when a file cannot be read or written; no thread is left running either way.
bool ArchiveDirectory(const std::wstring& directory, const FolderListing& listing,
                      const std::wstring& archiveFile, unsigned threads,
                      const std::function<void(const PackProgress&)>& progress,
                      std::wstring& error);

}  // namespace orvik::tools::pack
