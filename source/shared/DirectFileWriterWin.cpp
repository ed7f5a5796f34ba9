#include <windows.h>

#include <archive_entry.h>

#include <atomic>
#include <cerrno>
#include <cwchar>

#include <boost/filesystem/operations.hpp>

#include "shared/DirectFileWriter.h"
#include "shared/EntryNameRules.h"
#include "shared/utils/WinResources.h"

namespace orvik::pkgshared {
namespace {

constexpr std::uint64_t kEpoch = 116444736000000000ULL;  // 1970-01-01 in FILETIME ticks

// The library's conversion: whole microseconds.
FILETIME FileTime(std::time_t seconds, long nanoseconds) {
    const std::uint64_t ticks = static_cast<std::uint64_t>(seconds) * 10000000ULL + kEpoch +
                                static_cast<std::uint64_t>(nanoseconds / 1000) * 10;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// Whether Create takes entries at all (SetEnabledForTesting).
std::atomic<bool> enabled{true};

// The C runtime's error number for a Windows error, as the library maps the
// ones a write meets.
int ErrorNumber(DWORD error) {
    switch (error) {
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            return ENOSPC;
        case ERROR_ACCESS_DENIED:
            return EACCES;
        default:
            return EINVAL;
    }
}

}  // namespace

class DirectFileWriter::Impl {
public:
    std::time_t startTime = 0;
    UniqueHandle file;
    std::int64_t position = 0;
    std::int64_t size = -1;  // -1: not in the entry
    bool timesSet = false;
    FILETIME creation{}, access{}, modification{};
};

DirectFileWriter::DirectFileWriter(std::time_t startTime) : impl_(std::make_unique<Impl>()) {
    impl_->startTime = startTime;
}

DirectFileWriter::~DirectFileWriter() = default;

bool DirectFileWriter::SetEnabledForTesting(bool enable) {
    return enabled.exchange(enable);
}

bool DirectFileWriter::Create(archive_entry* entry, const std::wstring& name) {
    const wchar_t* target = archive_entry_pathname_w(entry);
    unsigned long set = 0, clear = 0;
    archive_entry_fflags(entry, &set, &clear);
    if (archive_entry_filetype(entry) != AE_IFREG || archive_entry_hardlink_w(entry) != nullptr ||
        archive_entry_symlink_w(entry) != nullptr || archive_entry_sparse_count(entry) != 0 ||
        (archive_entry_mode(entry) & 0200) == 0 || set != 0 || clear != 0 ||
        archive_entry_acl_count(entry, ARCHIVE_ENTRY_ACL_TYPE_NFS4 | ARCHIVE_ENTRY_ACL_TYPE_ACCESS |
                                           ARCHIVE_ENTRY_ACL_TYPE_DEFAULT) != 0 ||
        target == nullptr || std::wcslen(target) >= MAX_PATH - 12 ||
        !EntryNameRules::IsPlainName(name) || !enabled) {
        return false;
    }
    const auto create = [&] {
        return ::CreateFileW(target, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                             nullptr);
    };
    impl_->file.reset(create());
    if (!impl_->file && ::GetLastError() == ERROR_PATH_NOT_FOUND) {
        boost::system::error_code error;
        boost::filesystem::create_directories(boost::filesystem::path(target).parent_path(), error);
        if (!error) {
            impl_->file.reset(create());
        }
    }
    if (!impl_->file) {
        return false;
    }
    impl_->position = 0;
    impl_->size = archive_entry_size_is_set(entry) ? archive_entry_size(entry) : -1;
    const bool atime = archive_entry_atime_is_set(entry) != 0;
    const bool birthtime = archive_entry_birthtime_is_set(entry) != 0;
    const bool mtime = archive_entry_mtime_is_set(entry) != 0;
    impl_->timesSet = atime || birthtime || mtime;
    const std::time_t start = impl_->startTime;
    impl_->access = atime ? FileTime(archive_entry_atime(entry), archive_entry_atime_nsec(entry))
                          : FileTime(start, 0);
    impl_->creation =
        birthtime ? FileTime(archive_entry_birthtime(entry), archive_entry_birthtime_nsec(entry))
                  : FileTime(start, 0);
    impl_->modification =
        mtime ? FileTime(archive_entry_mtime(entry), archive_entry_mtime_nsec(entry))
              : FileTime(start, 0);
    return true;
}

DirectFileWriter::Failure DirectFileWriter::Write(const void* data, std::size_t size,
                                                  std::int64_t offset) {
    if (offset != impl_->position) {
        LARGE_INTEGER to{};
        to.QuadPart = offset;
        if (!::SetFilePointerEx(impl_->file.get(), to, nullptr, FILE_BEGIN)) {
            return {ErrorNumber(::GetLastError()), L"Seek failed"};
        }
        impl_->position = offset;
    }
    DWORD written = 0;
    if (!::WriteFile(impl_->file.get(), data, static_cast<DWORD>(size), &written, nullptr)) {
        const DWORD error = ::GetLastError();
        return {error == ERROR_ACCESS_DENIED ? EBADF : ErrorNumber(error), L"Write failed"};
    }
    impl_->position += written;
    return {};
}

DirectFileWriter::Failure DirectFileWriter::Finish() {
    const UniqueHandle file = std::move(impl_->file);
    if (impl_->size >= 0 && impl_->position != impl_->size) {
        LARGE_INTEGER to{};
        to.QuadPart = impl_->size;
        if (!::SetFilePointerEx(file.get(), to, nullptr, FILE_BEGIN) ||
            !::SetEndOfFile(file.get())) {
            return {ErrorNumber(::GetLastError()), L"File size could not be restored"};
        }
    }
    if (impl_->timesSet &&
        !::SetFileTime(file.get(), &impl_->creation, &impl_->access, &impl_->modification)) {
        return {EINVAL, L"Can't restore time"};
    }
    return {};
}

}  // namespace orvik::pkgshared
