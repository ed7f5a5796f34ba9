#include "shared/ArchiveManager.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <optional>

#include <boost/filesystem/operations.hpp>

#include "shared/ArchiveReadAhead.h"
#include "shared/DirectFileWriter.h"
#include "shared/EntryNameRules.h"
#include "shared/Exception.h"
#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"
#include "shared/TextConversion.h"
#include "shared/utils/UniqueFile.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;

constexpr std::int32_t kAccessDeniedCode = -125048;
constexpr std::int32_t kDiskFullCode = -125121;
constexpr std::int32_t kLibraryErrorCode = -125213;
// The library's numbers for a start it cannot read as an archive: none of its
// filters and formats recognises it ("file format", EILSEQ where the system
// has no EFTYPE), or a compressed stream is damaged ("miscellaneous").
constexpr int kUnrecognisedFormat = EILSEQ, kDamagedStream = -1;
constexpr std::int32_t kUnpackNotification = 10;
constexpr size_t kBlockSize = 10240;
constexpr std::chrono::nanoseconds kNotificationInterval(16'000'000);
constexpr int kWriterOptions = ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_ACL |
                               ARCHIVE_EXTRACT_FFLAGS;  // 0x66
constexpr wchar_t kUnarchiveName[] = L"orvik::pkgshared::ArchiveManager::Unarchive";
static_assert(kWriterOptions == 0x66, "permissions, times, ACLs and file flags only");

struct ArchiveWriterDeleter {
    void operator()(archive* writer) const { archive_write_free(writer); }
};
using ArchiveWriter = std::unique_ptr<archive, ArchiveWriterDeleter>;

std::wstring LibraryErrorText(archive* a) {
    const char* text = archive_error_string(a);
    return text != nullptr ? Utf8ToWide(text) : std::wstring();
}

// Turns a failure (an error number and its text) into the foundation's
// exception, recording the line of the failing call.
[[noreturn]] void ThrowFailure(int errnum, const std::wstring& text, std::int32_t line) {
    if (errnum == ENOSPC) {
        ORVIK_THROW_AT(line, Exception, kDiskFullCode);
    }
    ORVIK_THROW_AT(line, Exception, kLibraryErrorCode, text, ToDecimal(errnum));
}

[[noreturn]] void ThrowLibraryError(archive* a, std::int32_t line) {
    ThrowFailure(archive_errno(a), LibraryErrorText(a), line);
}

#define ORVIK_CHECK_ARCHIVE(call, handle)        \
    do {                                         \
        if ((call) < ARCHIVE_OK) {               \
            ThrowLibraryError(handle, __LINE__); \
        }                                        \
    } while (false)

std::mutex& UnpackMutex() {
    static std::mutex mutex;
    return mutex;
}

// destination + name with the platform's separators.
std::wstring TargetPath(const fs::path& destination, const std::wstring& name) {
    return (destination / std::wstring(EntryNameRules::UnpackedName(name)))
        .make_preferred()
        .wstring();
}

bool IsListed(const std::wstring& name, const std::vector<std::wstring>& entries) {
    const fs::path candidate(name);
    for (const std::wstring& entry : entries) {
        if (fs::path(entry) == candidate) {
            return true;
        }
    }
    return false;
}

// Copies the entry's data until the end or until the caller cancels, to
// `direct` when it writes the file, else to `writer`.
void CopyData(ArchiveReadAhead& reader, archive* writer, DirectFileWriter* direct,
              NotificationCallbackInterface& callback) {
    while (!callback.IsCancelRequested()) {
        const ArchiveReadAhead::Item item = reader.NextData();
        if (item.kind != ArchiveReadAhead::Item::Data) {
            if (item.kind == ArchiveReadAhead::Item::Failure) {
                ThrowFailure(item.errnum, item.errorText, __LINE__);
            }
            return;
        }
        const void* block = item.data.data();
        const size_t size = item.data.size();
        if (direct == nullptr) {
            ORVIK_CHECK_ARCHIVE(archive_write_data_block(writer, block, size, item.offset), writer);
        } else if (const auto failure = direct->Write(block, size, item.offset)) {
            ThrowFailure(failure.errnum, failure.text, __LINE__);
        }
    }
}

