#include "PayloadArchiver.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

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

// The C runtime's text for `code`.
std::wstring ErrnoText(int code) {
    return orvik::pkgshared::Utf8ToWide(std::strerror(code));
}

// The library's error, with the system's reason when it names one, and what
// to do when the disk is full.
std::wstring LibraryError(archive* a) {
    const char* text = archive_error_string(a);
    std::wstring error =
        text != nullptr ? orvik::pkgshared::Utf8ToWide(text) : L"unknown libarchive error";
    if (const int code = archive_errno(a); code > 0) {
        error += L" (" + ErrnoText(code) + L")";
        if (code == ENOSPC) {
            error += L": free space there or write the installer to another folder";
        }
    }
    return error;
}

// Relative paths of everything below `root`, '/'-separated and sorted.
bool ListTree(const fs::path& root, std::vector<std::pair<std::wstring, bool>>& items,
              std::wstring& error) {
    boost::system::error_code code;
    fs::recursive_directory_iterator it(root, code), end;
    for (; !code && it != end; it.increment(code)) {
        std::wstring relative = it->path().lexically_relative(root).generic_wstring();
        items.emplace_back(std::move(relative), fs::is_directory(it->symlink_status()));
    }
    if (code) {
        error =
            L"cannot list " + root.wstring() + L": " + orvik::pkgshared::Utf8ToWide(code.message());
        return false;
    }
    std::sort(items.begin(), items.end());
    return true;
}

bool CopyFileData(archive* a, const fs::path& file, const std::wstring& archiveFile,
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
    }
    if (std::ferror(in.get())) {
        error = L"cannot read " + file.wstring() + L": " + ErrnoText(errno);
        return false;
    }
    return true;
}

}  // namespace

bool ArchiveDirectory(const std::wstring& directory, const std::wstring& archiveFile,
                      std::wstring& error) {
    const fs::path root(directory);
    std::vector<std::pair<std::wstring, bool>> items;
    if (!ListTree(root, items, error)) {
        return false;
    }
    std::unique_ptr<archive, WriterDeleter> writer(archive_write_new());
    archive* a = writer.get();
    if (archive_write_set_format_pax(a) != ARCHIVE_OK ||
        archive_write_add_filter_gzip(a) != ARCHIVE_OK ||
        archive_write_set_filter_option(a, "gzip", "timestamp", nullptr) != ARCHIVE_OK ||
        archive_write_open_filename_w(a, archiveFile.c_str()) != ARCHIVE_OK) {
        error = L"cannot create " + archiveFile + L": " + LibraryError(a);
        return false;
    }
    for (const auto& [relative, isDirectory] : items) {
        const fs::path full = root / relative;
        std::unique_ptr<archive_entry, EntryDeleter> entry(archive_entry_new());
        archive_entry_copy_pathname_w(entry.get(), relative.c_str());
        archive_entry_set_filetype(entry.get(), isDirectory ? AE_IFDIR : AE_IFREG);
        archive_entry_set_perm(entry.get(), isDirectory ? 0755 : 0644);
        archive_entry_set_uid(entry.get(), 0);
        archive_entry_set_gid(entry.get(), 0);
        archive_entry_set_mtime(entry.get(), kFixedTime, 0);
        boost::system::error_code code;
        const auto size = isDirectory ? 0 : fs::file_size(full, code);
        if (code) {
            error = L"cannot read " + full.wstring() + L": " +
                    orvik::pkgshared::Utf8ToWide(code.message());
            return false;
        }
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(size));
        if (archive_write_header(a, entry.get()) != ARCHIVE_OK) {
            error = L"cannot archive " + full.wstring() + L": " + LibraryError(a);
            return false;
        }
        if (!isDirectory && !CopyFileData(a, full, archiveFile, error)) {
            return false;
        }
    }
    if (archive_write_close(a) != ARCHIVE_OK) {
        error = L"cannot finish " + archiveFile + L": " + LibraryError(a);
        return false;
    }
    return true;
}

}  // namespace orvik::tools::pack
