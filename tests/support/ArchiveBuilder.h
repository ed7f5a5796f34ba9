#pragma once
#include <gtest/gtest.h>

#include <archive.h>
#include <archive_entry.h>
#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>
#include "shared/TextConversion.h"

namespace orvik::testing {
// A directory when `name` (UTF-8; for Ustar and Gnu any bytes) ends with '/'; a symbolic link to
// `symlink` or a hard link to the entry `hardlink` when given; otherwise a regular file of `data`.
struct ArchiveItem {
    std::string name, data;
    int mode = 0644;
    std::string symlink = {}, hardlink = {};
};

enum class Format { Tar, Ar, Raw, Ustar, Gnu };  // Tar: pax
enum class Filter { None, Gzip, Zstd };

// Writes `items` as an archive file with libarchive; returns false when it refused.
inline bool WriteArchive(const boost::filesystem::path& file, Format format, Filter filter,
                         const std::vector<ArchiveItem>& items) {
    archive* a = archive_write_new();
    const bool bytes = format == Format::Ustar || format == Format::Gnu;
    (format == Format::Tar     ? archive_write_set_format_pax
     : format == Format::Ar    ? archive_write_set_format_ar_svr4
     : format == Format::Ustar ? archive_write_set_format_ustar
     : format == Format::Gnu   ? archive_write_set_format_gnutar
                               : archive_write_set_format_raw)(a);
    (filter == Filter::None   ? archive_write_add_filter_none
     : filter == Filter::Gzip ? archive_write_add_filter_gzip
                              : archive_write_add_filter_zstd)(a);
    bool ok = archive_write_open_filename_w(a, file.wstring().c_str()) == ARCHIVE_OK;
    for (size_t i = 0; ok && i < items.size(); ++i) {
        const ArchiveItem& item = items[i];
        const bool directory = !item.name.empty() && item.name.back() == '/';
        archive_entry* entry = archive_entry_new();
        // The wide forms: on Windows the C runtime has no UTF-8 locale. Ustar and Gnu headers
        // take the bytes as they are, as GNU tar writes them.
        bytes ? archive_entry_copy_pathname(entry, item.name.c_str())
              : archive_entry_copy_pathname_w(entry, pkgshared::Utf8ToWide(item.name).c_str());
        if (!item.symlink.empty()) {
            archive_entry_copy_symlink_w(entry, pkgshared::Utf8ToWide(item.symlink).c_str());
        }
        if (!item.hardlink.empty()) {
            archive_entry_copy_hardlink_w(entry, pkgshared::Utf8ToWide(item.hardlink).c_str());
        }
        archive_entry_set_filetype(entry, directory              ? AE_IFDIR
                                          : item.symlink.empty() ? AE_IFREG
                                                                 : AE_IFLNK);
        archive_entry_set_perm(entry, directory ? 0755 : item.mode);
        archive_entry_set_size(entry, static_cast<la_int64_t>(item.data.size()));
        archive_entry_set_mtime(entry, 1700000000, 0);
        ok = archive_write_header(a, entry) == ARCHIVE_OK &&
             archive_write_data(a, item.data.data(), item.data.size()) ==
                 static_cast<la_ssize_t>(item.data.size());
        archive_entry_free(entry);
    }
    ok = archive_write_close(a) == ARCHIVE_OK && ok;
    EXPECT_TRUE(ok) << "libarchive: " << (archive_error_string(a) ? archive_error_string(a) : "");
    archive_write_free(a);
    return ok;
}
}  // namespace orvik::testing