void RemoveWritePermissions(const fs::path& file) {
    boost::system::error_code error;
    if (fs::exists(file, error)) {
        fs::permissions(
            file, fs::remove_perms | fs::owner_write | fs::group_write | fs::others_write, error);
    }
}

// Renames the raw stream's "data" after the source file, without its extension.
void RenameRawData(const fs::path& destination, const std::wstring& sourceFile) {
    const fs::path from = destination / L"data";
    const fs::path to = destination / fs::path(sourceFile).stem();
    boost::system::error_code error;
    fs::rename(from, to, error);
    if (error) {
        ORVIK_THROW(Exception, kLibraryErrorCode,
                    L"rename " + from.wstring() + L": " + Utf8ToWide(error.message()),
                    ToDecimal(error.value()));
    }
}

void CreateEmptyRawData(const fs::path& destination) {
    boost::system::error_code error;
    fs::create_directories(destination, error);
    const std::wstring data = (destination / L"data").wstring();
    if (!OpenFile(data, "wb")) {
        ORVIK_THROW(FailedToOpenCRuntimeFileException, data, errno);
    }
}

// GetSourceArchiveForUnarchive; tar header names are read as UTF-8 when
// `utf8Names`, else as the library finds them (bytes kept as stored where no
// locale is set).
ArchiveReader OpenSource(const std::wstring& sourceFile, ArchiveType archiveType,
                         CompressionType compressionType, bool utf8Names) {
    ArchiveReader reader(archive_read_new());
    archive* a = reader.get();
    switch (archiveType) {
        case kArchiveRaw:
            ORVIK_CHECK_ARCHIVE(archive_read_support_format_raw(a), a);
            break;
        case kArchiveAr:
            ORVIK_CHECK_ARCHIVE(archive_read_support_format_ar(a), a);
            break;
        case kArchiveTar:
            ORVIK_CHECK_ARCHIVE(archive_read_support_format_tar(a), a);
            if (utf8Names) {
                ORVIK_CHECK_ARCHIVE(archive_read_set_format_option(a, "tar", "hdrcharset", "UTF-8"),
                                    a);
            }
            break;
        default:
            ORVIK_THROW(BadArgumentException, L"archiveType", ToDecimal(archiveType),
                        L"GetSourceArchiveForUnarchive");
    }
    // Filter results are deliberately not checked: a filter that cannot be
    // enabled shows up as a header read failure.
    switch (compressionType) {
        case kCompressionNone:
            break;
        case kCompressionGzip:
            archive_read_support_filter_gzip(a);
            break;
        case kCompressionZstd:
            archive_read_support_filter_zstd(a);
            break;
        default:
            ORVIK_THROW(BadArgumentException, L"compressionType", ToDecimal(compressionType),
                        L"GetSourceArchiveForUnarchive");
    }
    ORVIK_CHECK_ARCHIVE(archive_read_support_format_empty(a), a);
    if (archive_read_open_filename_w(a, sourceFile.c_str(), kBlockSize) != ARCHIVE_OK) {
        const int error = archive_errno(a);
        if (error == EACCES) {
            ORVIK_THROW(Exception, kAccessDeniedCode, sourceFile);
        }
        // The library reads the start while opening: these numbers of its own
        // say the file opened but holds no archive of the enabled kind.
        if (error == kUnrecognisedFormat || error == kDamagedStream) {
            ORVIK_THROW(InvalidArchiveException, LibraryErrorText(a));
        }
        ORVIK_THROW(FailedToOpenCRuntimeFileException, sourceFile, error);
    }
    return reader;
}

ArchiveEntryInfo InfoOf(archive_entry* entry) {
    auto text = [](const wchar_t* value) { return std::wstring(value != nullptr ? value : L""); };
    unsigned long set = 0, clear = 0;
    archive_entry_fflags(entry, &set, &clear);
    ArchiveEntryInfo info;
    info.name = text(archive_entry_pathname_w(entry));
    info.symlinkTarget = text(archive_entry_symlink_w(entry));
    info.hardlinkTarget = text(archive_entry_hardlink_w(entry));
    info.fileType = archive_entry_filetype(entry);
    info.mode = archive_entry_perm(entry);
    info.fileFlagsSet = set;
    info.size = archive_entry_size_is_set(entry) ? archive_entry_size(entry) : -1;
    return info;
}

