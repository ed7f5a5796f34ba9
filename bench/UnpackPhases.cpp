// Where an unpack's time goes, under Wine: writes the archive to a new file
// as the bootstrapper saves its payload (one write call, then the CRC-32),
// unpacks it with the library calls, options and block size of the archive
// manager, each kind of call timed on its own, and removes the result as the
// bootstrapper removes its working directory. Prints one JSON
// object of seconds.
// Usage: bench-UnpackPhases.exe ARCHIVE FOLDER   (FOLDER must not exist)
#include <windows.h>

#include <archive.h>
#include <archive_entry.h>
#include <zlib.h>

#include <cstdio>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "shared/utils/PathUtils.h"

namespace {

constexpr size_t kBlockSize = 10240;
constexpr int kWriterOptions =
    ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_ACL | ARCHIVE_EXTRACT_FFLAGS;

double Now() {
    static LARGE_INTEGER frequency{};
    if (frequency.QuadPart == 0) {
        ::QueryPerformanceFrequency(&frequency);
    }
    LARGE_INTEGER now{};
    ::QueryPerformanceCounter(&now);
    return static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

// Adds the time `call` takes to `total`; returns what it returned.
template <typename Call>
auto Timed(double& total, Call call) {
    const double start = Now();
    auto result = call();
    total += Now() - start;
    return result;
}

bool Fail(const char* what, archive* a) {
    std::fprintf(stderr, "%s: %s\n", what, a != nullptr ? archive_error_string(a) : "failed");
    return false;
}

// A mapped file, viewed a window at a time.
struct MappedArchive {
    HANDLE mapping;
    std::uint64_t size;
};

struct Phases {
    double write = 0, crc = 0, open = 0, readInflate = 0, create = 0, writeData = 0, finish = 0,
           remove = 0;
    long entries = 0;
};

bool WriteArchiveFile(const MappedArchive& bytes, const std::wstring& path, Phases& phases) {
    HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return Fail("create the archive file", nullptr);
    }
    const auto length = static_cast<size_t>(bytes.size);
    const auto* view =
        static_cast<const Bytef*>(::MapViewOfFile(bytes.mapping, FILE_MAP_READ, 0, 0, length));
    bool written = view != nullptr || Fail("map the archive", nullptr);
    if (written) {
        DWORD count = 0;
        written = Timed(phases.write, [&] {
            return ::WriteFile(file, view, static_cast<DWORD>(length), &count, nullptr) != FALSE;
        });
        Timed(phases.crc, [&] { return ::crc32_z(0, view, length); });
        ::UnmapViewOfFile(view);
    }
    ::CloseHandle(file);
    return written || Fail("write the archive file", nullptr);
}

bool Unpack(const std::wstring& archiveFile, const boost::filesystem::path& folder,
            Phases& phases) {
    archive* reader = archive_read_new();
    archive* writer = archive_write_disk_new();
    archive_read_support_format_tar(reader);
    archive_read_support_filter_gzip(reader);
    archive_write_disk_set_options(writer, kWriterOptions);
    bool ok =
        Timed(phases.open,
              [&] {
                  return archive_read_open_filename_w(reader, archiveFile.c_str(), kBlockSize);
              }) == ARCHIVE_OK ||
        Fail("open", reader);
    while (ok) {
        archive_entry* entry = nullptr;
        const int next =
            Timed(phases.readInflate, [&] { return archive_read_next_header(reader, &entry); });
        if (next == ARCHIVE_EOF) {
            break;
        }
        const std::wstring target =
            (folder / archive_entry_pathname_w(entry)).make_preferred().wstring();
        archive_entry_copy_pathname_w(entry, target.c_str());
        ok = (next == ARCHIVE_OK || Fail("read a header", reader)) &&
             (Timed(phases.create, [&] { return archive_write_header(writer, entry); }) ==
                  ARCHIVE_OK ||
              Fail("create", writer));
        for (int read = ARCHIVE_OK; ok;) {
            const void* block = nullptr;
            size_t size = 0;
            la_int64_t offset = 0;
            read = Timed(phases.readInflate,
                         [&] { return archive_read_data_block(reader, &block, &size, &offset); });
            if (read == ARCHIVE_EOF) {
                break;
            }
            ok = (read == ARCHIVE_OK || Fail("read data", reader)) &&
                 (Timed(phases.writeData,
                        [&] { return archive_write_data_block(writer, block, size, offset); }) ==
                      ARCHIVE_OK ||
                  Fail("write data", writer));
        }
        ok = ok && (Timed(phases.finish, [&] { return archive_write_finish_entry(writer); }) ==
                        ARCHIVE_OK ||
                    Fail("finish", writer));
        ++phases.entries;
    }
    Timed(phases.finish, [&] { return archive_write_free(writer); });
    archive_read_free(reader);
    return ok;
}

class Quiet : public orvik::pkgshared::IPathReporter {
public:
    void Report(orvik::pkgshared::ReportMode, const std::wstring&) override {}
};

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: bench-UnpackPhases.exe ARCHIVE FOLDER\n");
        return 2;
    }
    // Mapped, as the installer's payload is, a window at a time: a 32-bit
    // process seldom has room to map a large archive whole.
    HANDLE in = ::CreateFileW(argv[1], GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    HANDLE mapping = in != INVALID_HANDLE_VALUE
                         ? ::CreateFileMappingW(in, nullptr, PAGE_READONLY, 0, 0, nullptr)
                         : nullptr;
    LARGE_INTEGER size{};
    if (mapping == nullptr || !::GetFileSizeEx(in, &size) || size.QuadPart == 0) {
        std::fprintf(stderr, "cannot map the archive\n");
        return 1;
    }
    const MappedArchive bytes{mapping, static_cast<std::uint64_t>(size.QuadPart)};
    const boost::filesystem::path folder(argv[2]);
    const std::wstring archiveFile = (folder / L"payload.tar.gz").wstring();
    Phases phases;
    const double start = Now();
    const bool ok = ::CreateDirectoryW(folder.c_str(), nullptr) &&
                    WriteArchiveFile(bytes, archiveFile, phases) &&
                    Unpack(archiveFile, folder / L"payload", phases);
    const double unpacked = Now();
    Quiet quiet;
    Timed(phases.remove, [&] {
        orvik::pkgshared::pathutils::DeleteEntirePath(folder, quiet);
        return 0;
    });
    std::printf(
        "{\"ok\": %s, \"entries\": %ld, \"write_archive\": %.4f, \"crc32\": %.4f, "
        "\"open\": %.4f, \"read_inflate\": %.4f, \"create_entries\": %.4f, "
        "\"write_data\": %.4f, \"finish_entries\": %.4f, \"to_unpacked\": %.4f, "
        "\"remove\": %.4f}\n",
        ok ? "true" : "false", phases.entries, phases.write, phases.crc, phases.open,
        phases.readInflate, phases.create, phases.writeData, phases.finish, unpacked - start,
        phases.remove);
    return ok ? 0 : 1;
}
