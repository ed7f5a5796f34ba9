#include "PayloadArchiver.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <vector>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include "ErrorText.h"
#include "OutputFile.h"
#include "ParallelGzipWriter.h"
#include "ResolvedPath.h"
#include "shared/EntryNameRules.h"
#include "shared/TextConversion.h"
#include "shared/utils/UniqueFile.h"

namespace orvik::tools::pack {
namespace {

namespace fs = boost::filesystem;

constexpr time_t kFixedTime = 946684800;  // 2000-01-01T00:00:00Z

struct WriterDeleter {
    void operator()(archive* a) const { archive_write_free(a); }
};
struct EntryDeleter {
    void operator()(archive_entry* e) const { archive_entry_free(e); }
};

// The library's error, with the system's reason when it names one.
std::wstring LibraryError(archive* a) {
    const char* text = archive_error_string(a);
    std::wstring error =
        text != nullptr ? orvik::pkgshared::Utf8ToWide(text) : L"unknown libarchive error";
    if (const int code = archive_errno(a); code > 0) {
        error += L" (" + ErrnoText(code) + L")";
    }
    return error;
}

// Whether `path` is `folder` or lies below it; both resolved.
bool IsWithin(const std::wstring& path, const std::wstring& folder) {
    return path.compare(0, folder.size(), folder) == 0 &&
           (path.size() == folder.size() || path[folder.size()] == L'/' ||
            path[folder.size()] == L'\\' || folder.back() == L'/' || folder.back() == L'\\');
}

std::wstring CannotRead(const fs::path& path, const boost::system::error_code& code) {
    return L"cannot read " + path.wstring() + L": " +
           (code ? orvik::pkgshared::Utf8ToWide(code.message())
                 : std::wstring(L"it is gone, or a link to nothing"));
}

// `relative` as text, '/'-separated. False with `error` naming it when a Linux name cannot be
// stored as it is: it is not UTF-8 (shown with its odd bytes as "\xNN"), or it holds a
// backslash, which Windows reads as a folder separator.
bool NameOf(const fs::path& relative, std::wstring& name, std::wstring& error) {
    try {
        name = relative.generic_wstring();
    } catch (const std::exception&) {
        error = orvik::pkgshared::EntryNameRules::EscapedName(relative.generic_string()) +
                L": a name that is not valid UTF-8; rename it";
        return false;
    }
    if (name.find(L'\\') != std::wstring::npos) {
        error = name +
                L": a name with a backslash, which Windows reads as a folder separator; "
                L"rename it";
        return false;
    }
    return true;
}

// Passes the tar stream on to the compressor.
la_ssize_t WriteToCompressor(archive* a, void* writer, const void* data, size_t size) {
    if (!static_cast<ParallelGzipWriter*>(writer)->Write(data, size)) {
        archive_set_error(a, -1, "the compressor stopped");
        return -1;
    }
    return static_cast<la_ssize_t>(size);
}

bool CopyFileData(archive* a, const fs::path& file, const std::wstring& archiveFile,
                  PackProgress& done, const std::function<void(const PackProgress&)>& progress,
                  std::wstring& error) {
    const orvik::pkgshared::UniqueFile in = orvik::pkgshared::OpenFile(file.wstring(), "rb");
    if (!in) {
        error = L"cannot read " + file.wstring() + L": " + ErrnoText(errno);
        return false;
    }
    std::vector<char> buffer(1 << 16);
    size_t read = 0;
    while ((read = std::fread(buffer.data(), 1, buffer.size(), in.get())) > 0) {
        if (archive_write_data(a, buffer.data(), read) != static_cast<la_ssize_t>(read)) {
            error = L"cannot write " + archiveFile + L" (at " + file.wstring() + L"): " +
                    LibraryError(a);
            return false;
        }
        done.bytesDone += read;
        progress(done);
    }
    if (std::ferror(in.get())) {
        error = L"cannot read " + file.wstring() + L": " + ErrnoText(errno);
        return false;
    }
    return true;
}

// Where `c` sorts in UTF-16 code unit order: a code point beyond U+FFFF is written as
// surrogates (U+D800 to U+DFFF), so it sorts after U+D7FF and before U+E000.
std::uint32_t Utf16Rank(wchar_t c) {
    const auto code = static_cast<std::uint32_t>(c);
    return code >= 0xE000 && code <= 0xFFFF ? code + 0x110000 : code;
}

}  // namespace

bool FolderItem::operator<(const FolderItem& other) const {
    return std::lexicographical_compare(
        relative.begin(), relative.end(), other.relative.begin(), other.relative.end(),
        [](wchar_t a, wchar_t b) { return Utf16Rank(a) < Utf16Rank(b); });
}

bool ListFolder(const std::wstring& directory, FolderListing& listing, std::wstring& error) {
    const fs::path root(directory);
    boost::system::error_code code;
    const auto rootResolved = ResolvedPath(directory);
    if (!rootResolved) {
        error = CannotRead(root, code);
        return false;
    }
    // Where each listed folder really is, by its relative path.
    std::map<std::wstring, std::wstring> folders = {{L"", *rootResolved}};
    fs::recursive_directory_iterator it(root, fs::directory_options::follow_directory_symlink,
                                        code),
        end;
    for (; !code && it != end; it.increment(code)) {
        const fs::path relative = it->path().lexically_relative(root);
        std::wstring name;
        if (!NameOf(relative, name, error)) {
            return false;
        }
        const std::wstring& parent = folders[relative.parent_path().generic_wstring()];
        const auto resolved = ResolvedPath(it->path().wstring());
        const fs::file_status status = it->status(code);
        const bool directory = fs::is_directory(status);
        if (!resolved || code) {
            error = CannotRead(it->path(), code);
            return false;
        }
        if (!directory && !fs::is_regular_file(status)) {
            error = name + L": neither a file nor a folder (a pipe, a socket or a device)";
            return false;
        }
        if (*resolved != (fs::path(parent) / relative.filename()).wstring()) {
            if (directory && IsWithin(parent, *resolved)) {
                error = name + L": a link to " + *resolved +
                        L", a folder that holds the link; the folder cannot be archived";
                return false;
            }
            if (!IsWithin(*resolved, *rootResolved)) {
                listing.outsideLinks.push_back(name + L": a link to " + *resolved +
                                               L", outside the folder");
            }
        }
        const auto size = directory ? 0 : fs::file_size(it->path(), code);
        if (code) {
            error = CannotRead(it->path(), code);
            return false;
        }
        if (directory) {
            folders[name] = *resolved;
        }
        listing.items.push_back({name, directory, size});
    }
    if (code) {
        error =
            L"cannot list " + root.wstring() + L": " + orvik::pkgshared::Utf8ToWide(code.message());
        return false;
    }
    std::sort(listing.items.begin(), listing.items.end());
    return true;
}

bool ArchiveDirectory(const std::wstring& directory, const FolderListing& listing,
                      const std::wstring& archiveFile, unsigned threads,
                      const std::function<void(const PackProgress&)>& progress,
                      std::wstring& error) {
    const fs::path root(directory);
    const std::vector<FolderItem>& items = listing.items;
    PackProgress done;
    for (const FolderItem& item : items) {
        done.bytesTotal += item.size;
        done.filesTotal += item.directory ? 0 : 1;
    }
    OutputFile out;
    if (!out.Create(archiveFile, error)) {
        return false;
    }
    ParallelGzipWriter compressor(
        [&out](const unsigned char* data, size_t size, std::wstring& cause) {
            return out.Write(data, size, cause);
        },
        archiveFile, threads);
    std::unique_ptr<archive, WriterDeleter> writer(archive_write_new());
    archive* a = writer.get();
    // The tar stream as it is, not padded to a whole number of blocks.
    if (archive_write_set_format_pax(a) != ARCHIVE_OK ||
        archive_write_set_bytes_in_last_block(a, 1) != ARCHIVE_OK ||
        archive_write_open2(a, &compressor, nullptr, WriteToCompressor, nullptr, nullptr) !=
            ARCHIVE_OK) {
        error = L"cannot create " + archiveFile + L": " + LibraryError(a);
        return false;
    }
    // A failure to write is the compressor's to tell.
    const auto failed = [&](std::wstring what) {
        error = compressor.Error().empty() ? std::move(what) : compressor.Error();
        return false;
    };
    for (const FolderItem& item : items) {
        const fs::path full = root / item.relative;
        std::unique_ptr<archive_entry, EntryDeleter> entry(archive_entry_new());
        archive_entry_copy_pathname_w(entry.get(), item.relative.c_str());
        archive_entry_set_filetype(entry.get(), item.directory ? AE_IFDIR : AE_IFREG);
        archive_entry_set_perm(entry.get(), item.directory ? 0755 : 0644);
        archive_entry_set_uid(entry.get(), 0);
        archive_entry_set_gid(entry.get(), 0);
        archive_entry_set_mtime(entry.get(), kFixedTime, 0);
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(item.size));
        if (archive_write_header(a, entry.get()) != ARCHIVE_OK) {
            return failed(L"cannot archive " + full.wstring() + L": " + LibraryError(a));
        }
        if (!item.directory) {
            if (!CopyFileData(a, full, archiveFile, done, progress, error)) {
                return failed(error);
            }
            ++done.filesDone;
            progress(done);
        }
    }
    if (archive_write_close(a) != ARCHIVE_OK) {
        return failed(L"cannot finish " + archiveFile + L": " + LibraryError(a));
    }
    if (!compressor.Finish()) {
        return failed({});
    }
    return true;
}

}  // namespace orvik::tools::pack