// Reads the current entry's data to its end; with `info`, keeps the first
// bytes in its head (holes between the blocks of a sparse entry as
// zeros).
void ReadData(archive* reader, ArchiveEntryInfo* info) {
    for (;;) {
        const void* block = nullptr;
        size_t size = 0;
        la_int64_t offset = 0;
        const int read = archive_read_data_block(reader, &block, &size, &offset);
        if (read == ARCHIVE_EOF) {
            break;
        }
        ORVIK_CHECK_ARCHIVE(read, reader);
        if (info != nullptr && offset < static_cast<la_int64_t>(kEntryHeadBytes)) {
            const auto from = static_cast<size_t>(offset);
            const size_t count = std::min(size, kEntryHeadBytes - from);
            info->head.resize(std::max(info->head.size(), from + count), '\0');
            std::copy_n(static_cast<const char*>(block), count, info->head.begin() + from);
        }
    }
}

// Why entry `index` of `sourceFile` has no name: its stored name, or its link
// target, is not valid UTF-8 ("NAME: a name that..."); nothing for any other
// cause.
std::optional<std::wstring> NonUtf8Problem(const std::wstring& sourceFile, ArchiveType archiveType,
                                           CompressionType compressionType, size_t index) {
    const ArchiveReader reader = OpenSource(sourceFile, archiveType, compressionType, false);
    archive_entry* entry = nullptr;
    for (size_t i = 0; i <= index; ++i) {
        if (archive_read_next_header(reader.get(), &entry) < ARCHIVE_WARN) {
            return std::nullopt;
        }
    }
    const char* name = archive_entry_pathname(entry);
    if (name == nullptr) {
        return std::nullopt;
    }
    if (!EntryNameRules::IsUtf8(name)) {
        return EntryNameRules::EscapedName(name) + L": a name that is not valid UTF-8";
    }
    for (const char* link : {archive_entry_hardlink(entry), archive_entry_symlink(entry)}) {
        if (link != nullptr && !EntryNameRules::IsUtf8(link)) {
            return EntryNameRules::EscapedName(name) + L": a link target that is not valid UTF-8";
        }
    }
    return std::nullopt;
}

}  // namespace

void ArchiveReaderDeleter::operator()(archive* reader) const {
    archive_read_free(reader);
}

ArchiveReader ArchiveManager::GetSourceArchiveForUnarchive(const std::wstring& sourceFile,
                                                           ArchiveType archiveType,
                                                           CompressionType compressionType) {
    return OpenSource(sourceFile, archiveType, compressionType, true);
}

std::vector<ArchiveEntryInfo> ArchiveManager::ReadEntries(
    const std::wstring& sourceFile, ArchiveType archiveType, CompressionType compressionType,
    const std::function<bool(const std::wstring&)>& wantsHead) {
    std::lock_guard<std::mutex> lock(UnpackMutex());
    const ArchiveReader reader =
        GetSourceArchiveForUnarchive(sourceFile, archiveType, compressionType);
    std::vector<ArchiveEntryInfo> entries;
    for (size_t index = 0;; ++index) {
        archive_entry* entry = nullptr;
        const int result = archive_read_next_header(reader.get(), &entry);
        if (result == ARCHIVE_EOF) {
            return entries;
        }
        if (result != ARCHIVE_OK) {
            std::wstring text = LibraryErrorText(reader.get());
            if (result == ARCHIVE_WARN) {
                text =
                    NonUtf8Problem(sourceFile, archiveType, compressionType, index).value_or(text);
            }
            ORVIK_THROW(InvalidArchiveException, text);
        }
        ArchiveEntryInfo& info = entries.emplace_back(InfoOf(entry));
        ReadData(reader.get(), wantsHead && wantsHead(info.name) ? &info : nullptr);
    }
}

void ArchiveManager::Unarchive(NotificationCallbackInterface* callback,
                               const std::wstring& sourceFile,
                               const std::wstring& destinationFolder,
                               const std::vector<std::wstring>& entries, ArchiveType archiveType,
                               CompressionType compressionType, bool readOnly) {
    ProgressTracker tracker(0, 0);
    Unarchive(callback, sourceFile, destinationFolder, entries, archiveType, compressionType,
              &tracker, readOnly, true);
}

