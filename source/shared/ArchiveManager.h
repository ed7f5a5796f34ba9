#pragma once
// ArchiveManager: unpacks an archive file into a folder, entry by entry and
// block by block, over libarchive. One unpack at a time per process.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "shared/NotificationCallbackInterface.h"

struct archive;

namespace orvik::pkgshared {

enum ArchiveType : std::uint32_t {
    kArchiveRaw = 0,  // a single unnamed stream
    kArchiveAr = 1,
    kArchiveTar = 2,
};

// ArchiveEntryInfo::fileType of a regular file and of a folder (the mode's
// type bits, as the library gives them); kEntryHeadBytes: the most of an
// entry's data that ReadEntries keeps.
constexpr std::uint32_t kRegularFileType = 0100000, kFolderType = 0040000;
constexpr size_t kEntryHeadBytes = 4096;

// One entry as an archive stores it.
struct ArchiveEntryInfo {
    std::wstring name;
    std::wstring symlinkTarget;                 // empty unless a symbolic link
    std::wstring hardlinkTarget;                // empty unless a hard link (an entry name)
    std::uint32_t fileType = kRegularFileType;  // the mode's type bits
    std::uint32_t mode = 0644;                  // the permission bits
    std::uint64_t fileFlagsSet = 0;             // file flags to set, as the library reads them
    std::int64_t size = -1;                     // bytes of data; -1 when the header gives none
    std::string head;                           // the data's first kEntryHeadBytes, when asked for
};

enum CompressionType : std::uint32_t {
    kCompressionNone = 0,
    kCompressionGzip = 1,
    kCompressionZstd = 2,
};

struct ArchiveReaderDeleter {
    void operator()(archive* reader) const;
};
using ArchiveReader = std::unique_ptr<archive, ArchiveReaderDeleter>;

class ArchiveManager {
public:
    // Unpacks `sourceFile` into `destinationFolder`; `entries` (relative
    // paths) restricts what is unpacked, empty meaning everything. With
    // `readOnly`, entries stored without write permission are made read-only.
    // Progress is notified at most every 16 ms, always at 0.0 percent.
    //
    // Entry paths, and hard-link targets (which name entries), are taken as
    // the archive gives them, below `destinationFolder`: parent-directory
    // components and links are not refused. Throws NullArgumentException,
    // BadArgumentException, Exception -125048 (access denied to the source),
    // FailedToOpenCRuntimeFileException (the source cannot be opened or read),
    // InvalidArchiveException (-125026: no archive of the kind, damaged, or a
    // tar header name that is not valid UTF-8),
    // Exception -125121 (disk full) or -125213 (any other library failure).
    // Files written before a failure stay on disk.
    static void Unarchive(NotificationCallbackInterface* callback, const std::wstring& sourceFile,
                          const std::wstring& destinationFolder,
                          const std::vector<std::wstring>& entries, ArchiveType archiveType,
                          CompressionType compressionType, bool readOnly);

    // The full form: progress against `progressTracker`; every entry notified
    // unless `throttle`.
    static void Unarchive(NotificationCallbackInterface* callback, const std::wstring& sourceFile,
                          const std::wstring& destinationFolder,
                          const std::vector<std::wstring>& entries, ArchiveType archiveType,
                          CompressionType compressionType, ProgressTracker* progressTracker,
                          bool readOnly, bool throttle);

    // Reads every header and every data block of `sourceFile` to its end
    // without writing anything; returns the entries as stored, with the head
    // of the data of those whose name (as stored) `wantsHead` accepts.
    // Throws as Unarchive does, so an archive that passes unpacks without a
    // read error; for a tar name that is not valid UTF-8 the
    // InvalidArchiveException's text is "NAME: a name that is not valid
    // UTF-8" (or "NAME: a link target that is not valid UTF-8"), NAME the
    // stored bytes as EntryNameRules::EscapedName shows them.
    static std::vector<ArchiveEntryInfo> ReadEntries(
        const std::wstring& sourceFile, ArchiveType archiveType, CompressionType compressionType,
        const std::function<bool(const std::wstring&)>& wantsHead = nullptr);

    // An opened reader of `sourceFile` with exactly one format (and the
    // "empty" format) and at most one filter enabled; tar header names are
    // read as UTF-8 whatever the tar format. A source that opens but
    // whose start is no archive of that kind, or is damaged, throws
    // InvalidArchiveException; one that cannot be opened or read throws
    // FailedToOpenCRuntimeFileException with the error number, or Exception
    // -125048 when access is denied.
    static ArchiveReader GetSourceArchiveForUnarchive(const std::wstring& sourceFile,
                                                      ArchiveType archiveType,
                                                      CompressionType compressionType);
};

}  // namespace orvik::pkgshared