void ArchiveManager::Unarchive(NotificationCallbackInterface* callback,
                               const std::wstring& sourceFile,
                               const std::wstring& destinationFolder,
                               const std::vector<std::wstring>& entries, ArchiveType archiveType,
                               CompressionType compressionType, ProgressTracker* progressTracker,
                               bool readOnly, bool throttle) {
    std::lock_guard<std::mutex> lock(UnpackMutex());
    if (callback == nullptr) {
        ORVIK_THROW(NullArgumentException, L"pNotificationCallback", kUnarchiveName);
    }
    if (sourceFile.empty()) {
        ORVIK_THROW(NullArgumentException, L"sourceFile", kUnarchiveName);
    }
    if (destinationFolder.empty()) {
        ORVIK_THROW(NullArgumentException, L"destinationFolder", kUnarchiveName);
    }
    if (progressTracker == nullptr) {
        ORVIK_THROW(NullArgumentException, L"progressTracker", kUnarchiveName);
    }

    const ArchiveReader reader =
        GetSourceArchiveForUnarchive(sourceFile, archiveType, compressionType);
    const ArchiveWriter writer(archive_write_disk_new());
    ORVIK_CHECK_ARCHIVE(archive_write_disk_set_options(writer.get(), kWriterOptions), writer.get());
    // Plain files go straight to disk, the rest through the library's writer.
    DirectFileWriter direct(std::time(nullptr));

    const fs::path destination(destinationFolder);
    size_t unpacked = 0;
    bool rawRenameDue = false;
    std::chrono::steady_clock::time_point lastNotification{};
    // Inflating overlaps with writing: the archive is read on a thread of its own.
    ArchiveReadAhead ahead(reader.get(), [&entries](archive_entry* listed) {
        const wchar_t* rawName = archive_entry_pathname_w(listed);
        return entries.empty() || IsListed(rawName != nullptr ? rawName : L"", entries);
    });
    for (;;) {
        ArchiveReadAhead::Item header = ahead.NextHeader();
        if (header.kind == ArchiveReadAhead::Item::EndOfArchive) {
            break;
        }
        if (header.kind != ArchiveReadAhead::Item::Header) {
            ORVIK_THROW(InvalidArchiveException, header.errorText);
        }
        archive_entry* entry = header.entry.get();
        const wchar_t* rawName = archive_entry_pathname_w(entry);
        const std::wstring name = rawName != nullptr ? rawName : L"";
        if (archive_entry_size_is_set(entry)) {
            progressTracker->AddDone(static_cast<std::uint64_t>(archive_entry_size(entry)));
        }
        if (archiveType == kArchiveRaw && name == L"data") {
            rawRenameDue = true;
        }
        const std::wstring target = TargetPath(destination, name);
        archive_entry_copy_pathname_w(entry, target.c_str());
        // A hard link names another entry, so its target is rewritten alike.
        if (const wchar_t* link = archive_entry_hardlink_w(entry); link != nullptr && *link) {
            archive_entry_copy_hardlink_w(entry, TargetPath(destination, link).c_str());
        }
        const bool directly = direct.Create(entry, name);
        if (!directly && archive_write_header(writer.get(), entry) != ARCHIVE_OK) {
            ThrowLibraryError(writer.get(), __LINE__);
        }

        const auto now = std::chrono::steady_clock::now();
        if (!throttle || now - lastNotification >= kNotificationInterval) {
            callback->NotifyProgress(kUnpackNotification, progressTracker->Percentage(), target,
                                     sourceFile);
            lastNotification = now;
        }
        CopyData(ahead, writer.get(), directly ? &direct : nullptr, *callback);
        if (!directly) {
            ORVIK_CHECK_ARCHIVE(archive_write_finish_entry(writer.get()), writer.get());
        } else if (const auto failure = direct.Finish()) {
            ThrowFailure(failure.errnum, failure.text, __LINE__);
        }
        if (readOnly && (archive_entry_mode(entry) & 0222) == 0) {
            RemoveWritePermissions(target);
        }
        ++unpacked;
        if (!entries.empty() && unpacked == entries.size()) {
            break;
        }
    }
    if (archiveType == kArchiveRaw && unpacked == 0) {
        CreateEmptyRawData(destination);
        rawRenameDue = true;
    }
    if (rawRenameDue) {
        RenameRawData(destination, sourceFile);
    }
}

}  // namespace orvik::pkgshared
